#include "charts/kline_today.h"

#include <algorithm>
#include <list>

#include "charts/kline_link.h"
#include "host/calendar.h"

namespace charts {
namespace {

// A week's or month's row without the day that it ends with; nothing when no other day is left. Its extremes
// stay: today's can only widen.
std::optional<KLineCandle> Without(Period period, KLineCandle row, const KLineCandle& today) {
  const std::uint32_t before = stock::GetLastTradingDate(today.date);
  if (row.volume <= today.volume || !IsSamePeriod(period, before, today.date)) {
    return std::nullopt;
  }
  row.date = before;
  row.close = today.preclose * Quotient(row.close, today.close);
  row.volume -= today.volume;
  row.amount -= today.amount;
  row.turnover -= today.turnover;
  return row;
}

void MergeDay(const Series& series, std::list<KLineCandle>& candles, std::uint32_t complete_to,
              KLineCandle today) {
  const auto last = LastDated(candles);
  const bool days = series.period == Period::kDay;
  if ((!days && HasNoPrice(today)) || (last != candles.end() && today.date < last->date)) {
    return;
  }
  if (last != candles.end() && last->date == today.date) {
    if (days && series.adjustment == Adjustment::kUnadjusted && !(HasNoPrice(today) && !HasNoPrice(*last))) {
      *last = today;
    }
    return;
  }
  if (last != candles.end()) {
    Candles piece(1, today);
    Link(series.adjustment, LinkOfNeighbours(*last, complete_to, today), candles, piece);
    today = piece.front();
  }
  if (days || last == candles.end() || !IsSamePeriod(series.period, today.date, last->date)) {
    candles.push_back(today);
    return;
  }
  last->date = today.date;
  last->high = std::max(last->high, today.high);
  last->low = std::min(last->low, today.low);
  last->close = today.close;
  last->volume += today.volume;
  last->amount += today.amount;
  last->turnover += today.turnover;
}

}  // namespace

bool HasNoPrice(const KLineCandle& candle) {
  return candle.open == 0 && candle.high == 0 && candle.close == 0 && candle.low == 0;
}

Candles BeforeToday(Period period, const Candles& rows, const Today& today) {
  Candles past;
  past.reserve(rows.size());
  for (const KLineCandle& row : rows) {
    if (row.date < today.date) {
      past.push_back(row);
    } else if (period != Period::kDay && today.candle && today.candle->date == row.date) {
      if (const auto rest = Without(period, row, *today.candle)) {
        past.push_back(*rest);
      }
    }
  }
  return past;
}

void Assemble(const Series& series, const SeriesHistory& history, const Candles& days, StockKLineData& data) {
  data.symbol = series.symbol;
  data.period = series.period;
  data.adjustment = series.adjustment;
  data.candles.assign(history.candles->begin(), history.candles->end());
  for (const KLineCandle& day : days) {
    MergeDay(series, data.candles, history.complete_to, day);
  }
}

}  // namespace charts
