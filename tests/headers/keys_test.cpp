// Keys order over all their fields, the first field first, each field by its own signedness.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "c_stock_market.h"

namespace {

/// Expects `keys` to stand in strictly ascending order and to differ from each other.
template <class Key>
void ExpectAscending(const std::vector<Key>& keys) {
  static_assert(std::is_aggregate_v<Key>);
  for (std::size_t low = 0; low < keys.size(); ++low) {
    EXPECT_TRUE(keys[low] == keys[low]) << "key " << low;
    EXPECT_FALSE(keys[low] < keys[low]) << "key " << low;
    for (std::size_t high = low + 1; high < keys.size(); ++high) {
      EXPECT_TRUE(keys[low] < keys[high]) << "keys " << low << " and " << high;
      EXPECT_FALSE(keys[high] < keys[low]) << "keys " << low << " and " << high;
      EXPECT_FALSE(keys[low] == keys[high]) << "keys " << low << " and " << high;
    }
  }
}

constexpr std::uint32_t kHuge = 0x80000000U;  // negative, were it signed

// Also from variables, whatever the integer of the key.
TEST(MarketTerms, convertIntoEveryKey) {
  const market::Column column = market::kByChange;
  const market::Direction direction = market::kDescending;
  const market::Board board = market::kGem;
  const market::PlateKind kind = market::kConcept;
  EXPECT_EQ((StockRangeRankingTarget{.stock_type = board, .sort_key = column, .sort_type = direction}),
            (StockRangeRankingTarget{4, 4, 2, 0, 0}));
  EXPECT_EQ((PlateRangeRankingTarget{.bk_type = kind, .sort_key = column, .sort_type = direction}),
            (PlateRangeRankingTarget{2, 4, 2, 0, 0}));
  EXPECT_EQ((PlateStockRankingTarget{.bk_code = L"", .sort_key = column, .sort_type = direction}),
            (PlateStockRankingTarget{L"", 4, 2, 0, 0}));
  EXPECT_EQ((RankingTarget{.sort_key = column, .sort_type = direction}), (RankingTarget{4, 2, 10}));
  EXPECT_EQ((SortingTarget{.sort_key = market::kByPlate, .sort_type = direction}), (SortingTarget{24, 2}));
  StockKLineData line;
  line.period = market::kMonth;
  line.adjustment = market::kBackward;
  EXPECT_EQ(line.period, 3);
  EXPECT_EQ(line.adjustment, 3);
}

TEST(RankingTarget, ordersByColumnDirectionAndNumberAsSigned) {
  ExpectAscending<RankingTarget>({
      {.sort_key = -1, .sort_type = 2, .num = 9},
      {.sort_key = 1, .sort_type = -2, .num = 8},
      {.sort_key = 1, .sort_type = 1, .num = -7},
      {.sort_key = 1, .sort_type = 1, .num = 6},
      {.sort_key = 1, .sort_type = 2, .num = 5},
      {.sort_key = 2, .sort_type = 1, .num = 4},
  });
}

TEST(RankingTarget, startsWithoutColumnDescendingTenRows) {
  EXPECT_EQ(RankingTarget{}, (RankingTarget{.sort_key = 0, .sort_type = 2, .num = 10}));
}

TEST(SortingTarget, ordersByColumnAndDirectionAsUnsigned) {
  ExpectAscending<SortingTarget>({
      {.sort_key = 0, .sort_type = 2},
      {.sort_key = 1, .sort_type = 1},
      {.sort_key = 1, .sort_type = kHuge},
      {.sort_key = 24, .sort_type = 0},
      {.sort_key = kHuge, .sort_type = 0},
  });
}

TEST(StockRangeRankingTarget, ordersFieldByFieldAsUnsigned) {
  ExpectAscending<StockRangeRankingTarget>({
      {.stock_type = 1, .sort_key = 1, .sort_type = 1, .start = 1, .end = 1},
      {.stock_type = 1, .sort_key = 1, .sort_type = 1, .start = 1, .end = kHuge},
      {.stock_type = 1, .sort_key = 1, .sort_type = 1, .start = kHuge, .end = 0},
      {.stock_type = 1, .sort_key = 1, .sort_type = kHuge, .start = 0, .end = 0},
      {.stock_type = 1, .sort_key = kHuge, .sort_type = 0, .start = 0, .end = 0},
      {.stock_type = kHuge, .sort_key = 0, .sort_type = 0, .start = 0, .end = 0},
  });
}

TEST(PlateRangeRankingTarget, ordersFieldByFieldAsUnsigned) {
  ExpectAscending<PlateRangeRankingTarget>({
      {.bk_type = 1, .sort_key = 1, .sort_type = 1, .start = 1, .end = 1},
      {.bk_type = 1, .sort_key = 1, .sort_type = 1, .start = 1, .end = kHuge},
      {.bk_type = 1, .sort_key = 1, .sort_type = 1, .start = kHuge, .end = 0},
      {.bk_type = 1, .sort_key = 1, .sort_type = kHuge, .start = 0, .end = 0},
      {.bk_type = 1, .sort_key = kHuge, .sort_type = 0, .start = 0, .end = 0},
      {.bk_type = kHuge, .sort_key = 0, .sort_type = 0, .start = 0, .end = 0},
  });
}

TEST(PlateStockRankingTarget, ordersByCodeFirstThenNumbersAsUnsigned) {
  ExpectAscending<PlateStockRankingTarget>({
      {.bk_code = L"", .sort_key = 9, .sort_type = 9, .start = 9, .end = 9},
      {.bk_code = L"bk1", .sort_key = 1, .sort_type = 1, .start = 1, .end = 1},
      {.bk_code = L"bk1", .sort_key = 1, .sort_type = 1, .start = 1, .end = kHuge},
      {.bk_code = L"bk1", .sort_key = 1, .sort_type = 1, .start = kHuge, .end = 0},
      {.bk_code = L"bk1", .sort_key = 1, .sort_type = kHuge, .start = 0, .end = 0},
      {.bk_code = L"bk1", .sort_key = kHuge, .sort_type = 0, .start = 0, .end = 0},
      {.bk_code = L"bk11", .sort_key = 0, .sort_type = 0, .start = 0, .end = 0},
      {.bk_code = L"bk2", .sort_key = 0, .sort_type = 0, .start = 0, .end = 0},
  });
}

}  // namespace
