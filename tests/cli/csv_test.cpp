// Comma-separated values.
#include "cli/format/sheet.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "charts/kline_table.h"
#include "cli/format/quote_rows.h"
#include "quotes/index_market_table.h"

namespace cli {
namespace {

TEST(CsvField, quotesOnlyWhatMustBeQuoted) {
  EXPECT_EQ(CsvField(std::string_view("浦发 银行")), "浦发 银行");
  EXPECT_EQ(CsvField(std::string_view("")), "");
  EXPECT_EQ(CsvField(std::string_view("a,b")), "\"a,b\"");
  EXPECT_EQ(CsvField(std::string_view("a\nb")), "\"a\nb\"");
  EXPECT_EQ(CsvField(std::string_view("a\rb")), "\"a\rb\"");
  EXPECT_EQ(CsvField(std::wstring_view(L"a,上")), "\"a,上\"");
}

TEST(CsvField, doublesQuotes) {
  EXPECT_EQ(CsvField(std::string_view("\"")), "\"\"\"\"");
  EXPECT_EQ(CsvField(std::string_view("say \"hi\"")), "\"say \"\"hi\"\"\"");
  EXPECT_EQ(CsvField(std::string_view("\"\"")), "\"\"\"\"\"\"");
}

TEST(CsvField, replacesWhatIsNoText) {
  EXPECT_EQ(CsvField(std::string_view("a\xff")), "a\xef\xbf\xbd");
}

TEST(CsvField, writesFiguresInDecimalDigits) {
  EXPECT_EQ(CsvField(0.1), "0.1");
  EXPECT_EQ(CsvField(-3.5), "-3.5");
  EXPECT_EQ(CsvField(12.0), "12");
  EXPECT_EQ(CsvField(0.0), "0");
  EXPECT_EQ(CsvField(12345678901.37), "12345678901.37");
  EXPECT_EQ(CsvField(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(CsvField(std::int32_t{-7}), "-7");
}

// A change of five fen was 0.04999999999999982.
TEST(CsvField, leavesOutWhatBinaryFractionsAdd) {
  EXPECT_EQ(CsvField(4.35 - 4.3), "0.05");
  EXPECT_EQ(CsvField(0.1 + 0.2), "0.3");
  EXPECT_EQ(CsvField(1e-9), "0");
  EXPECT_EQ(CsvField(-1e-9), "0");
  EXPECT_EQ(CsvField(static_cast<double>(3.35F)), "3.35");
}

TEST(CsvField, isEmptyForWhatIsNotThere) {
  EXPECT_EQ(CsvField(TickField<double>{1.5, true, 1}), "1.5");
  EXPECT_EQ(CsvField(TickField<double>{1.5, false, 1}), "");
  EXPECT_EQ(CsvField(TrendValue{2.5, true, 0}), "2.5");
  EXPECT_EQ(CsvField(TrendValue{2.5, false, 0}), "");
}

TEST(CsvField, isEmptyForWhatIsNoNumber) {
  EXPECT_EQ(CsvField(std::numeric_limits<double>::quiet_NaN()), "");
  EXPECT_EQ(CsvField(std::numeric_limits<double>::infinity()), "");
}

// What the server had sent as null was 0.
TEST(CsvLine, isEmptyWhereTheServerSentNull) {
  EXPECT_EQ(CsvHeader(quotes::kIndexMarketSummaryTable), "code,name,last,change,diff");
  EXPECT_EQ(CsvLine(quotes::kIndexMarketSummaryTable, {L"sh000001", L"a", 0, 0.5, 0, 5}), "sh000001,a,,0.5,");
}

TEST(CsvLine, hasAFieldForEachMember) {
  EXPECT_EQ(CsvHeader(charts::kKLineCandleTable), "date,preclose,open,high,close,low,volume,amount,turnover");
  EXPECT_EQ(CsvLine(charts::kKLineCandleTable, {20240315, 10.1, 10.2, 10.9, 10.5, 10, 123, 1290.5, 0.25}),
            "2024-03-15,10.1,10.2,10.9,10.5,10,123,1290.5,0.25");
  EXPECT_EQ(CsvHeader(kMinutePointTable), "time,price,volume,amount,qrr,change,change_rate,avg_price");
  EXPECT_EQ(CsvLine(kMinutePointTable, {931, 10.5, 7, 73.5, 1.2, 0.4, 3.96, 10.49}),
            "09:31,10.5,7,73.5,1.2,0.4,3.96,10.49");
}

}  // namespace
}  // namespace cli
