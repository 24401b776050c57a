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

// Every service that ends, in the order in which they do.
#define CSM_END(area, Name) &frame::Only<&area::Make##Name>::End,
constexpr std::array kEnds = {
    &reference::EndStockCommon,
    CSM_SERVICES(CSM_END) + [] { StockRankings<false, false>().End(); },
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

// NOLINTBEGIN(bugprone-macro-parentheses): a declaration has no use for them
#define CSM_ACCESSOR(area, Name)                  \
  I##Name* Get##Name() {                          \
    return frame::Only<&area::Make##Name>::Get(); \
  }
// NOLINTEND(bugprone-macro-parentheses)
CSM_SERVICES(CSM_ACCESSOR)
CSM_LASTING_SERVICES(CSM_ACCESSOR)

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

void DestroyStockMarket() {
  for (void (*const end)() : kEnds) {
    end();
  }
}

}  // extern "C"
