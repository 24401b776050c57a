// Makes stock ranking services. Called by the registry only; hosts call `GetStockRanking`.
#pragma once

#include "ranking/stock_ranking.h"

namespace ranking {

/// A running service for one board, with the plain list or the five-minute-change list; owned by the caller;
/// null when it cannot be made.
[[nodiscard]] IStockRanking* MakeStockRanking(int stock_type, bool five_change);

}  // namespace ranking
