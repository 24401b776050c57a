// From cumulative figures to those of each minute.
#include "charts/minute_line_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

using charts::ReadMinuteLine;
using charts::ReadMinuteLines;

std::vector<StockMLineData> Lines(const std::string& data) {
  const auto document = request::json::Document::Parse(data.data(), data.size());
  EXPECT_EQ(document.Error(), 0) << data;
  return ReadMinuteLines(document.Root(), {});
}

// The points of one day whose list holds these elements.
std::vector<MinutePoint> Points(const std::string& elements) {
  const auto lines = Lines(R"({"sh600000":{"date":"20240315","list":[)" + elements + "]}}");
  if (lines.size() != 1 || lines[0].days.size() != 1) {
    ADD_FAILURE() << elements;
    return {};
  }
  return lines[0].days[0].points;
}

TEST(MinuteLineReader, turnsCumulativeFiguresIntoThoseOfTheMinute) {
  const auto points = Points(
      R"({"min":930,"last":10.5,"vol":1000,"amt":10500,"qrr":1.25,"preclose":10},
         {"min":931,"last":10.6,"vol":1500,"amt":15800,"qrr":1.5})");
  ASSERT_EQ(points.size(), 2U);
  EXPECT_EQ(points[0], (MinutePoint{930, 10.5, 1000, 10500, 1.25, 0.5, 5.0, 10.5}));
  EXPECT_EQ(points[1],
            (MinutePoint{931, 10.6, 500, 5300, 1.5, 10.6 - 10, (10.6 - 10) * 100.0 / 10, 15800.0 / 1500.0}));
}

TEST(MinuteLineReader, takesTheTimeWhereThereIsNoMinute) {
  const auto points = Points(
      R"({"min":931,"time":7},{"min":0,"time":932},{"time":933},{"min":"934","time":935},{"min":1.5,"time":936},
         {"min":null},{"min":-5,"time":937})");
  std::vector<std::int32_t> times;
  for (const MinutePoint& point : points) times.push_back(point.time);
  EXPECT_EQ(times, (std::vector<std::int32_t>{931, 932, 933, 935, 936, 0, -5}));
}

TEST(MinuteLineReader, givesNoVolumeWhereTheCumulativeOneDips) {
  const auto points = Points(
      R"({"last":1,"vol":1000,"preclose":1},{"last":1,"vol":900},{"last":1,"vol":900},{"last":1,"vol":950})");
  ASSERT_EQ(points.size(), 4U);
  EXPECT_EQ(points[0].volume, 1000U);
  EXPECT_EQ(points[1].volume, 0U);
  EXPECT_EQ(points[2].volume, 0U);
  EXPECT_EQ(points[3].volume, 50U);  // counted from the point before, not from the highest
}

TEST(MinuteLineReader, countsTheAmountAboveAThousandthOnly) {
  const auto points = Points(
      R"({"last":1,"amt":0.001,"preclose":1},{"last":1,"amt":0.5},{"last":1,"amt":0.5005},
         {"last":1,"amt":0.502},{"last":1,"amt":0.2},{"last":1,"amt":0.25})");
  ASSERT_EQ(points.size(), 6U);
  EXPECT_EQ(points[0].amount, 0.0);
  EXPECT_EQ(points[1].amount, 0.5 - 0.001);
  EXPECT_EQ(points[2].amount, 0.0);
  EXPECT_EQ(points[3].amount, 0.502 - 0.5005);
  EXPECT_EQ(points[4].amount, 0.0);
  EXPECT_EQ(points[5].amount, 0.25 - 0.2);
}

TEST(MinuteLineReader, pricesAFirstPointWithoutAPriceAtThePreclose) {
  const auto points = Points(R"({"min":930,"last":0,"vol":0,"amt":0,"preclose":12.5})");
  ASSERT_EQ(points.size(), 1U);
  EXPECT_EQ(points[0], (MinutePoint{930, 12.5, 0, 0, 0, 0, 0, 12.5}));
}

TEST(MinuteLineReader, carriesThePriceOverAMinuteWithoutOne) {
  const auto points = Points(
      R"({"last":10,"preclose":9},{"last":0.0009},{"last":-0.0009},{"last":null},{},{"last":"11"},{"last":0.001},
         {"last":-0.001},{"last":0})");
  std::vector<double> prices;
  for (const MinutePoint& point : points) prices.push_back(point.price);
  EXPECT_EQ(prices, (std::vector<double>{10, 10, 10, 10, 10, 10, 0.001, -0.001, -0.001}));
  EXPECT_EQ(points[1].change, 1.0);
}

