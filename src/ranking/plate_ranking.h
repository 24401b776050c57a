// Short top lists of plates (industry or concept boards) with their leading stocks. Long, paged lists with
// full quotes are a matter of quotes/plate_market.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/observer.h"
#include "frame/timer_subject.h"
#include "ranking/ranking_target.h"

/// One ranked plate.
struct PlateMarketSummary {
  std::wstring bk;  ///< code of the plate
  std::wstring name;
  double change = 0;       ///< change rate of the plate in percent
  double bpin = 0;         ///< the feed's figure "bpin", passed through: net inflow of big orders, in yuan
  std::int32_t cud = 0;    ///< the feed's count "cud", passed through: days up in a row, negative down
  std::wstring lead;       ///< name of its leading stock
  double lead_change = 0;  ///< change rate of the leading stock in percent

  bool operator==(const PlateMarketSummary&) const = default;
};

/// Delivers the top plates of one kind. The kind is fixed when the instance is made (`GetPlateRanking`).
///
/// - Key: `RankingTarget`; its columns are numbered as in `PlateRangeRankingTarget`. With `sort_key` 0
///   nothing is asked. `num` is a wish: every row that the server sends is delivered.
/// - Who is told: every active observer whose target equals the key.
/// - When: at every change of the market's phase and at least once an hour, while any observer is active. A
///   view that wants more calls `Refresh`.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Resume` when it hands over the last rows (newer ones follow unless they are fresh); it must not call
///   this service.
/// - Failure: one line in the log; observers keep what they have. An empty list means that the answer held
///   no row.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IPlateRanking : public ITimerSubject<IUpdate1<std::vector<PlateMarketSummary>>, RankingTarget,
                                           std::vector<PlateMarketSummary>> {};
