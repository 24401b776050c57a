#include "quotes/directions.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "request/tolerance.h"

namespace quotes {
namespace {

using request::CodeHashes;

// Written as the feed's other clients do it, to the last bit: a move of exactly the tolerance is none.
int DirectionOf(double now, double before) {
  if (before - request::kTolerance > now) {
    return -1;
  }
  return now > before + request::kTolerance ? 1 : 0;
}

template <class Integer>
int DirectionOfWhole(Integer now, Integer before) {
  return now < before ? -1 : (now > before ? 1 : 0);
}

void SetTicks(StockMarketItem& item, const StockMarketItem& earlier) {
  const auto set = [](TickField<double>& now, const TickField<double>& before) {
    now.direction = DirectionOf(now.value, before.value);
  };
  set(item.last, earlier.last);
  set(item.change, earlier.change);
  set(item.diff, earlier.diff);
  set(item.bid1, earlier.bid1);
  set(item.ask1, earlier.ask1);
  set(item.tr, earlier.tr);
  set(item.amt, earlier.amt);
  item.vol.direction = DirectionOfWhole(item.vol.value, earlier.vol.value);
}

template <class Item>
void SetAll(std::vector<Item>& items, const CodeHashes& hashes, const std::vector<Item>& earlier,
            const CodeHashes& earlier_hashes) {
  const request::CodeIndex<Item> index(earlier, earlier_hashes);
  if (earlier.empty()) {
    return;
  }
  for (std::size_t place = 0; place < items.size(); ++place) {
    const std::size_t row = index.First(items[place].code, hashes[place]);
    if (row != request::CodeIndex<Item>::kNone) {
      SetTicks(items[place], earlier[row]);
    }
  }
}

template <class Type, class Compare>
void SetSide(std::vector<BookLevel<Type>>& now, const std::vector<BookLevel<Type>>& before, Compare compare) {
  const std::size_t levels = std::min(now.size(), before.size());
  for (std::size_t level = 0; level < levels; ++level) {
    if (now[level].present && before[level].present) {
      now[level].direction = static_cast<std::int16_t>(compare(now[level].value, before[level].value));
    }
  }
}

}  // namespace

void SetDirections(std::vector<StockMarketItem>& items, const std::vector<StockMarketItem>& earlier) {
  SetAll(items, request::HashesOfCodes(items), earlier, request::HashesOfCodes(earlier));
}

void SetDirections(std::vector<OptionalMarketItem>& items, const std::vector<OptionalMarketItem>& earlier) {
  SetAll(items, request::HashesOfCodes(items), earlier, request::HashesOfCodes(earlier));
}

void SetDirections(std::vector<StockMarketItem>& items, const CodeHashes& hashes,
                   const std::vector<StockMarketItem>& earlier, const CodeHashes& earlier_hashes) {
  SetAll(items, hashes, earlier, earlier_hashes);
}

void SetDirections(StockMarketItem& item, const StockMarketItem& earlier) {
  SetTicks(item, earlier);
  if (item.symbol_type != stock::kSymbolStock) {
    return;
  }
  SetSide(item.bid_prices, earlier.bid_prices, DirectionOf);
  SetSide(item.ask_prices, earlier.ask_prices, DirectionOf);
  SetSide(item.bid_volumes, earlier.bid_volumes, DirectionOfWhole<std::uint32_t>);
  SetSide(item.ask_volumes, earlier.ask_volumes, DirectionOfWhole<std::uint32_t>);
}

}  // namespace quotes
