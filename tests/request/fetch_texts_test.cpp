// The fixed lines of every fetch, as hosts search their logs for them.
#include "request/fetch_texts.h"

#include <gtest/gtest.h>

#include <set>

#include "scripted_host.h"

namespace {

using request::Fetch;

struct Lines {
  Fetch fetch;
  const wchar_t* failed;
  const wchar_t* response;
  const wchar_t* parse;
};

const std::vector<Lines>& AllLines() {
  static const std::vector<Lines> lines = {
      {Fetch::kIndexQuotes, L"IndexMarket::FetchIndexMarkets Failed.",
       L"IndexMarket::FetchIndexMarkets Response Error Code: %d",
       L"IndexMarket::FetchIndexMarkets Json Parse Error Code: %d"},
      {Fetch::kStockQuotes, L"StockMarket::FetchStockMarkets Failed.",
       L"StockMarket::FetchStockMarkets Response Error Code: %d",
       L"StockMarket::FetchStockMarkets Json Parse Error Code: %d"},
      {Fetch::kStockItems, L"StockMarket::FetchStockItems Failed.",
       L"StockMarket::FetchStockItems Response Error Code: %d",
       L"StockMarket::FetchStockItems Json Parse Error Code: %d"},
      {Fetch::kSingleStock, L"SingleStockMarket::FetchStockMarket Failed.",
       L"SingleStockMarket::FetchStockMarket Response Error Code: %d",
       L"SingleStockMarket::FetchStockMarket Json Parse Error Code: %d"},
      {Fetch::kOptionalStocks, L"OptionalStockMarket::FetchStockMarkets Failed.",
       L"OptionalStockMarket::FetchStockMarkets Response Error Code: %d",
       L"OptionalStockMarket::FetchStockMarkets Json Parse Error Code: %d"},
      {Fetch::kPlateQuotes, L"PlateMarket::FetchPlateMarkets Failed.",
       L"PlateMarket::FetchPlateMarkets Response Error Code: %d",
       L"PlateMarket::FetchPlateMarkets Json Parse Error Code: %d"},
      {Fetch::kPlateItems, L"PlateMarket::FetchPlateItems Failed.",
       L"PlateMarket::FetchPlateItems Response Error Code: %d",
       L"PlateMarket::FetchPlateItems Json Parse Error Code: %d"},
      {Fetch::kPlateStocks, L"PlateStockMarket::FetchStockMarkets Failed.",
       L"PlateStockMarket::FetchStockMarkets Response Error Code: %d",
       L"PlateStockMarket::FetchStockMarkets Json Parse Error Code: %d"},
      {Fetch::kStockRanking, L"StockRanking::FetchStockRanking Failed.",
       L"StockRanking::FetchStockRanking Response Error Code: %d",
       L"StockRanking::FetchStockRanking Json Parse Error Code: %d"},
      {Fetch::kPlateRanking, L"PlateRanking::FetchPlateRanking Failed.",
       L"PlateRanking::FetchPlateRanking Response Error Code: %d",
       L"PlateRanking::FetchPlateRanking Json Parse Error Code: %d"},
      {Fetch::kMinuteLine, L"StockMLine::FetchMLine Failed.",
       L"StockMLine::FetchMLine Response Error Code: %d",
       L"StockMLine::FetchMLine Json Parse Error Code: %d"},
      {Fetch::kHistoryMinuteLine, L"StockMLine::FetchHistoryMLine Failed.",
       L"StockMLine::FetchHistoryMLine Response Error Code: %d",
       L"StockMLine::FetchHistoryMLine Json Parse Error Code: %d"},
      {Fetch::kKLine, L"StockKLine::FetchKLine Failed.", L"StockKLine::FetchKLine Response Error Code: %d",
       L"StockKLine::FetchKLine Json Parse Error Code: %d"},
      {Fetch::kUnusualEvents, L"StockUnusualEvent::FetchUnusualEvent Failed.",
       L"StockUnusualEvent::FetchUnusualEvent Response Error Code: %d",
       L"StockUnusualEvent::FetchUnusualEvent Json Parse Error Code: %d"},
      {Fetch::kStockInOut, L"StockInOut::FetchStockInOutInfo Failed.",
       L"StockInOut::FetchStockInOutInfo Response Error Code: %d",
       L"StockInOut::FetchStockInOutInfo Json Parse Error Code: %d"},
      {Fetch::kStrengthRating, L"StrengthRating::FetchStrengthRating Failed.",
       L"StrengthRating::FetchStrengthRating Response Error Code: %d",
       L"StrengthRating::FetchStrengthRating Json Parse Error Code: %d"},
      {Fetch::kDistribution, L"StockDistribution::FetchDistribution Failed.",
       L"StockDistribution::FetchDistribution Response Error Code: %d",
       L"StockDistribution::FetchDistribution Json Parse Error Code: %d"},
      {Fetch::kMoneyEffect, L"MoneyEffect::FetchMoneyEffect Failed.",
       L"MoneyEffect::FetchMoneyEffect Response Error Code: %d",
       L"MoneyEffect::FetchMoneyEffect Json Parse Error Code: %d"},
      {Fetch::kMarginTrade, L"CMarginTrade::FetchMarginTradeInfo Failed.",
       L"CMarginTrade::FetchMarginTradeInfo Response Error Code: %d",
       L"CMarginTrade::FetchMarginTradeInfo Json Parse Error Code: %d"},
      {Fetch::kStockPurchase, L"CStockPurchase::FetchPurchaseInfo Failed.",
       L"CStockPurchase::FetchPurchaseInfo Response Error Code: %d",
       L"CStockPurchase::FetchPurchaseInfo Json Parse Error Code: %d"},
      {Fetch::kLegalHolidays, L"StockCommon::InitLegalHolidays Failed.",
       L"StockCommon::InitLegalHolidays Response Error Code: %d",
       L"StockCommon::InitLegalHolidays Json Parse Error Code: %d"},
      {Fetch::kBaseInfo, nullptr, L"StockCommon::InitBaseInfo Response Error Code: %d",
       L"StockCommon::InitBaseInfoItems Json Parse Error Code: %d"},
      {Fetch::kIndexList, nullptr, L"StockCommon::InitIndexItem Response Error Code: %d",
       L"StockCommon::InitIndexItemList Json Parse Error Code: %d"},
      {Fetch::kPlateList, nullptr, L"StockCommon::InitPlateItem Response Error Code: %d",
       L"StockCommon::InitPlateItemList Json Parse Error Code: %d"},
      {Fetch::kStockInPlates, nullptr, L"StockCommon::InitStockInPlates Response Error Code: %d",
       L"StockCommon::InitStockInPlates Json Parse Error Code: %d"},
      {Fetch::kMetadataVersion, nullptr, L"StockCommon::InitStockInPlates Response Error Code: %d",
       L"StockCommon::InitStockInPlates Json Parse Error Code: %d"},
      {Fetch::kPackageCounts, nullptr, nullptr,
       L"StockCommon::ParseComplexTypeCount Json Parse Error Code: %d"},
  };
  return lines;
}

class FetchTexts : public ::testing::Test {
 protected:
  ScriptedHost host;
};

TEST_F(FetchTexts, theTableOfTheTestNamesEveryFetchOnce) {
  std::set<Fetch> named;
  for (const Lines& lines : AllLines()) named.insert(lines.fetch);
  EXPECT_EQ(named.size(), AllLines().size());
  EXPECT_EQ(named.size(), static_cast<std::size_t>(Fetch::kPackageCounts) + 1);
}

TEST_F(FetchTexts, failureLinesGoThroughTheFixedWriterWithAllOnes) {
  for (const Lines& lines : AllLines()) {
    if (lines.failed != nullptr) host.ExpectFailureLine(lines.failed);
    request::LogFailed(lines.fetch);
  }
  EXPECT_EQ(host.Log().size(), 21u);
}

TEST_F(FetchTexts, responseLinesGoThroughTheFormattingWriterWithTheNumber) {
  std::size_t expected = 0;
  for (const Lines& lines : AllLines()) {
    if (lines.response != nullptr) {
      host.ExpectCodeLine(lines.response, 1001);
      ++expected;
    }
    request::LogResponseError(lines.fetch, 1001);
  }
  EXPECT_EQ(host.Log().size(), expected);
}

TEST_F(FetchTexts, parseLinesGoThroughTheFormattingWriterWithTheCode) {
  for (const Lines& lines : AllLines()) {
    host.ExpectCodeLine(lines.parse, -5);
    request::LogParseError(lines.fetch, -5);
  }
  EXPECT_EQ(host.Log().size(), AllLines().size());
}

TEST_F(FetchTexts, everyLineIsALiteralFormatWithOneNumber) {
  for (const Lines& lines : AllLines()) {
    for (const wchar_t* text : {lines.response, lines.parse}) {
      if (text == nullptr) continue;
      const std::wstring line = text;
      EXPECT_EQ(line.find(L'%'), line.rfind(L'%'));
      EXPECT_EQ(line.substr(line.size() - 4), L": %d");
    }
  }
}

}  // namespace
