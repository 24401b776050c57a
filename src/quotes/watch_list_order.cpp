#include "quotes/watch_list_order.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>

#include "host/text.h"
#include "json/budget.h"
#include "market_terms.h"
#include "request/tolerance.h"

namespace quotes {
namespace {

using Items = std::vector<OptionalMarketItem>;
using Order = std::vector<std::uint32_t>;

// Sorts places by `before(a, b)`: bottom-up merges that take from the right half only what goes before the
// left.
template <class Before>
void MergeSort(Order& order, Before before) {
  Order merged(order.size());
  for (std::size_t width = 1; width < order.size(); width *= 2) {
    std::uint32_t* out = merged.data();
    for (std::size_t begin = 0; begin < order.size(); begin += 2 * width) {
      const std::uint32_t* left = order.data() + begin;
      const std::uint32_t* const middle = order.data() + std::min(begin + width, order.size());
      const std::uint32_t* right = middle;
      const std::uint32_t* const end = order.data() + std::min(begin + 2 * width, order.size());
      // Without a branch on the order: it cannot be predicted.
      while (left != middle && right != end) {
        const bool take_right = before(*right, *left);
        *out++ = *(take_right ? right : left);
        right += take_right ? 1 : 0;
        left += take_right ? 0 : 1;
      }
      out = std::copy(right, end, std::copy(left, middle, out));
    }
    order.swap(merged);
  }
}

// Sorts by a key that is computed once per row: a value and whether it is there. Rows without one come last
// in both directions; `up(a, b)` and `down(a, b)` say whether a value goes before another.
template <class KeyOf, class Up = std::less<>, class Down = std::greater<>>
void SortByKey(const Items& items, Order& order, bool ascending, KeyOf key_of, Up up = {}, Down down = {}) {
  std::vector<decltype(key_of(items.front()))> keys(items.size());
  std::transform(items.begin(), items.end(), keys.begin(), key_of);
  MergeSort(order, [&](std::uint32_t a, std::uint32_t b) {
    const auto& [left, has_left] = keys[a];
    const auto& [right, has_right] = keys[b];
    return has_left != has_right ? has_left : ascending ? up(left, right) : down(left, right);
  });
}

using Item = OptionalMarketItem;
using Figure = std::pair<double, bool>;

template <auto kField>
Figure FigureOf(const Item& item) {
  return {(item.*kField).value, (item.*kField).present};
}

// The columns of figures.
constexpr std::pair<market::Column, Figure (*)(const Item&)> kFigures[] = {
    {market::kByLast, FigureOf<&Item::last>},          {market::kByChange, FigureOf<&Item::change>},
    {market::kByDiff, FigureOf<&Item::diff>},          {market::kByBid1, FigureOf<&Item::bid1>},
    {market::kByAsk1, FigureOf<&Item::ask1>},          {market::kByTurnover, FigureOf<&Item::tr>},
    {market::kByAmount, FigureOf<&Item::amt>},         {market::kByPe, FigureOf<&Item::pe>},
    {market::kByHigh, FigureOf<&Item::high>},          {market::kByLow, FigureOf<&Item::low>},
    {market::kByOpen, FigureOf<&Item::open>},          {market::kByPreclose, FigureOf<&Item::preclose>},
    {market::kByAmplitude, FigureOf<&Item::amp>},      {market::kByVolumeRatio, FigureOf<&Item::qrr>},
    {market::kByCommissionRatio, FigureOf<&Item::cr>}, {market::kByMarketValue, FigureOf<&Item::mc>}};

// The digits of a code, ordered as a text of them is: the first fifteen as one number, a digit in four bits,
// and the rest, which no security has.
std::pair<std::uint64_t, std::wstring> DigitsOf(std::wstring_view code) {
  int free_bits = 60;
  std::pair<std::uint64_t, std::wstring> digits;
  for (const wchar_t character : code) {
    if (character < L'0' || character > L'9') {
      continue;
    }
    if (free_bits > 0) {
      free_bits -= 4;
      digits.first |= static_cast<std::uint64_t>(character - L'0' + 1) << free_bits;
    } else {
      digits.second += character;
    }
  }
  return digits;
}

void SortByColumn(const Items& items, Order& order, std::uint32_t column, bool ascending) {
  const auto sort_by = [&](auto key_of) { SortByKey(items, order, ascending, key_of); };
  switch (column) {
    case market::kByCode:
      return sort_by([](const Item& item) { return std::pair(DigitsOf(item.code), true); });
    case market::kByName:
      return sort_by(
          [](const Item& item) { return std::pair(common::ws2s(item.name, common::kUtf8), true); });
    case market::kByVolume:
      return sort_by([](const Item& item) { return std::pair(item.vol.value, item.vol.present); });
    case market::kByPlate:
      return sort_by(
          [](const Item& item) { return std::pair(std::wstring_view(item.plate), !item.plate.empty()); });
    default:
      break;
  }
  for (const auto& [number, figure_of] : kFigures) {
    if (number == column) {
      // Kept: ascending, this column does not look at the presence flags. Views know it so.
      const bool all_there = column == market::kByVolumeRatio && ascending;
      SortByKey(
          items, order, ascending,
          [all_there, figure_of = figure_of](const Item& item) {
            const auto [value, present] = figure_of(item);
            return Figure(value, present || all_there);
          },
          [](double a, double b) { return b - request::kTolerance > a; },
          [](double a, double b) { return a > b + request::kTolerance; });
    }
  }
}

}  // namespace

std::vector<std::uint32_t> OrderOf(const std::vector<OptionalMarketItem>& items,
                                   const SortingTarget& target) {
  Order order(items.size());
  std::iota(order.begin(), order.end(), 0U);
  if (target.sort_type == market::kAscending || target.sort_type == market::kDescending) {
    SortByColumn(items, order, target.sort_key, target.sort_type == market::kAscending);
  }
  return order;
}

void OrderInto(std::vector<OptionalMarketItem>& sorted, const std::vector<OptionalMarketItem>& items,
               const SortingTarget& target) {
  constexpr std::size_t kTooMuch = 4;
  const Order order = OrderOf(items, target);
  if (sorted.capacity() / kTooMuch > items.size()) {
    sorted = Items();
  }
  sorted.resize(items.size());
  for (std::size_t place = 0; place < order.size(); ++place) {
    sorted[place] = items[order[place]];
  }
}

void SortedCopies::Begin(const std::vector<OptionalMarketItem>& items) {
  for (auto copy = copies_.begin(); copy != copies_.end();) {
    // What the last list had no use for goes.
    copy = std::exchange(copy->second.used, false) ? std::next(copy) : copies_.erase(copy);
  }
  items_ = &items;
  bytes_ = bytes_each_ = 0;
  for (const OptionalMarketItem& item : items) {
    using request::json::HeldBytes;
    bytes_each_ += sizeof(item) + HeldBytes(item.code) + HeldBytes(item.name) + HeldBytes(item.lead) +
                   HeldBytes(item.plate) + HeldBytes(item.bid_prices) + HeldBytes(item.ask_prices) +
                   HeldBytes(item.bid_volumes) + HeldBytes(item.ask_volumes);
  }
}

const std::vector<OptionalMarketItem>& SortedCopies::In(const SortingTarget& target) {
  if (target.sort_key == 0 || target.sort_type == 0) {
    return *items_;
  }
  Copy& copy = copies_[target];
  if (!copy.used) {
    bytes_ += bytes_each_;
    if (bytes_ > request::json::kMostRecordMemory) {
      throw request::json::TooMuchMemory();
    }
    OrderInto(copy.items, *items_, target);
    copy.used = true;
  }
  return copy.items;
}

}  // namespace quotes
