// Which figures of a quote mean nothing and lose their presence flag: zeros of a security that is not traded,
// and what the feed still carries of yesterday before the market opens. The rules depend on the service, and
// for a single quote on their order. Thread-safe: functions of the record.
#pragma once

#include "quotes/stock_market_item.h"

namespace quotes {

/// The phase that the market is in.
[[nodiscard]] stock::MarketStatus CurrentPhase();

/// For the rows of a board: unless the status is 0, figures below 0.001 and zero volumes and share counts are
/// absent. The order book, the leading stock's change and the counts are not touched.
void HideZeros(StockMarketItem& item);

/// For the rows of a board: in the phases 2 and 3 only the last price and the texts stay present.
void HideBeforeOpening(StockMarketItem& item, stock::MarketStatus phase);

/// For a single quote: by phase, status and kind of security.
void ApplySingleQuoteRules(StockMarketItem& item, stock::MarketStatus phase);

}  // namespace quotes
