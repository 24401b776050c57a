#include "charts/kline_merge.h"

#include <algorithm>
#include <iterator>
#include <list>

#include "charts/kline_package.h"
#include "host/calendar.h"
#include "host/clock.h"

namespace charts {
namespace {

// The last candle that has a date of its own; the end if there is none.
template <class Container>
auto LastDated(Container& candles) {
  const auto found = std::find_if(candles.rbegin(), candles.rend(),
                                  [](const KLineCandle& candle) { return candle.date != kShortLineDate; });
  return found == candles.rend() ? candles.end() : std::prev(found.base());
}

void Scale(KLineCandle& candle, double factor) {
  for (double KLineCandle::*const price : {&KLineCandle::preclose, &KLineCandle::open, &KLineCandle::high,
                                           &KLineCandle::close, &KLineCandle::low}) {
    candle.*price *= factor;
  }
}

// Brings two pieces of a series to one base. `link` is a price in the base of the newer piece by the same
// price in that of the older one: history adjusted forward follows what is new, what is new follows history
// adjusted backward.
template <class Older, class Newer>
void Link(Adjustment adjustment, double link, Older& older, Newer& newer) {
  if (link == 1) {
    return;
  }
  if (adjustment == Adjustment::kForward) {
    std::for_each(older.begin(), older.end(), [link](KLineCandle& candle) { Scale(candle, link); });
  } else if (adjustment == Adjustment::kBackward) {
    std::for_each(newer.begin(), newer.end(), [link](KLineCandle& candle) { Scale(candle, 1 / link); });
  }
}

double Quotient(double newer, double older) {
  return newer == 0 || older == 0 ? 1 : newer / older;
}

// Across the gap between two pieces prices moved, so only neighbouring trading days are linked.
double LinkOfNeighbours(const KLineCandle& last, std::uint32_t complete_to, const KLineCandle& next) {
  return stock::GetLastTradingDate(next.date) <= complete_to ? Quotient(next.preclose, last.close) : 1;
}

// By the latest day that both pieces have, else by the first candle that is new: it completes the last one or
// follows it.
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
                                                    : LinkOfNeighbours(last, last.date, next);
}

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
    if (days && series.adjustment == Adjustment::kNone && !(HasNoPrice(today) && !HasNoPrice(*last))) {
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

void Assemble(const Series& series, const SeriesHistory& history, const Candles& days, StockKLineData& data) {
  data.symbol = series.symbol;
  data.period = NumberOf(series.period);
  data.adjustment = NumberOf(series.adjustment);
  data.candles.assign(history.candles->begin(), history.candles->end());
  for (const KLineCandle& day : days) {
    MergeDay(series, data.candles, history.complete_to, day);
  }
}

}  // namespace charts
