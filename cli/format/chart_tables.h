// The members of points and candles under the names that users know, for JSON and comma-separated values.
// Constants. (The module reads points by hand, not by a table.)
#pragma once

#include "charts/kline_table.h"
#include "charts/stock_mline.h"
#include "json/record_table.h"

namespace cli {

inline constexpr auto kMinutePointTable =
    request::TableOf<MinutePoint>(request::Read("min", "time", &MinutePoint::time, request::Integer{}),
                                  request::Read("last", "price", &MinutePoint::price, request::Number{}),
                                  request::Read("vol", "volume", &MinutePoint::volume, request::Amount{}),
                                  request::Read("amt", "amount", &MinutePoint::amount, request::Number{}),
                                  request::Read("qrr", &MinutePoint::qrr, request::Number{}),
                                  request::Read("change", &MinutePoint::change, request::Number{}),
                                  request::Read("change_rate", &MinutePoint::change_rate, request::Number{}),
                                  request::Read("avg_price", &MinutePoint::avg_price, request::Number{}));

using charts::kKLineCandleTable;

}  // namespace cli