TEST(MinuteLineReader, averagesByTheCumulativeFiguresAndCarriesTheAverage) {
  const auto points = Points(
      R"({"last":10,"vol":0,"amt":0,"preclose":9},
         {"last":11,"vol":0,"amt":50},
         {"last":12,"vol":100,"amt":1200},
         {"last":13,"vol":0,"amt":0},
         {"last":14,"vol":50,"amt":1400})");
  std::vector<double> averages;
  for (const MinutePoint& point : points) averages.push_back(point.avg_price);
  EXPECT_EQ(averages, (std::vector<double>{10, 10, 12, 12, 28}));
}

TEST(MinuteLineReader, startsTheAverageWithTheCarriedPrice) {
  const auto points = Points(R"({"last":0,"preclose":9},{"last":11})");
  EXPECT_EQ(points[0].avg_price, 9.0);
  EXPECT_EQ(points[1].avg_price, 9.0);
}

TEST(MinuteLineReader, knowsNoRateWithoutAPreclose) {
  const auto points = Points(R"({"last":10},{"last":11,"preclose":9})");
  EXPECT_EQ(points[0].change, 10.0);
  EXPECT_EQ(points[0].change_rate, 0.0);
  EXPECT_EQ(points[1].change, 11.0);  // the first element alone tells the preclose
  EXPECT_EQ(points[1].change_rate, 0.0);
}

TEST(MinuteLineReader, dropsNullElementsBeforeItReads) {
  const auto lines = Lines(
      R"({"sh600000":{"date":"20240315","list":[null,{"min":930,"last":0,"preclose":8},null,{"min":931,"last":9},null]}})");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].preclose, 8.0);
  ASSERT_EQ(lines[0].days[0].points.size(), 2U);
  EXPECT_EQ(lines[0].days[0].points[0].time, 930);
  EXPECT_EQ(lines[0].days[0].points[0].price, 8.0);
}

TEST(MinuteLineReader, readsElementsThatAreNoObjectsAsMinutesWithoutTrades) {
  const auto points = Points(R"({"last":10,"vol":5,"amt":50,"preclose":9},7,"text",[],true)");
  ASSERT_EQ(points.size(), 5U);
  for (std::size_t place = 1; place < points.size(); ++place) {
    EXPECT_EQ(points[place], (MinutePoint{0, 10, 0, 0, 0, 1, 100.0 / 9, 10})) << place;
  }
}

TEST(MinuteLineReader, readsTheDigitsOfADate) {
  for (const char* date : {R"("20240315")", R"("2024-03-15")", R"("2024/03/15")", R"(" 2024年03月15日 ")"}) {
    const auto lines = Lines(R"({"sh600000":{"date":)" + std::string(date) + R"(,"list":[]}})");
    ASSERT_EQ(lines.size(), 1U) << date;
    ASSERT_EQ(lines[0].days.size(), 1U) << date;
    EXPECT_EQ(lines[0].days[0].date, 20240315U) << date;
    EXPECT_TRUE(lines[0].days[0].points.empty());
  }
}

TEST(MinuteLineReader, readsADateWithoutDigitsAsNone) {
  for (const char* entry : {R"({"date":"today","list":[]})", R"({"date":"","list":[]})", R"({"list":[]})",
                            R"({"date":null})", R"({})", R"({"date":{},"list":{}})"}) {
    const auto lines = Lines(R"({"sh600000":)" + std::string(entry) + "}");
    ASSERT_EQ(lines.size(), 1U) << entry;
    ASSERT_EQ(lines[0].days.size(), 1U) << entry;
    EXPECT_EQ(lines[0].days[0], MLineDay{}) << entry;
  }
}

TEST(MinuteLineReader, readsOneRecordForEachSymbol) {
  const auto lines = Lines(
      R"({"sz399001":{"date":"20240315","list":[{"last":2,"preclose":1}]},
          "sh600000":{"date":"20240314","list":[{"last":3,"preclose":5}]},
          "errno":0,"":{},"hello":{"date":"20240313","list":[]},"60000":{}})");
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].symbol, L"sh600000");
  EXPECT_EQ(lines[0].preclose, 5.0);
  EXPECT_EQ(lines[0].days[0].date, 20240314U);
  EXPECT_EQ(lines[1].symbol, L"sz399001");
  EXPECT_EQ(lines[1].preclose, 1.0);
}

