// What a chart of candles shows, inside the module: symbol, period and adjustment; its candles; and a request
// for them. Values.
#pragma once

#include <boost/functional/hash.hpp>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "charts/stock_kline.h"
#include "frame/stamp.h"
#include "market_terms.h"

namespace charts {

using market::Adjustment;
using market::Period;

/// Each has a package of its own.
struct Series {
  std::wstring symbol;  ///< as it was asked for
  Period period = Period::kDay;
  Adjustment adjustment = Adjustment::kUnadjusted;

  auto operator<=>(const Series&) const = default;
  friend std::size_t hash_value(const Series& series) {
    return boost::hash_value(std::tie(series.symbol, series.period, series.adjustment));
  }
};

using Candles = std::vector<KLineCandle>;

/// All candles before today of one series, and what is to be known when today's is put to them.
struct SeriesHistory {
  std::shared_ptr<const Candles> candles;
  std::uint32_t complete_to = 0;  ///< no trading day up to this one is missing
};

using Record = std::shared_ptr<const StockKLineData>;

/// One request on its way: of what, since when, and for whom.
struct KLineRequest {
  Series series;
  frame::Stamp stamp = 0;
  KLineCallback done;                ///< empty: for the views of the symbol
  std::optional<KLineCandle> today;  ///< as traded, once the day answer is there
};

}  // namespace charts
