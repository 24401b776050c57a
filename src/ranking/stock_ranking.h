// Short top lists of the stocks of one board, with trend marks. Long, paged lists with full quotes are a
// matter of quotes/stock_market.h.
#pragma once

#include <vector>

#include "frame/observer.h"
#include "frame/timer_subject.h"
#include "ranking/ranking_target.h"
#include "ranking/stock_market_summary.h"

/// Delivers the top rows of one board: the plain ranking, or the stocks that moved most within five
/// minutes. Board and kind of list are fixed when the instance is made (`GetStockRanking`); several
/// instances live side by side. Each row's trends compare it with the row of the same code in the
/// instance's previous answer, whichever target that answer was for; a row without such a counterpart has
/// trend 0.
///
/// - Key: `RankingTarget`; its columns are numbered as in `StockRangeRankingTarget`. With `sort_key` 0
///   nothing is asked. At most `num` rows are delivered.
/// - Who is told: every active observer whose target equals the key.
/// - When: at every change of the market's phase and at least once an hour, while any observer is active. A
///   view that wants more calls `Refresh`.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Resume` when it hands over the last rows (newer ones follow unless they are fresh); it must not call
///   this service.
/// - Failure: one line in the log; observers keep what they have. An empty list means that the answer held
///   no row.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IStockRanking : public ITimerSubject<IUpdate1<std::vector<StockMarketSummary>>, RankingTarget,
                                           std::vector<StockMarketSummary>> {};