TEST(MinuteLineReader, passesOverEntriesThatAreNone) {
  for (const char* const entry : {"null", "7", "\"\"", "false", "[]", "[null]", "[[]]", "[{},7]"}) {
    const auto lines = Lines(R"({"sh600000":)" + std::string(entry) + R"(,"sh600001":{}})");
    ASSERT_EQ(lines.size(), 1U) << entry;
    EXPECT_EQ(lines[0].symbol, L"sh600001");
  }
}

TEST(MinuteLineReader, putsSeveralDaysIntoOneRecord) {
  const auto lines = Lines(
      R"({"sh600000":[{"date":"2024-03-14","list":[{"min":930,"last":10,"vol":500,"amt":5000,"preclose":9},
                                                   {"min":931,"last":11,"vol":600,"amt":6100}]},
                      {"date":"2024-03-15","list":[{"min":930,"last":0,"vol":100,"amt":1200,"preclose":11}]}]})");
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].preclose, 9.0) << "the preclose is that of the first element of all";
  ASSERT_EQ(lines[0].days.size(), 2U);
  EXPECT_EQ(lines[0].days[0].date, 20240314U);
  EXPECT_EQ(lines[0].days[1].date, 20240315U);
  ASSERT_EQ(lines[0].days[1].points.size(), 1U);
  // A day starts anew: nothing is carried over from the evening before.
  EXPECT_EQ(lines[0].days[1].points[0], (MinutePoint{930, 9, 100, 1200, 0, 0, 0, 12}));
}

TEST(MinuteLineReader, takesThePrecloseFromTheFirstDayThatHasAPoint) {
  const auto lines = Lines(
      R"({"sh600000":[{"date":"20240314","list":[]},{"date":"20240315","list":[null,{"last":1,"preclose":2}]}]})");
  EXPECT_EQ(lines[0].preclose, 2.0);
}

TEST(MinuteLineReader, convertsHostileNumbersWithoutHarm) {
  const auto points = Points(
      R"({"min":3000000000,"time":931,"last":1e308,"vol":-5,"amt":-1e308,"qrr":-0.0,"preclose":-1e308},
         {"min":1,"last":-1e308,"vol":1e308,"amt":1e308,"qrr":1e-308})");
  ASSERT_EQ(points.size(), 2U);
  EXPECT_EQ(points[0].time, 931);
  EXPECT_EQ(points[0].volume, std::numeric_limits<std::uint64_t>::max() - 4);  // the two's complement of -5
  EXPECT_EQ(points[0].amount, 0.0);
  EXPECT_EQ(points[1].volume, 0U);
}

TEST(MinuteLineReader, readsTheVolumeAsAnUnsignedNumber) {
  const auto points = Points(R"({"last":1,"vol":9223372036854775808,"preclose":1},{"last":1,"vol":1.8e19})");
  EXPECT_EQ(points[0].volume, 9223372036854775808ULL);
  EXPECT_EQ(points[1].volume, 18000000000000000000ULL - 9223372036854775808ULL);
}

TEST(MinuteLineReader, findsTheSymbolThatWasAskedFor) {
  const std::string data =
      R"({"sh600000":{"date":"20240315","list":[]},"sh600001":{"date":"20240314","list":[]}})";
  const auto document = request::json::Document::Parse(data.data(), data.size());
  StockMLineData line;
  ASSERT_TRUE(ReadMinuteLine(document.Root(), L"sh600001", line));
  EXPECT_EQ(line.symbol, L"sh600001");
  EXPECT_EQ(line.days[0].date, 20240314U);
  line = {};
  EXPECT_FALSE(ReadMinuteLine(document.Root(), L"sh600002", line));
  EXPECT_EQ(line, StockMLineData());
}

TEST(MinuteLineReader, readsAnEntryThatStandsWithoutItsSymbol) {
  const std::string data = R"({"date":"2024-03-14","list":[{"min":930,"last":10,"preclose":9}]})";
  const auto document = request::json::Document::Parse(data.data(), data.size());
  StockMLineData line;
  ASSERT_TRUE(ReadMinuteLine(document.Root(), L"sh600001", line));
  EXPECT_EQ(line.symbol, L"sh600001");
  EXPECT_EQ(line.preclose, 9.0);
  ASSERT_EQ(line.days.size(), 1U);
  EXPECT_EQ(line.days[0].date, 20240314U);
  EXPECT_EQ(line.days[0].points.size(), 1U);
}

}  // namespace
