// The members of points and candles under the names that users know, for JSON and comma-separated values.
// Constants. (The module reads these records by hand, not by a table.)
#pragma once

#include "charts/stock_kline.h"
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

inline constexpr auto kKLineCandleTable =
    request::TableOf<KLineCandle>(request::Read("date", &KLineCandle::date, request::Amount{}),
                                  request::Read("preclose", &KLineCandle::preclose, request::Number{}),
                                  request::Read("open", &KLineCandle::open, request::Number{}),
                                  request::Read("high", &KLineCandle::high, request::Number{}),
                                  request::Read("last", "close", &KLineCandle::close, request::Number{}),
                                  request::Read("low", &KLineCandle::low, request::Number{}),
                                  request::Read("vol", "volume", &KLineCandle::volume, request::Amount{}),
                                  request::Read("amt", "amount", &KLineCandle::amount, request::Number{}),
                                  request::Read("tr", "turnover", &KLineCandle::turnover, request::Number{}));

}  // namespace cli
