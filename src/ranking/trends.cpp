#include "ranking/trends.h"

#include <cstddef>
#include <cstdint>

#include "request/code_index.h"

namespace ranking {
namespace {

// A value that is no number counts as fallen.
void SetTrend(TrendValue& now, const TrendValue& before) {
  now.trend = now.value > before.value ? std::int16_t{1}
                                       : (now.value == before.value ? std::int16_t{0} : std::int16_t{-1});
}

}  // namespace

void SetTrends(std::vector<StockMarketSummary>& rows, const std::vector<StockMarketSummary>& earlier) {
  request::CodeIndex<StockMarketSummary> index(earlier);
  for (StockMarketSummary& row : rows) {
    const std::size_t match = index.Take(row.code);
    if (match == request::CodeIndex<StockMarketSummary>::kNone) {
      continue;
    }
    SetTrend(row.last, earlier[match].last);
    SetTrend(row.change, earlier[match].change);
    SetTrend(row.diff, earlier[match].diff);
    SetTrend(row.tr, earlier[match].tr);
  }
}

}  // namespace ranking
