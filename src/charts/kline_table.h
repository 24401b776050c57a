// The members of a candle in the order of a package's line, with the keys of the day answer and the names
// that users know. Constants.
#pragma once

#include "charts/stock_kline.h"
#include "json/record_table.h"

namespace charts {

inline constexpr auto kKLineCandleTable =
    request::TableOf<KLineCandle>(request::Read("date", &KLineCandle::date, request::Number{}),
                                  request::Read("preclose", &KLineCandle::preclose, request::Number{}),
                                  request::Read("open", &KLineCandle::open, request::Number{}),
                                  request::Read("high", &KLineCandle::high, request::Number{}),
                                  request::Read("last", "close", &KLineCandle::close, request::Number{}),
                                  request::Read("low", &KLineCandle::low, request::Number{}),
                                  request::Read("vol", "volume", &KLineCandle::volume, request::Amount{}),
                                  request::Read("amt", "amount", &KLineCandle::amount, request::Number{}),
                                  request::Read("tr", "turnover", &KLineCandle::turnover, request::Number{}));

}  // namespace charts
