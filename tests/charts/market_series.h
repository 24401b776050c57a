// The simulated market's own candles at an instant, as charts must show them: every day as traded times the
// factor of that day, gathered into weeks and months. Made from the days as traded and from nothing else.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "charts/stock_kline.h"
#include "market_server/model/market.h"

namespace market_series {

namespace model = market_server::model;

inline KLineCandle CandleOf(const model::Candle& candle) {
  return {candle.date, candle.preclose, candle.open, candle.high, candle.close,
          candle.low,  candle.vol,      candle.amt,  candle.tr};
}

/// By what a dividend or a split divided the price over night; 1 on all other days.
inline double StepOf(const KLineCandle& before, const KLineCandle& day) {
  return std::fabs(day.preclose - before.close) < 1e-9 ? 1 : before.close / day.preclose;
}

inline void Multiply(KLineCandle& candle, double factor) {
  for (double* const price : {&candle.preclose, &candle.open, &candle.high, &candle.close, &candle.low}) {
    *price *= factor;
  }
}

/// `first_factor` is that of the first day: 1 where it is the first one of all.
inline void Adjust(std::vector<KLineCandle>& days, model::Adjustment adjustment, double first_factor = 1) {
  std::vector<double> factors(days.size(), first_factor);  // prices as they would be without any dividend
  for (std::size_t day = 1; day < days.size(); ++day) {
    factors[day] = factors[day - 1] * StepOf(days[day - 1], days[day]);
  }
  for (std::size_t day = 0; day < days.size() && adjustment != model::Adjustment::kNone; ++day) {
    Multiply(days[day],
             adjustment == model::Adjustment::kBackward ? factors[day] : factors[day] / factors.back());
  }
}

/// Equal for the days of one candle.
inline std::int64_t GroupOf(model::Period period, model::Date date) {
  const auto day =
      static_cast<std::int64_t>(model::InstantOf(date, 12, 0, 0) / 86400);  // the first a Thursday
  return period == model::Period::kDay ? day : period == model::Period::kWeek ? (day + 3) / 7 : date / 100;
}

/// The days as traded, up to what is known at that instant.
inline std::vector<KLineCandle> DaysAt(const model::Market& market, const model::Security& security,
                                       model::Instant time) {
  std::vector<KLineCandle> days;
  const model::Date session = model::SessionDate(time);
  for (const model::Candle& day : market.Candles(security, model::Period::kDay, model::Adjustment::kNone,
                                                 model::PreviousTradingDay(session))) {
    days.push_back(CandleOf(day));
  }
  if (const auto today = market.DayCandle(security, time)) {
    days.push_back(CandleOf(*today));
  }
  return days;
}

inline std::vector<KLineCandle> SeriesOf(std::vector<KLineCandle> days, model::Period period,
                                         model::Adjustment adjustment, double first_factor = 1) {
  Adjust(days, adjustment, first_factor);
  std::vector<KLineCandle> series;
  for (const KLineCandle& day : days) {
    if (series.empty() || GroupOf(period, series.back().date) != GroupOf(period, day.date)) {
      series.push_back(day);
      continue;
    }
    KLineCandle& candle = series.back();
    candle.date = day.date;
    candle.high = std::max(candle.high, day.high);
    candle.low = std::min(candle.low, day.low);
    candle.close = day.close;
    candle.volume += day.volume;
    candle.amount += day.amount;
    candle.turnover += day.turnover;
  }
  return series;
}

/// Prices to half a cent, volumes to the share; sums of amounts and rates to their rounding.
inline bool IsSame(const KLineCandle& left, const KLineCandle& right) {
  const auto near = [](double one, double other, double most) { return std::fabs(one - other) <= most; };
  return left.date == right.date && near(left.preclose, right.preclose, 0.005) &&
         near(left.open, right.open, 0.005) && near(left.high, right.high, 0.005) &&
         near(left.close, right.close, 0.005) && near(left.low, right.low, 0.005) &&
         left.volume == right.volume && near(left.amount, right.amount, 1e-9 * right.amount + 0.05) &&
         near(left.turnover, right.turnover, 0.05);
}

}  // namespace market_series
