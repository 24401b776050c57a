#include "charts/kline_merge.h"

#include <algorithm>

#include "host/clock.h"

namespace charts {
namespace {

constexpr int kWeek = 2;
constexpr int kMonth = 3;

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

void MergeTail(int period, Candles& candles, const Candles& tail) {
  for (const KLineCandle& row : tail) {
    if (!candles.empty() && row.date <= candles.back().date) {
      continue;
    }
    if (!candles.empty() && IsSamePeriod(period, row.date, candles.back().date)) {
      candles.back() = row;
    } else {
      candles.push_back(row);
    }
  }
}

void MergeToday(int period, std::list<KLineCandle>& candles, const KLineCandle& today) {
  if (candles.empty()) {
    candles.push_back(today);
    return;
  }
  KLineCandle& last = candles.back();
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
