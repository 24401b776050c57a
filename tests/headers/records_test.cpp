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

// Designated initialisers must follow the order of declaration, so that this compiles is half of the test.
TEST(StockMarketItem, declaresItsMembersInOrder) {
  const StockMarketItem item{.symbol_type = stock::kSymbolStock,
                             .code = L"sh600000",
                             .name = L"n",
                             .last = {1},
                             .change = {2},
                             .diff = {3},
                             .bid1 = {4},
                             .ask1 = {5},
                             .tr = {6},
                             .amt = {7},
                             .vol = {8},
                             .pe = {9},
                             .high = {10},
                             .low = {11},
                             .open = {12},
                             .preclose = {13},
                             .amp = {14},
                             .qrr = {15},
                             .cr = {16},
                             .mc = {17},
                             .pb = {18},
                             .tso = {19},
                             .shares = {20},
                             .cmc = {21},
                             .status = stock::kStockNormal,
                             .bid_prices = {},
                             .ask_prices = {},
                             .bid_volumes = {},
                             .ask_volumes = {},
                             .limit_up = {22},
                             .limit_down = {23},
                             .avg_price = {24},
                             .lead = L"l",
                             .lead_change = {25},
                             .num_u = {26},
                             .num_z = {27},
                             .num_d = {28}};
  EXPECT_EQ(item.vol.value, 8U);
  EXPECT_EQ(item.num_d.value, 28);
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

TEST(KLineCandle, hasCloseBeforeLow) {
  const KLineCandle candle{.date = 20170227,
                           .preclose = 1,
                           .open = 2,
                           .high = 3,
                           .close = 4,
                           .low = 5,
                           .volume = 6,
                           .amount = 7,
                           .turnover = 8};
  EXPECT_EQ(candle.low, 5);
}

TEST(StockUnusualEventItem, isAlwaysOfTheSameSymbol) {
  EXPECT_EQ(StockUnusualEventItem{}.symbol, L"SH000001");
}

}  // namespace
