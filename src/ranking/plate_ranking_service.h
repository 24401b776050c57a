// Makes plate ranking services. Called by the registry only; hosts call `GetPlateRanking`.
#pragma once

#include "ranking/plate_ranking.h"

namespace ranking {

/// A running service for one kind of plates, owned by the caller; null when it cannot be made.
[[nodiscard]] IPlateRanking* MakePlateRanking(int bk_type);

}  // namespace ranking
