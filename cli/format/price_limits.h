// The price limits of a day. The module derives them at a tenth for every stock; boards, names and first days
// of trading have others. Pure function.
#pragma once

#include "quotes/stock_market_item.h"

namespace cli {

/// `quote` of a stock with the limits of its board: a fifth on the growth and the STAR board, a twentieth for
/// a stock under special treatment elsewhere, none on its first days. A limit that the day's own prices lie
/// beyond is not known.
[[nodiscard]] StockMarketItem WithLimitsOfBoard(StockMarketItem quote);

}  // namespace cli
