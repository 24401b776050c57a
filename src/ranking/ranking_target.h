// The key of both ranking services. The range keys of the quote services carry first and last row instead of
// a number of rows; they stand in quotes/.
#pragma once

#include <compare>
#include <cstdint>

/// The top `num` rows by one column.
struct RankingTarget {
  std::int32_t sort_key = 0;   ///< column; its numbers are the ranking service's; 0: no target yet
  std::int32_t sort_type = 2;  ///< 1 ascending, 2 descending
  std::int32_t num = 10;       ///< rows wanted; below 1: none

  auto operator<=>(const RankingTarget&) const = default;
};
