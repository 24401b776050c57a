#include "charts/kline_link.h"

#include "host/calendar.h"
#include "host/clock.h"

namespace charts {

bool IsSamePeriod(Period period, std::uint32_t date, std::uint32_t other) {
  switch (period) {
    case Period::kWeek:
      return common::IsSameWeek(date, other);
    case Period::kMonth:
      return date / 100 == other / 100;
    case Period::kDay:
      break;
  }
  return date == other;
}

std::uint32_t LastDate(const Candles& candles) {
  const auto last = LastDated(candles);
  return last != candles.end() ? last->date : candles.empty() ? 0 : kShortLineDate;
}

double LinkOfNeighbours(const KLineCandle& last, std::uint32_t complete_to, const KLineCandle& next) {
  const std::uint32_t known_to = std::max(complete_to, last.date);
  return stock::GetLastTradingDate(next.date) <= known_to ? Quotient(next.preclose, last.close) : 1;
}

void Scale(KLineCandle& candle, double factor) {
  for (double KLineCandle::*const price : {&KLineCandle::preclose, &KLineCandle::open, &KLineCandle::high,
                                           &KLineCandle::close, &KLineCandle::low}) {
    candle.*price *= factor;
  }
}

namespace {

// What links two pieces: by the latest day that both have, else by `next`, the first candle that is new,
// which completes `last`, the last one of the older piece, or follows it.
double LinkOf(Period period, const Candles& older, const Candles& newer, const KLineCandle& last,
              const KLineCandle& next) {
  auto mine = older.rbegin();
  for (auto theirs = newer.rbegin(); theirs != newer.rend(); ++theirs) {
    mine = std::find_if(mine, older.rend(), [theirs](const KLineCandle& candle) {
      return candle.close != 0 && candle.date <= theirs->date;
    });
    if (mine != older.rend() && mine->date == theirs->date && theirs->close != 0) {
      return theirs->close / mine->close;
    }
  }
  return IsSamePeriod(period, last.date, next.date) ? Quotient(next.preclose, last.preclose)
                                                    : LinkOfNeighbours(last, 0, next);
}

}  // namespace

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
    if (series.adjustment != Adjustment::kUnadjusted) {
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
  if (!head.empty() && series.adjustment != Adjustment::kUnadjusted) {
    Link(Adjustment::kForward, LinkOf(series.period, older, candles, head.back(), candles.front()), head,
         candles);
  }
  candles.insert(candles.begin(), head.begin(), head.end());
}

}  // namespace charts
