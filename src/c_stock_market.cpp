// The module's whole outward face: 20 accessors and their end.
#include "c_stock_market.h"

#include <array>
#include <type_traits>

#include "frame/single_objects.h"
#include "reference/reference_data.h"
#include "services.h"

namespace {

template <bool kFirst, bool kSecond>
using Flags = std::integral_constant<int, (kFirst ? 2 : 0) + (kSecond ? 1 : 0)>;

template <bool kFirst, bool kSecond>
frame::Numbered<IStockRanking>& StockRankings() {
  return frame::Immortal<frame::Numbered<IStockRanking>, Flags<kFirst, kSecond>>();
}

template <bool kFlag>
frame::Numbered<IPlateRanking>& PlateRankings() {
  return frame::Immortal<frame::Numbered<IPlateRanking>, Flags<kFlag, false>>();
}

// Every service that ends, in the order in which they do. The current stock and the market state stay.
constexpr std::array kEnds = {
    &reference::EndStockCommon,
    &frame::Only<&quotes::MakeIndexMarket>::End,
    &frame::Only<&quotes::MakePlateMarket>::End,
    &frame::Only<&quotes::MakePlateStockMarket>::End,
    &frame::Only<&quotes::MakeStockMarket>::End,
    &frame::Only<&quotes::MakeOptionalStockMarket>::End,
    &frame::Only<&quotes::MakeSingleStockMarket>::End,
    &frame::Only<&charts::MakeStockMLine>::End,
    &frame::Only<&charts::MakeStockKLine>::End,
    &frame::Only<&analytics::MakeStockUnusualEvent>::End,
    &frame::Only<&analytics::MakeStockPurchase>::End,
    &frame::Only<&analytics::MakeMarginTrade>::End,
    &frame::Only<&analytics::MakeStockInOut>::End,
    &frame::Only<&analytics::MakeStrengthRating>::End,
    &frame::Only<&analytics::MakeStockDistribution>::End,
    &frame::Only<&analytics::MakeMoneyEffect>::End,
    +[] { StockRankings<false, false>().End(); },
    +[] { StockRankings<true, false>().End(); },
    +[] { PlateRankings<false>().End(); },
    +[] { StockRankings<false, true>().End(); },
    +[] { StockRankings<true, true>().End(); },
    +[] { PlateRankings<true>().End(); },
};

}  // namespace

extern "C" {

IStockCommon* GetStockCommon() {
  return reference::TheStockCommon();
}

ICurrentStock* GetCurrentStock() {
  return frame::Only<&quotes::MakeCurrentStock>::Get();
}

IIndexMarket* GetIndexMarket() {
  return frame::Only<&quotes::MakeIndexMarket>::Get();
}

IPlateMarket* GetPlateMarket() {
  return frame::Only<&quotes::MakePlateMarket>::Get();
}

IPlateStockMarket* GetPlateStockMarket() {
  return frame::Only<&quotes::MakePlateStockMarket>::Get();
}

IStockMarket* GetStockMarket() {
  return frame::Only<&quotes::MakeStockMarket>::Get();
}

IOptionalStockMarket* GetOptionalStockMarket() {
  return frame::Only<&quotes::MakeOptionalStockMarket>::Get();
}

ISingleStockMarket* GetSingleStockMarket() {
  return frame::Only<&quotes::MakeSingleStockMarket>::Get();
}

// The second flag only chooses the registry, so that two objects made alike can stand side by side (kept).
IStockRanking* GetStockRanking(int id, bool first, bool second) {
  frame::Numbered<IStockRanking>& rankings =
      second ? (first ? StockRankings<true, true>() : StockRankings<false, true>())
             : (first ? StockRankings<true, false>() : StockRankings<false, false>());
  return rankings.Get(id, [&] { return ranking::MakeStockRanking(id, first); });
}

IPlateRanking* GetPlateRanking(int id, bool flag) {
  return (flag ? PlateRankings<true>() : PlateRankings<false>()).Get(id, [id] {
    return ranking::MakePlateRanking(id);
  });
}

IStockMLine* GetStockMLine() {
  return frame::Only<&charts::MakeStockMLine>::Get();
}

IStockKLine* GetStockKLine() {
  return frame::Only<&charts::MakeStockKLine>::Get();
}

IStockUnusualEvent* GetStockUnusualEvent() {
  return frame::Only<&analytics::MakeStockUnusualEvent>::Get();
}

IStockPurchase* GetStockPurchase() {
  return frame::Only<&analytics::MakeStockPurchase>::Get();
}

IMarginTrade* GetMarginTrade() {
  return frame::Only<&analytics::MakeMarginTrade>::Get();
}

IStockInOut* GetStockInOut() {
  return frame::Only<&analytics::MakeStockInOut>::Get();
}

IStrengthRating* GetStrengthRating() {
  return frame::Only<&analytics::MakeStrengthRating>::Get();
}

IStockDistribution* GetStockDistribution() {
  return frame::Only<&analytics::MakeStockDistribution>::Get();
}

IMoneyEffect* GetMoneyEffect() {
  return frame::Only<&analytics::MakeMoneyEffect>::Get();
}

IStockMarketState* GetStockMarketState() {
  return frame::Only<&reference::MakeStockMarketState>::Get();
}

void DestroyStockMarket() {
  for (void (*const end)() : kEnds) {
    end();
  }
}

}  // extern "C"
