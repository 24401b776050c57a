// The factories of all services and the one list of them. A new service is a pair of files, a line among the
// factories and a line of the list; hosts see it through an accessor of c_stock_market.h.
//
// A factory makes a running service, which belongs to its caller; null when it cannot be made.
#pragma once

class ICurrentStock;
class IIndexMarket;
class IMarginTrade;
class IMoneyEffect;
class IOptionalStockMarket;
class IPlateMarket;
class IPlateRanking;
class IPlateStockMarket;
class ISingleStockMarket;
class IStockCommon;
class IStockDistribution;
class IStockInOut;
class IStockKLine;
class IStockMLine;
class IStockMarket;
class IStockMarketState;
class IStockPurchase;
class IStockRanking;
class IStockUnusualEvent;
class IStrengthRating;

namespace reference {
[[nodiscard]] IStockCommon* MakeStockCommon();
[[nodiscard]] IStockMarketState* MakeStockMarketState();
}  // namespace reference

namespace quotes {
[[nodiscard]] ICurrentStock* MakeCurrentStock();
[[nodiscard]] IIndexMarket* MakeIndexMarket();
[[nodiscard]] IOptionalStockMarket* MakeOptionalStockMarket();
[[nodiscard]] IPlateMarket* MakePlateMarket();
[[nodiscard]] IPlateStockMarket* MakePlateStockMarket();
[[nodiscard]] ISingleStockMarket* MakeSingleStockMarket();
[[nodiscard]] IStockMarket* MakeStockMarket();
}  // namespace quotes

namespace ranking {
/// The top list of a board: the plain one, or that of the moves within five minutes.
[[nodiscard]] IStockRanking* MakeStockRanking(int stock_type, bool five_change);
[[nodiscard]] IPlateRanking* MakePlateRanking(int bk_type);
}  // namespace ranking

namespace charts {
[[nodiscard]] IStockKLine* MakeStockKLine();
[[nodiscard]] IStockMLine* MakeStockMLine();
}  // namespace charts

namespace analytics {
[[nodiscard]] IMarginTrade* MakeMarginTrade();
[[nodiscard]] IMoneyEffect* MakeMoneyEffect();
[[nodiscard]] IStockDistribution* MakeStockDistribution();
[[nodiscard]] IStockInOut* MakeStockInOut();
[[nodiscard]] IStockPurchase* MakeStockPurchase();
[[nodiscard]] IStockUnusualEvent* MakeStockUnusualEvent();
[[nodiscard]] IStrengthRating* MakeStrengthRating();
}  // namespace analytics
