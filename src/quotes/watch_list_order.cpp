#include "quotes/watch_list_order.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>

#include "host/text.h"
#include "json/budget.h"

namespace quotes {
namespace {

using Items = std::vector<OptionalMarketItem>;
using Order = std::vector<std::uint32_t>;

constexpr std::uint32_t kAscending = 1;
constexpr std::uint32_t kDescending = 2;
constexpr std::uint32_t kVolumeRatioColumn = 17;
constexpr std::uint32_t kPlateColumn = 24;
constexpr double kTolerance = 0.001;

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

std::string DigitsOf(const std::wstring& text) {
  std::string digits;
  for (const wchar_t character : text) {
    if (character >= L'0' && character <= L'9') {
      digits += static_cast<char>(character);
    }
  }
  return digits;
}

// Sorts by a key that is computed once per row: a value and whether it is there. Rows without one come last
// in both directions; `up(a, b)` and `down(a, b)` say whether a value goes before another.
template <class KeyOf, class Up, class Down>
void SortByKey(const Items& items, Order& order, bool ascending, KeyOf key_of, Up up, Down down) {
  std::vector<decltype(key_of(items.front()))> keys;
  keys.reserve(items.size());
  for (const OptionalMarketItem& item : items) {
    keys.push_back(key_of(item));
  }
  MergeSort(order, [&](std::uint32_t a, std::uint32_t b) {
    const auto& [left, has_left] = keys[a];
    const auto& [right, has_right] = keys[b];
    return has_left != has_right ? has_left : ascending ? up(left, right) : down(left, right);
  });
}

// The same for values that compare as they are.
template <class KeyOf>
void SortPlainly(const Items& items, Order& order, bool ascending, KeyOf key_of) {
  SortByKey(items, order, ascending, key_of, std::less<>(), std::greater<>());
}

using Figure = std::pair<double, bool>;

template <auto kField>
Figure FigureOf(const OptionalMarketItem& item) {
  return {(item.*kField).value, (item.*kField).present};
}

using Fields = StockMarketItem;
// The figures by column; null for one that is no figure.
constexpr std::array<Figure (*)(const OptionalMarketItem&), 20> kFigures = {
    nullptr,
    nullptr,
    nullptr,
    FigureOf<&Fields::last>,
    FigureOf<&Fields::change>,
    FigureOf<&Fields::diff>,
    FigureOf<&Fields::bid1>,
    FigureOf<&Fields::ask1>,
    FigureOf<&Fields::tr>,
    FigureOf<&Fields::amt>,
    nullptr,
    FigureOf<&Fields::pe>,
    FigureOf<&Fields::high>,
    FigureOf<&Fields::low>,
    FigureOf<&Fields::open>,
    FigureOf<&Fields::preclose>,
    FigureOf<&Fields::amp>,
    FigureOf<&Fields::qrr>,
    FigureOf<&Fields::cr>,
    FigureOf<&Fields::mc>,
};

void SortByFigure(const Items& items, Order& order, bool ascending, std::uint32_t column) {
  // Kept: ascending, this column does not look at the presence flags. Views know it so.
  const bool all_there = column == kVolumeRatioColumn && ascending;
  SortByKey(
      items, order, ascending,
      [&](const OptionalMarketItem& item) {
        const auto [value, present] = kFigures[column](item);
        return Figure(value, present || all_there);
      },
      [](double a, double b) { return b - kTolerance > a; },
      [](double a, double b) { return a > b + kTolerance; });
}

void SortByColumn(const Items& items, Order& order, std::uint32_t column, bool ascending) {
  using Item = OptionalMarketItem;
  switch (column) {
    case 1:
      SortPlainly(items, order, ascending,
                  [](const Item& item) { return std::pair(DigitsOf(item.code), true); });
      break;
    case 2:
      SortPlainly(items, order, ascending,
                  [](const Item& item) { return std::pair(common::ws2s(item.name, common::kUtf8), true); });
      break;
    case 10:
      SortPlainly(items, order, ascending,
                  [](const Item& item) { return std::pair(item.vol.value, item.vol.present); });
      break;
    case kPlateColumn:
      SortPlainly(items, order, ascending, [](const Item& item) {
        return std::pair(std::wstring_view(item.plate), !item.plate.empty());
      });
      break;
    default:
      if (column < kFigures.size() && kFigures[column] != nullptr) {
        SortByFigure(items, order, ascending, column);
      }
  }
}

}  // namespace

std::vector<std::uint32_t> OrderOf(const std::vector<OptionalMarketItem>& items,
                                   const SortingTarget& target) {
  Order order(items.size());
  std::iota(order.begin(), order.end(), 0U);
  if (target.sort_type == kAscending || target.sort_type == kDescending) {
    SortByColumn(items, order, target.sort_key, target.sort_type == kAscending);
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
  copies_.resize(used_);  // what the last list had no use for goes
  items_ = &items;
  bytes_each_ = 0;
  for (const OptionalMarketItem& item : items) {
    using request::json::HeldBytes;
    bytes_each_ += sizeof(item) + HeldBytes(item.code) + HeldBytes(item.name) + HeldBytes(item.lead) +
                   HeldBytes(item.plate) + HeldBytes(item.bid_prices) + HeldBytes(item.ask_prices) +
                   HeldBytes(item.bid_volumes) + HeldBytes(item.ask_volumes);
  }
  used_ = 0;
}

const std::vector<OptionalMarketItem>& SortedCopies::In(const SortingTarget& target) {
  if (target.sort_key == 0 || target.sort_type == 0) {
    return *items_;
  }
  auto copy = copies_.begin();
  for (std::size_t left = used_; left > 0; --left, ++copy) {
    if (copy->first == target) {
      return copy->second;
    }
  }
  if ((used_ + 1) * bytes_each_ > request::json::kMostRecordMemory) {
    throw request::json::TooMuchMemory();
  }
  if (copy == copies_.end()) {
    copy = copies_.emplace(copy);
  }
  copy->first = target;
  OrderInto(copy->second, *items_, target);
  ++used_;
  return copy->second;
}

}  // namespace quotes
