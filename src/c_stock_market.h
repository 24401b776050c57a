// The module as hosts see it: every public header, and the 21 functions that the library exports. What the
// module wants of its host is declared in host/host.h.
//
// A view implements `IUpdate1<Data>`, attaches itself to a service, sets the key of what it shows and
// resumes:
//   service->Attach(&view); service->SetTarget(&view, key); service->Resume(&view, true);
// Records then arrive through `view.Update(data)` on other threads, until `service->Detach(&view)`.
//
// Loading the library runs nothing. The first call of an accessor makes its service; a polled service has a
// thread of its own from then on. Every later call returns the same object. The module owns the objects:
// hosts never delete them. A pointer stays valid until `DestroyStockMarket`, after which the accessor makes a
// new object; only the pointers of `GetCurrentStock` and `GetStockMarketState` stay valid for as long as the
// process runs. Null comes back when the service is not part of this build, or when it could not be made.
//
// The first call of each accessor, and `DestroyStockMarket`, belong to one thread, the host's main thread:
// they take no lock. Later calls of an accessor may come from any thread while no `DestroyStockMarket` runs.
#pragma once

#include "analytics/margin_trade.h"
#include "analytics/money_effect.h"
#include "analytics/stock_distribution.h"
#include "analytics/stock_in_out.h"
#include "analytics/stock_purchase.h"
#include "analytics/stock_unusual_event.h"
#include "analytics/strength_rating.h"
#include "charts/stock_kline.h"
#include "charts/stock_mline.h"
#include "frame/field.h"
#include "frame/observer.h"
#include "market_terms.h"
#include "module_export.h"
#include "quotes/current_stock.h"
#include "quotes/index_market.h"
#include "quotes/optional_stock_market.h"
#include "quotes/plate_market.h"
#include "quotes/plate_stock_market.h"
#include "quotes/single_stock_market.h"
#include "quotes/stock_market.h"
#include "quotes/stock_market_item.h"
#include "ranking/plate_ranking.h"
#include "ranking/ranking_target.h"
#include "ranking/stock_market_summary.h"
#include "ranking/stock_ranking.h"
#include "reference/stock_common.h"
#include "reference/stock_market_state.h"

extern "C" {

/// Lists of stocks, plates and indices. The object loads nothing before `Init`. It may come into being
/// earlier than this call, when the current stock needs it.
STOCK_MARKET_API IStockCommon* GetStockCommon();

/// The security that the client is looking at. Survives `DestroyStockMarket`.
STOCK_MARKET_API ICurrentStock* GetCurrentStock();

/// Quotes of the headline indices.
STOCK_MARKET_API IIndexMarket* GetIndexMarket();

/// Ranked, paged quotes of plates.
STOCK_MARKET_API IPlateMarket* GetPlateMarket();

/// The members of one plate.
STOCK_MARKET_API IPlateStockMarket* GetPlateStockMarket();

/// Ranked, paged quotes of a board of stocks.
STOCK_MARKET_API IStockMarket* GetStockMarket();

/// Quotes of the user's watch list. The host's watch list must outlive the object, that is until
/// `DestroyStockMarket`.
STOCK_MARKET_API IOptionalStockMarket* GetOptionalStockMarket();

/// The full quote of one security.
STOCK_MARKET_API ISingleStockMarket* GetSingleStockMarket();

/// Top list of the stocks of the board `id` (1 all A shares, 2 Shanghai, 3 Shenzhen, 4 GEM, 5 SME): the plain
/// ranking, or with `first` the stocks that moved most within five minutes. One object per combination of all
/// three arguments; `second` only keeps objects apart, so that two screens can have one each. When an object
/// could not be made, every later call with the same arguments returns null too, until `DestroyStockMarket`.
STOCK_MARKET_API IStockRanking* GetStockRanking(int id, bool first, bool second);

/// Top list of the plates of the kind `id` (1 industry, 2 concept). One object per combination of both
/// arguments; `flag` only keeps objects apart. When an object could not be made, every later call with the
/// same arguments returns null too, until `DestroyStockMarket`.
STOCK_MARKET_API IPlateRanking* GetPlateRanking(int id, bool flag);

/// Minute lines.
STOCK_MARKET_API IStockMLine* GetStockMLine();

/// Candles of days, weeks and months.
STOCK_MARKET_API IStockKLine* GetStockKLine();

/// Unusual events of the market.
STOCK_MARKET_API IStockUnusualEvent* GetStockUnusualEvent();

/// The calendar of new shares.
STOCK_MARKET_API IStockPurchase* GetStockPurchase();

/// The history of margin trading.
STOCK_MARKET_API IMarginTrade* GetMarginTrade();

/// Money that flows into and out of single stocks.
STOCK_MARKET_API IStockInOut* GetStockInOut();

/// Stocks up and down, minute by minute.
STOCK_MARKET_API IStrengthRating* GetStrengthRating();

/// Stocks by range of change.
STOCK_MARKET_API IStockDistribution* GetStockDistribution();

/// The money-making effect, minute by minute.
STOCK_MARKET_API IMoneyEffect* GetMoneyEffect();

/// The phase of the trading day. Survives `DestroyStockMarket`.
STOCK_MARKET_API IStockMarketState* GetStockMarketState();

/// Ends every service but the current stock and the market state. Returns when the polling threads have
/// ended; a fetch that one of them is in is finished first. It can take as long as one exchange with a
/// server (8 seconds), or, while the reference data bring the K-line metadata, one download (three tries of
/// 30). An answer that comes later touches nothing. Observers are not told. Must not run while another thread
/// is inside a service, nor inside an `Update`. Without any service it does nothing; it may be called again,
/// and services may be made again afterwards.
STOCK_MARKET_API void DestroyStockMarket();

}  // extern "C"
