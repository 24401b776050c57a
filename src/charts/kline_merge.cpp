#include "charts/kline_merge.h"

#include <algorithm>

#include "charts/kline_link.h"

namespace charts {

void MergeTail(const Series& series, Candles& candles, const Candles& tail) {
  const auto last = LastDated(candles);
  std::uint32_t reached = last != candles.end() ? last->date : 0;
  Candles later;
  for (const KLineCandle& row : tail) {
    if (row.date <= reached) {
      continue;
    }
    if (!later.empty() && IsSamePeriod(series.period, row.date, reached)) {
      later.back() = row;
    } else {
      later.push_back(row);
    }
    reached = row.date;
  }
  auto first = later.begin();
  if (last != candles.end() && !later.empty()) {
    if (series.adjustment != Adjustment::kNone) {
      Link(series.adjustment, LinkOf(series.period, candles, tail, *last, *first), candles, later);
    }
    if (IsSamePeriod(series.period, first->date, last->date)) {
      *last = *first++;
    }
  }
  candles.reserve(candles.size() + later.size());
  candles.insert(candles.end(), first, later.end());
}

void MergeHead(const Series& series, Candles& candles, const Candles& older) {
  if (LastDate(candles) < LastDate(older)) {
    candles = older;
    return;
  }
  const std::uint32_t first = candles.empty() ? 0 : candles.front().date;
  Candles head(older.begin(), std::find_if(older.begin(), older.end(), [&](const KLineCandle& candle) {
                 return candle.date >= first || IsSamePeriod(series.period, candle.date, first);
               }));
  if (!head.empty() && series.adjustment != Adjustment::kNone) {
    Link(Adjustment::kForward, LinkOf(series.period, older, candles, head.back(), candles.front()), head,
         candles);
  }
  candles.insert(candles.begin(), head.begin(), head.end());
}

}  // namespace charts
