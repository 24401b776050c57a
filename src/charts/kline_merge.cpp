#include "charts/kline_merge.h"

#include <algorithm>
#include <iterator>

#include "host/clock.h"

namespace charts {
namespace {

constexpr int kWeek = 2;
constexpr int kMonth = 3;

// The last candle that has a date of its own; the end if there is none.
template <class Series>
auto LastDated(Series& candles) {
  const auto found = std::find_if(candles.rbegin(), candles.rend(),
                                  [](const KLineCandle& candle) { return candle.date != kShortLineDate; });
  return found == candles.rend() ? candles.end() : std::prev(found.base());
}

}  // namespace

bool IsSamePeriod(int period, std::uint32_t date, std::uint32_t other) {
  switch (period) {
    case kWeek:
      return common::IsSameWeek(date, other);
    case kMonth:
      return date / 100 == other / 100;
    default:
      return date == other;
  }
}

std::uint32_t LastDate(const Candles& candles) {
  const auto last = LastDated(candles);
  return last == candles.end() ? kShortLineDate : last->date;
}

void MergeTail(int period, Candles& candles, const Candles& tail) {
  for (const KLineCandle& row : tail) {
    const auto last = LastDated(candles);
    if (last != candles.end() && row.date <= last->date) {
      continue;
    }
    if (last != candles.end() && IsSamePeriod(period, row.date, last->date)) {
      *last = row;
    } else {
      candles.push_back(row);
    }
  }
}

void MergeToday(int period, std::list<KLineCandle>& candles, const KLineCandle& today) {
  const auto found = LastDated(candles);
  if (found == candles.end()) {
    candles.push_back(today);
    return;
  }
  KLineCandle& last = *found;
  if (today.date < last.date) {
    return;
  }
  if (!IsSamePeriod(period, today.date, last.date)) {
    candles.push_back(today);
    return;
  }
  if (period != kWeek && period != kMonth) {
    last = today;
    return;
  }
  if (last.date == today.date) {
    return;
  }
  last.date = today.date;
  last.high = std::max(last.high, today.high);
  last.low = std::min(last.low, today.low);
  last.close = today.close;
  last.volume += today.volume;
  last.amount += today.amount;
  last.turnover += today.turnover;
}

}  // namespace charts
