// The records as clients write them: in which order their members stand, and what they start with. That a
// service fills each of them is a matter of its own tests.
#include <gtest/gtest.h>

#include <type_traits>

#include "c_stock_market.h"

namespace {

TEST(FieldShapes, startEmptyAbsentAndWithoutMovement) {
  const TickField<double> tick{};
  EXPECT_EQ(tick.value, 0.0);
  EXPECT_FALSE(tick.present);
  EXPECT_EQ(tick.direction, 0);
  const TrendValue trend{};
  EXPECT_EQ(trend.value, 0.0);
  EXPECT_FALSE(trend.valid);
  EXPECT_EQ(trend.trend, 0);
}

TEST(OptionalMarketItem, isAQuoteFollowedByThePlate) {
  static_assert(std::is_aggregate_v<OptionalMarketItem>);
  static_assert(std::is_base_of_v<StockMarketItem, OptionalMarketItem>);
  const OptionalMarketItem item{StockMarketItem{}, L"banks"};
  OptionalMarketItem other = item;
  EXPECT_TRUE(item == other);
  other.plate = L"";
  EXPECT_FALSE(item == other);
  other = item;
  other.code = L"sh600001";
  EXPECT_FALSE(item == other);
}

TEST(StockUnusualEventItem, isAlwaysOfTheSameSymbol) {
  EXPECT_EQ(StockUnusualEventItem{}.symbol, L"SH000001");
}

}  // namespace
