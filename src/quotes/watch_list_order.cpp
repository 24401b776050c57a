#include "quotes/watch_list_order.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>
#include <utility>

#include "host/text.h"
#include "json/budget.h"

namespace quotes {
namespace {

using Items = std::vector<OptionalMarketItem>;
using Order = std::vector<std::uint32_t>;

constexpr std::uint32_t kAscending = 1;
constexpr std::uint32_t kDescending = 2;
constexpr std::uint32_t kPlateColumn = 24;
constexpr double kTolerance = 0.001;

// Sorts places by `before(a, b)`: bottom-up merges that take from the right half only what goes before the
// left.
template <class Before>
void MergeSort(Order& order, Before before) {
  Order merged(order.size());
  for (std::size_t width = 1; width < order.size(); width *= 2) {
    for (std::size_t begin = 0; begin < order.size(); begin += 2 * width) {
      const std::size_t middle = std::min(begin + width, order.size());
      const std::size_t end = std::min(begin + 2 * width, order.size());
      std::size_t left = begin;
      std::size_t right = middle;
      for (std::size_t out = begin; out < end; ++out) {
        const bool take_right = right < end && (left == middle || before(order[right], order[left]));
        merged[out] = take_right ? order[right++] : order[left++];
      }
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

// Sorts by a key that is computed once per row. `before(a, b)` compares keys for the ascending direction.
template <class KeyOf, class Before>
void SortByKey(const Items& items, Order& order, bool ascending, KeyOf key_of, Before before) {
  std::vector<decltype(key_of(items.front()))> keys;
  keys.reserve(items.size());
  for (const OptionalMarketItem& item : items) {
    keys.push_back(key_of(item));
  }
  MergeSort(order, [&](std::uint32_t a, std::uint32_t b) {
    return ascending ? before(keys[a], keys[b]) : before(keys[b], keys[a]);
  });
}

template <class Key>
bool Less(const Key& a, const Key& b) {
  return a < b;
}

struct Figure {
  double value;
  bool present;
};

template <class Field>
void SortByFigure(const Items& items, Order& order, bool ascending, Field StockMarketItem::*field) {
  std::vector<Figure> figures;
  figures.reserve(items.size());
  for (const OptionalMarketItem& item : items) {
    figures.push_back({(item.*field).value, (item.*field).present});
  }
  MergeSort(order, [&](std::uint32_t left, std::uint32_t right) {
    const Figure& a = figures[left];
    const Figure& b = figures[right];
    if (a.present != b.present) {
      return a.present;  // in both directions
    }
    return ascending ? b.value - kTolerance > a.value : a.value > b.value + kTolerance;
  });
}

void SortByVolume(const Items& items, Order& order, bool ascending) {
  MergeSort(order, [&](std::uint32_t left, std::uint32_t right) {
    const auto& a = items[left].vol;
    const auto& b = items[right].vol;
    if (a.present != b.present) {
      return a.present;
    }
    return ascending ? a.value < b.value : a.value > b.value;
  });
}

// Ascending does not look at the presence flags (kept: views know this column so).
void SortByVolumeRatio(const Items& items, Order& order, bool ascending) {
  if (!ascending) {
    SortByFigure(items, order, ascending, &StockMarketItem::qrr);
    return;
  }
  MergeSort(order, [&](std::uint32_t left, std::uint32_t right) {
    return items[right].qrr.value - kTolerance > items[left].qrr.value;
  });
}

void SortByPlate(const Items& items, Order& order, bool ascending) {
  MergeSort(order, [&](std::uint32_t left, std::uint32_t right) {
    const std::wstring& a = items[left].plate;
    const std::wstring& b = items[right].plate;
    if (a.empty() != b.empty()) {
      return !a.empty();
    }
    return ascending ? a < b : a > b;
  });
}

void SortByColumn(const Items& items, Order& order, std::uint32_t column, bool ascending) {
  switch (column) {
    case 1:
      SortByKey(
          items, order, ascending, [](const OptionalMarketItem& item) { return DigitsOf(item.code); },
          Less<std::string>);
      break;
    case 2:
      SortByKey(
          items, order, ascending,
          [](const OptionalMarketItem& item) { return common::ws2s(item.name, common::kUtf8); },
          Less<std::string>);
      break;
    case 3:
      SortByFigure(items, order, ascending, &StockMarketItem::last);
      break;
    case 4:
      SortByFigure(items, order, ascending, &StockMarketItem::change);
      break;
    case 5:
      SortByFigure(items, order, ascending, &StockMarketItem::diff);
      break;
    case 6:
      SortByFigure(items, order, ascending, &StockMarketItem::bid1);
      break;
    case 7:
      SortByFigure(items, order, ascending, &StockMarketItem::ask1);
      break;
    case 8:
      SortByFigure(items, order, ascending, &StockMarketItem::tr);
      break;
    case 9:
      SortByFigure(items, order, ascending, &StockMarketItem::amt);
      break;
    case 10:
      SortByVolume(items, order, ascending);
      break;
    case 11:
      SortByFigure(items, order, ascending, &StockMarketItem::pe);
      break;
    case 12:
      SortByFigure(items, order, ascending, &StockMarketItem::high);
      break;
    case 13:
      SortByFigure(items, order, ascending, &StockMarketItem::low);
      break;
    case 14:
      SortByFigure(items, order, ascending, &StockMarketItem::open);
      break;
    case 15:
      SortByFigure(items, order, ascending, &StockMarketItem::preclose);
      break;
    case 16:
      SortByFigure(items, order, ascending, &StockMarketItem::amp);
      break;
    case 17:
      SortByVolumeRatio(items, order, ascending);
      break;
    case 18:
      SortByFigure(items, order, ascending, &StockMarketItem::cr);
      break;
    case 19:
      SortByFigure(items, order, ascending, &StockMarketItem::mc);
      break;
    case kPlateColumn:
      SortByPlate(items, order, ascending);
      break;
    default:
      break;
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
  if ((used_ + 1) * items_->size() * sizeof(OptionalMarketItem) > request::json::kMostRecordMemory) {
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
