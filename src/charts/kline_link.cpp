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

void Scale(KLineCandle& candle, double factor) {
  for (double KLineCandle::*const price : {&KLineCandle::preclose, &KLineCandle::open, &KLineCandle::high,
                                           &KLineCandle::close, &KLineCandle::low}) {
    candle.*price *= factor;
  }
}

}  // namespace charts
