// The words by themselves; urls_test.cpp sees them in every request.
#include "request/vocabulary.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

TEST(Vocabulary, theTwoSortTablesShareOneNumbering) {
  for (int number = 1; number <= 19; ++number) {
    if (number == 6 || number == 7) continue;
    EXPECT_EQ(request::StockSortField(number), request::PlateSortField(number)) << number;
  }
}

TEST(Vocabulary, sixIsABidPriceForStocksAndTheChangeForPlates) {
  EXPECT_EQ(request::StockSortField(6), "b1p");
  EXPECT_EQ(request::PlateSortField(6), "change");
}

TEST(Vocabulary, theEndsOfTheRangeHaveTheFallbacks) {
  for (const int number : {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(request::StockSortField(number), "change");
    EXPECT_EQ(request::PlateSortField(number), "change");
    EXPECT_EQ(request::StockType(number), "");
    EXPECT_EQ(request::PlateType(number), "");
    EXPECT_EQ(request::SortDirection(number), "");
    EXPECT_EQ(request::KLinePeriod(number), "day");
    EXPECT_EQ(request::KLineAdjustment(number), "bfq");
  }
}

}  // namespace
