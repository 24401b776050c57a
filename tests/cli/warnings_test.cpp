// The lines of the log that say what went wrong.
#include "cli/views/feed_health.h"

#include <gtest/gtest.h>

namespace cli {
namespace {

TEST(Warnings, keepTheFirstAndTheLastOfAllAndOfEachWriter) {
  Warnings warnings;
  EXPECT_EQ(warnings.All().count, 0U);
  EXPECT_EQ(warnings.Of("StockRanking").last, "");
  warnings.Add("StockRanking::FetchStockRanking Failed.");
  warnings.Add("cannot read the key file");
  warnings.Add("StockRanking::FetchStockRanking Response Error Code: 5");
  warnings.Add("StockMarket::FetchStockMarkets Failed.");
  EXPECT_EQ(warnings.All().count, 4U);
  EXPECT_EQ(warnings.All().first, "StockRanking::FetchStockRanking Failed.");
  EXPECT_EQ(warnings.All().last, "StockMarket::FetchStockMarkets Failed.");
  EXPECT_EQ(warnings.Of("StockRanking").count, 2U);
  EXPECT_EQ(warnings.Of("StockRanking").last, "StockRanking::FetchStockRanking Response Error Code: 5");
  EXPECT_EQ(warnings.Of("Stock").count, 0U);
}

TEST(Warnings, takeNoWriterFromWhatAServerSays) {
  Warnings warnings;
  warnings.Add("a server said X::Y");
  EXPECT_EQ(warnings.Of("a server said X").count, 0U);
}

TEST(Warnings, escapeWhatCouldSteerATerminal) {
  Warnings warnings;
  warnings.Add("bad \x1b[2J");
  EXPECT_EQ(warnings.All().last, "bad \\u{1b}[2J");
}

}  // namespace
}  // namespace cli
