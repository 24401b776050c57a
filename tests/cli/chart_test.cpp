// Charts in a terminal: frames, minute lines, candles and bars.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "cli/plot/candle_chart.h"
#include "cli/plot/market_charts.h"
#include "cli/plot/minute_chart.h"

namespace cli {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Rows = std::vector<std::string>;

Rows TextsOf(const std::vector<StyledLine>& lines) {
  const Palette plain(false);
  Rows rows;
  for (const StyledLine& line : lines) {
    rows.push_back(Render(line, plain));
  }
  return rows;
}

// The characters of a row, a cell each; the second half of a wide one is empty.
Rows CellsOf(const std::string& row) {
  Rows cells;
  for (std::size_t at = 0; at < row.size();) {
    std::size_t length = 1;
    while (at + length < row.size() && (static_cast<unsigned char>(row[at + length]) & 0xC0U) == 0x80U) {
      ++length;
    }
    cells.push_back(row.substr(at, length));
    for (int width = DisplayWidth(cells.back()); width > 1; --width) {
      cells.emplace_back();
    }
    at += length;
  }
  return cells;
}

// A column of rows `first` to `last`, from the top.
std::string ColumnOf(const Rows& rows, std::size_t column, std::size_t first, std::size_t last) {
  std::string text;
  for (std::size_t row = first; row <= last; ++row) {
    const Rows cells = CellsOf(rows.at(row));
    text += column < cells.size() ? cells[column] : " ";
  }
  return text;
}

bool IsBraille(const std::string& cell) {
  return cell.size() == 3 && cell >= "\u2800" && cell <= "\u28ff";
}

std::int32_t ClockOf(int minute) {
  const int minutes = minute <= 120 ? 9 * 60 + 30 + minute : 13 * 60 + minute - 120;
  return minutes / 60 * 100 + minutes % 60;
}

// A day whose first `minutes` minutes are over; prices by the minute.
template <class Price>
MLineDay DayOf(std::uint32_t date, int minutes, Price price) {
  MLineDay day{date, {}};
  for (int minute = 0; minute <= minutes; ++minute) {
    MinutePoint point;
    point.time = ClockOf(minute);
    point.price = price(minute);
    point.avg_price = point.price;
    point.volume = 1000;
    day.points.push_back(point);
  }
  return day;
}

StockMLineData LineOf(double preclose, std::vector<MLineDay> days) {
  return {L"sh600000", preclose, std::move(days)};
}

Rows ChartOf(const StockMLineData& line, const ChartSize& size = {}) {
  return TextsOf(MinuteChart(line, {size, {{"title"}}, true}));
}

TEST(EvenRows, giveFiveLabelsEqualDistances) {
  EXPECT_EQ(EvenRows(0), 5);
  EXPECT_EQ(EvenRows(5), 5);
  EXPECT_EQ(EvenRows(8), 5);
  EXPECT_EQ(EvenRows(9), 9);
  EXPECT_EQ(EvenRows(16), 13);
  EXPECT_EQ(LabelledRows({0, 3, 10, 9}), (std::vector<int>{3, 5, 7, 9, 11}));
  EXPECT_EQ(LabelledRows({0, 3, 10, 1}), (std::vector<int>{3}));
  EXPECT_TRUE(LabelledRows({0, 3, 10, 0}).empty());
}

TEST(BottomAxis, leavesOutALabelThatWouldTouchAnother) {
  Canvas canvas(20, 3);
  DrawBottomAxis(canvas, {1, 0, 19, 1}, {{2, "first"}, {6, "second"}, {19, "last"}});
  const Rows rows = TextsOf(canvas.Lines());
  EXPECT_EQ(rows[1], "└─┬────────────────┬");
  EXPECT_EQ(rows[2], "first           last");
}

TEST(Bar, growsFromTheBottom) {
  Canvas canvas(4, 2);
  const Area area{0, 0, 4, 2};
  DrawBar(canvas, area, 0, 0, Tone::kPlain);
  DrawBar(canvas, area, 1, 0.25, Tone::kPlain);
  DrawBar(canvas, area, 2, 0.75, Tone::kPlain);
  DrawBar(canvas, area, 3, 7, Tone::kPlain);
  EXPECT_EQ(TextsOf(canvas.Lines()), (Rows{"  ▄█", " ▄██"}));
  DrawBar(canvas, area, 0, kNaN, Tone::kPlain);
  EXPECT_EQ(TextsOf(canvas.Lines())[1], " ▄██");
}

TEST(MinuteChart, hasTheFixedAxisOfASession) {
  const Rows whole = ChartOf(LineOf(10, {DayOf(20240315, 240, [](int) { return 10.1; })}));
  const Rows begun = ChartOf(LineOf(10, {DayOf(20240315, 3, [](int) { return 10.1; })}));
  ASSERT_EQ(whole.size(), 24U);
  EXPECT_EQ(begun[22], whole[22]);
  EXPECT_EQ(begun[23], whole[23]);
  for (const char* const time : {"09:30", "10:30", "11:30/13:00", "14:00", "15:00"}) {
    EXPECT_NE(whole[23].find(time), std::string::npos) << time;
  }
}

TEST(MinuteChart, drawsTheMorningIntoTheLeftHalf) {
  const Rows rows =
      ChartOf(LineOf(10, {DayOf(20240315, 120, [](int minute) { return 10 + minute * 0.001; })}));
  const Rows ticks = CellsOf(rows[22]);
  std::vector<std::size_t> marks;
  for (std::size_t column = 0; column < ticks.size(); ++column) {
    if (ticks[column] == "┬") {
      marks.push_back(column);
    }
  }
  ASSERT_EQ(marks.size(), 5U) << rows[22];
  std::size_t last = 0;
  for (std::size_t row = 1; row < 22; ++row) {
    const Rows cells = CellsOf(rows[row]);
    for (std::size_t column = marks[0]; column < cells.size(); ++column) {
      if (IsBraille(cells[column]) || cells[column] == "█") {
        last = std::max(last, column);
      }
    }
  }
  EXPECT_EQ(last, marks[2]);
}

TEST(MinuteChart, putsThePreviousCloseInTheMiddle) {
  const Rows rows =
      ChartOf(LineOf(10, {DayOf(20240315, 240, [](int minute) { return minute < 100 ? 10.5 : 9.9; })}));
  Rows rates;
  for (const std::string& row : rows) {
    if (row.find("├ ") != std::string::npos) {
      rates.push_back(row.substr(row.find("├ ") + std::string("├ ").size()));
    }
  }
  EXPECT_EQ(rates, (Rows{"+5.00%", "+2.50%", "0.00%", "-2.50%", "-5.00%"}));
  const auto baseline = std::find_if(rows.begin(), rows.end(),
                                     [](const std::string& row) { return row.find("┄┄┄") != row.npos; });
  ASSERT_NE(baseline, rows.end());
  EXPECT_NE(baseline->find("10.00 ┤"), std::string::npos) << *baseline;
}

TEST(MinuteChart, drawsALineAtItsPrice) {
  // One step up at noon: the upper line in the first row of prices, the lower one in the last.
  const Rows rows = ChartOf(
      LineOf(10, {DayOf(20240315, 240, [](int minute) { return minute <= 120 ? 11.0 : 9.0; })}), {80, 24});
  const std::string top = rows[1];
  EXPECT_NE(top.find("11.00 ┤⠤⠤⠤"), std::string::npos) << top;
  const auto bottom = std::find_if(rows.begin(), rows.end(),
                                   [](const std::string& row) { return row.find("9.00 ┤") != row.npos; });
  ASSERT_NE(bottom, rows.end());
  EXPECT_NE(bottom->find("⠤⠤⠤├ -10.00%"), std::string::npos) << *bottom;
}

TEST(MinuteChart, leavesTheAverageOutWhenThereIsNone) {
  StockMLineData line = LineOf(3000, {DayOf(20240315, 240, [](int) { return 3010.0; })});
  for (MinutePoint& point : line.days[0].points) {
    point.avg_price = 12;  // of the shares that an index trades
  }
  const Rows rows = TextsOf(MinuteChart(line, {{80, 24}, {{"title"}}, false}));
  EXPECT_NE(rows[1].find("3,010.00 ┤"), std::string::npos) << rows[1];
}

TEST(MinuteChart, drawsVolumesAsBarsUpToTheLargest) {
  StockMLineData line = LineOf(10, {DayOf(20240315, 240, [](int) { return 10.0; })});
  for (MinutePoint& point : line.days[0].points) {
    point.volume = point.time <= 1130 ? 250000 : 500000;
  }
  const Rows rows = ChartOf(line, {80, 24});
  const auto largest = std::find_if(rows.begin(), rows.end(),
                                    [](const std::string& row) { return row.find("50.00万") != row.npos; });
  ASSERT_NE(largest, rows.end());
  const auto whole_cells = [](const std::string& row) {
    const Rows cells = CellsOf(row);
    return std::count(cells.begin(), cells.end(), "█");
  };
  const auto all = whole_cells(rows[21]);
  EXPECT_GT(all, 50) << rows[21];
  EXPECT_NEAR(static_cast<double>(whole_cells(*largest)), static_cast<double>(all) / 2, 1) << *largest;
}

TEST(MinuteChart, fitsTheWidthThatItIsGiven) {
  const StockMLineData line =
      LineOf(10, {DayOf(20240315, 240, [](int minute) { return 10 + minute % 7 * 0.05; })});
  for (const int columns : {40, 41, 57, 80, 133, 400}) {
    for (const int rows : {12, 17, 24, 60}) {
      const Rows chart = ChartOf(line, {columns, rows});
      EXPECT_EQ(chart.size(), static_cast<std::size_t>(rows));
      for (const std::string& row : chart) {
        EXPECT_LE(DisplayWidth(row), columns) << columns << "x" << rows << ": " << row;
      }
    }
  }
  EXPECT_EQ(ChartOf(line, {1, 1}), ChartOf(line, {40, 8}));
}

TEST(MinuteChart, showsSeveralDaysSideBySide) {
  const Rows rows = ChartOf(LineOf(
      10, {DayOf(20240314, 240, [](int) { return 10.2; }), DayOf(20240315, 240, [](int) { return 10.4; })}));
  EXPECT_LT(rows[23].find("03-14"), rows[23].find("03-15"));
  EXPECT_NE(rows[23].find("03-15"), std::string::npos);
  EXPECT_NE(rows[5].find("┊"), std::string::npos);
}

TEST(MinuteChart, showsTheLatestOfTooManyDays) {
  std::vector<MLineDay> days;
  for (std::uint32_t day = 1; day <= 28; ++day) {
    days.push_back(DayOf(20240200 + day, 240, [](int) { return 10.0; }));
  }
  const Rows rows = ChartOf(LineOf(10, days), {40, 12});
  EXPECT_NE(rows[11].find("02-28"), std::string::npos) << rows[11];
  EXPECT_EQ(rows[11].find("02-01"), std::string::npos) << rows[11];
}

TEST(MinuteChart, survivesEveryFigure) {
  for (const double price : {0.0, -5.0, 1e300, -1e300, kNaN, kInfinity, -kInfinity}) {
    StockMLineData line =
        LineOf(price, {DayOf(20240315, 240, [price](int m) { return m % 2 == 0 ? price : 10.0; })});
    line.days[0].points[3].time = -1;
    line.days[0].points[4].time = std::numeric_limits<std::int32_t>::max();
    line.days[0].points[5].volume = std::numeric_limits<std::uint64_t>::max();
    line.days[0].points[5].avg_price = kNaN;
    EXPECT_EQ(ChartOf(line).size(), 24U) << price;
  }
  EXPECT_EQ(ChartOf(LineOf(10, {})).size(), 24U);
  EXPECT_EQ(ChartOf(LineOf(0, {{20240315, {}}})).size(), 24U);
}

TEST(MinuteChart, findsThePointThatACrossHairGoesThrough) {
  const StockMLineData line = LineOf(
      10, {DayOf(20240314, 240, [](int) { return 10.1; }), DayOf(20240315, 200, [](int) { return 10.2; })});
  MinuteChartLook look{{600, 24}, {}, true};
  for (std::size_t i = 0; i <= 200; i += 25) {
    look.cross = line.days.back().points[i].time;
    const Rows cells = CellsOf(TextsOf(MinuteChart(line, look))[8]);
    const auto cross = std::ranges::find(cells, "┆");
    ASSERT_NE(cross, cells.end()) << i;
    EXPECT_EQ(PointAt(line, look, static_cast<int>(cross - cells.begin())), i);
  }
  EXPECT_EQ(PointAt(line, look, 570), 200U);          // later than the newest one
  EXPECT_EQ(PointAt(line, look, 100), std::nullopt);  // the day before
  EXPECT_EQ(PointAt(line, look, 599), std::nullopt);  // beside the days
  EXPECT_EQ(PointAt({}, look, 100), std::nullopt);
}

TEST(MinuteChart, paintsWhatLiesAboveThePreviousCloseAsARise) {
  const auto lines =
      MinuteChart(LineOf(10, {DayOf(20240315, 240, [](int) { return 10.5; })}), {{}, {}, true});
  const auto tone_of = [&lines](const std::string& text) {
    for (const StyledLine& line : lines) {
      for (const Cell& cell : line) {
        if (cell.text.find(text) != std::string::npos) {
          return cell.tone;
        }
      }
    }
    return Tone::kWarning;
  };
  EXPECT_EQ(tone_of("+5.00%"), Tone::kRise);
  EXPECT_EQ(tone_of("-5.00%"), Tone::kFall);
  EXPECT_EQ(tone_of("0.00%"), Tone::kPlain);
}

TEST(SessionChart, hasABaselineAtZeroWhenItCrossesIt) {
  const Curve across{{{0, -1}, {240, 1}}, Tone::kPlain, false};
  const Rows rows = TextsOf(SessionChart({across}, 2, {{"title"}}, {80, 24}));
  EXPECT_EQ(rows[0], "title");
  EXPECT_NE(rows[11].find("0.00 ┤┄┄┄"), std::string::npos) << rows[11];
  EXPECT_NE(rows[1].find("1.00 ┤"), std::string::npos) << rows[1];
  const Curve above{{{0, 1}, {240, 3}}, Tone::kPlain, false};
  for (const std::string& row : TextsOf(SessionChart({above}, 2, {}, {80, 24}))) {
    EXPECT_EQ(row.find("┄"), std::string::npos) << row;
  }
}

// On a wide terminal the dots of a curve lay so far apart that nobody saw a curve.
TEST(SessionChart, hasDotsAtEqualDistancesHoweverWideItIs) {
  Curve dotted{{}, Tone::kFall, true};
  for (int minute = 0; minute <= kSessionMinutes; ++minute) {
    dotted.points.push_back({minute, 5});
  }
  for (const int columns : {60, 300, 800}) {
    const Rows rows = TextsOf(SessionChart({dotted}, 0, {}, {columns, 12}));
    const auto row = std::ranges::find_if(
        rows, [](const std::string& text) { return std::ranges::any_of(CellsOf(text), IsBraille); });
    ASSERT_NE(row, rows.end());
    const Rows cells = CellsOf(*row);
    const auto first = std::ranges::find_if(cells, IsBraille);
    for (auto cell = first; cell + 1 < cells.end(); ++cell) {
      EXPECT_TRUE(IsBraille(*cell) || IsBraille(*(cell + 1))) << columns << ": " << *row;
    }
    EXPECT_GE(std::ssize(cells), columns - 2) << *row;
  }
}

TEST(SessionChart, survivesNothing) {
  EXPECT_FALSE(SessionChart({}, 0, {}, {80, 24}).empty());
  EXPECT_FALSE(SessionChart({{{{-1, kNaN}}, Tone::kPlain, true}}, 0, {}, {80, 24}).empty());
}

constexpr std::size_t kFirstCandle = 12;  // column, behind the labels of prices

// A candle from 10 to 18, in a chart whose nine rows of prices stand for one yuan each.
KLineCandle CandleOf(std::uint32_t date, double open, double close) {
  return {date, 14, open, 18, close, 10, 1000, 14000, 1};
}

TEST(CandleChart, drawsARiseHollow) {
  const Rows rows = TextsOf(CandleChart({CandleOf(20240315, 12, 16)}, {{40, 16}, {{"title"}}}));
  EXPECT_EQ(rows[0], "title");
  EXPECT_EQ(ColumnOf(rows, kFirstCandle, 1, 9), "╷│╽║║║║││");
}

TEST(CandleChart, drawsAFallFull) {
  const Rows rows = TextsOf(CandleChart({CandleOf(20240315, 16, 12)}, {{40, 16}, {{"title"}}}));
  EXPECT_EQ(ColumnOf(rows, kFirstCandle, 1, 9), "╷│╽┃┃┃┃││");
}

// The candle of a day on which nothing has traded yet pulled the scale down to 0.
TEST(CandleChart, hasNoPlaceForADayWithoutAClose) {
  KLineCandle suspended = CandleOf(20240313, 0, 15);
  suspended.high = suspended.low = 0;
  const KLineCandle not_open{20240315, 16, 0, 0, 0, 0, 0, 0, 0};
  const std::vector<KLineCandle> drawn = WithPrices({suspended, CandleOf(20240314, 12, 16), not_open});
  ASSERT_EQ(drawn.size(), 2U);
  EXPECT_EQ(drawn[0].date, 20240313U);
  EXPECT_EQ(drawn[0].open, 15);
  EXPECT_EQ(drawn[0].low, 15);
  EXPECT_EQ(drawn[1], CandleOf(20240314, 12, 16));
}

TEST(CandleChart, drawsADayWithoutABody) {
  const Rows rows = TextsOf(CandleChart({CandleOf(20240315, 14, 14)}, {{40, 16}, {{"title"}}}));
  EXPECT_EQ(ColumnOf(rows, kFirstCandle, 1, 9), "╷│││╽││││");
}

TEST(CandleChart, paintsRisesRedAndFallsGreen) {
  const auto tone_at_top = [](double open, double close) {
    return CandleChart({CandleOf(20240315, open, close)}, {{40, 16}, {}})[2].back().tone;
  };
  EXPECT_EQ(tone_at_top(12, 16), Tone::kRise);
  EXPECT_EQ(tone_at_top(16, 12), Tone::kFall);
  EXPECT_EQ(tone_at_top(14, 14), Tone::kRise);  // as high as it began, and as the day before
  EXPECT_EQ(tone_at_top(13, 13), Tone::kFall);
}

TEST(CandleChart, labelsPricesAndVolumeAndDates) {
  KLineCandle last = CandleOf(20240315, 12, 16);
  last.volume = 123456;
  const Rows rows = TextsOf(CandleChart({CandleOf(20240314, 12, 16), last}, {{60, 16}, {}}));
  EXPECT_NE(rows[1].find("18.00 ┤"), std::string::npos) << rows[1];
  EXPECT_NE(rows[5].find("14.00 ┤"), std::string::npos) << rows[5];
  EXPECT_NE(rows[9].find("10.00 ┤"), std::string::npos) << rows[9];
  EXPECT_NE(rows[11].find("12.35万 ┤"), std::string::npos) << rows[11];
  EXPECT_NE(rows[15].find("2024-03-14"), std::string::npos) << rows[15];
  EXPECT_EQ(ColumnOf(rows, kFirstCandle + 4, 11, 13), "███");
}

TEST(CandleChart, showsTheNewestCandles) {
  std::vector<KLineCandle> candles;
  for (std::uint32_t day = 1; day <= 28; ++day) {
    candles.push_back(CandleOf(20240200 + day, 12, 16));
    candles.push_back(CandleOf(20240300 + day, 12, 16));
  }
  std::sort(candles.begin(), candles.end(), [](const auto& a, const auto& b) { return a.date < b.date; });
  const ChartSize size{40, 16};  // 28 columns of candles
  EXPECT_EQ(CandlesThatFit(size), 14U);
  const Rows rows = TextsOf(CandleChart(candles, {size, {}}));
  EXPECT_NE(rows[15].find("2024-03-01"), std::string::npos) << rows[15];
  EXPECT_EQ(rows[15].find("2024-02"), std::string::npos) << rows[15];
  EXPECT_EQ(CellsOf(rows[4]).size(), 40U) << rows[4];
  EXPECT_EQ(CellsOf(rows[4]).back(), "║") << rows[4];
}

TEST(CandleChart, fitsTheWidthThatItIsGiven) {
  std::vector<KLineCandle> candles(500, CandleOf(20240315, 12, 16));
  for (const int columns : {40, 41, 80, 200}) {
    for (const std::size_t count : {1U, 7U, 100U, 500U}) {
      const std::vector<KLineCandle> some(candles.begin(),
                                          candles.begin() + static_cast<std::ptrdiff_t>(count));
      const Rows rows = TextsOf(CandleChart(some, {{columns, 24}, {}}));
      EXPECT_EQ(rows.size(), 24U);
      for (const std::string& row : rows) {
        EXPECT_LE(DisplayWidth(row), columns) << count << ": " << row;
      }
    }
  }
}

TEST(CandleChart, findsTheCandleThatACrossHairGoesThrough) {
  const ChartSize size{80, 16};
  for (const std::size_t count : {1U, 7U, 34U, 68U}) {
    const std::vector<KLineCandle> candles(count, CandleOf(20240315, 12, 16));
    for (std::size_t i = 0; i < count; ++i) {
      const Rows rows = TextsOf(CandleChart(candles, {size, {}, {}, i}));
      const Rows cells = CellsOf(rows[10]);  // between prices and volumes
      const auto cross = std::ranges::find(cells, "┆");
      ASSERT_NE(cross, cells.end()) << i << " of " << count;
      EXPECT_EQ(CandleAt(size, count, static_cast<int>(cross - cells.begin())), i);
    }
    EXPECT_EQ(CandleAt(size, count, 79), count - 1);
  }
  EXPECT_EQ(CandleAt(size, 7, 11), std::nullopt);  // the labels of prices
  EXPECT_EQ(CandleAt(size, 7, 80), std::nullopt);
  EXPECT_EQ(CandleAt(size, 0, 40), std::nullopt);
}

// Above the candles of a narrow chart the last average was cut in the middle of its figure.
TEST(CandleChart, namesAsManyAveragesAsThereIsRoomForWhole) {
  std::vector<KLineCandle> candles(60, CandleOf(20240315, 12, 16));
  candles.back().close = 17;
  const std::vector<Average> averages = Averages(candles, 10);
  const auto title = [&](int columns) {
    return TextsOf(CandleChart(candles, {{columns, 16}, {{"2024-03-15  17.00"}}, averages})).front();
  };
  const std::string all = "2024-03-15  17.00  MA5 16.20  MA10 16.10  MA20 16.05  MA60 16.02";
  EXPECT_EQ(title(200), all);
  EXPECT_EQ(title(64), all);
  EXPECT_EQ(title(63), "2024-03-15  17.00  MA5 16.20  MA10 16.10  MA20 16.05");
  EXPECT_EQ(title(51), "2024-03-15  17.00  MA5 16.20  MA10 16.10");
  EXPECT_EQ(title(40), "2024-03-15  17.00  MA5 16.20  MA10 16.10");
}

TEST(CandleChart, namesTheAveragesAtTheCrossHair) {
  std::vector<KLineCandle> candles(10, CandleOf(20240315, 12, 16));
  candles[8].close = 11;
  const CandleChartLook look{{80, 16}, {}, Averages(candles, 5), 2};  // the third of the last five
  EXPECT_EQ(TextsOf(CandleChart({candles.end() - 5, candles.end()}, look)).front(),
            "  MA5 16.00  MA10 --  MA20 --  MA60 --");
}

// An average above all prices was a level line along the upper edge.
TEST(CandleChart, drawsNoAverageWhereItDoesNotLie) {
  const std::vector<KLineCandle> candles(5, CandleOf(20240315, 12, 16));
  const auto picture = [&](double value) {
    Rows rows = TextsOf(CandleChart(candles, {{60, 16}, {}, {{20, std::vector<double>(5, value)}}}));
    rows.erase(rows.begin());  // the title
    return rows;
  };
  EXPECT_EQ(picture(30), picture(kNaN));
  EXPECT_EQ(picture(2), picture(kNaN));
  EXPECT_NE(picture(14.5), picture(kNaN));
}

TEST(CandleChart, survivesEveryFigure) {
  EXPECT_EQ(CandleChart({}, {{80, 24}, {}}).size(), 24U);
  for (const double price : {0.0, -1.0, 1e300, kNaN, kInfinity, -kInfinity}) {
    KLineCandle odd = CandleOf(20160101, price, 12);
    EXPECT_EQ(CandleChart({odd, CandleOf(20240315, 12, 16)}, {{80, 24}, {}}).size(), 24U) << price;
    odd = {0, price, price, price, price, price, std::numeric_limits<std::uint64_t>::max(), price, price};
    EXPECT_EQ(CandleChart({odd, CandleOf(20240315, 12, 16)}, {{80, 24}, {}}).size(), 24U) << price;
  }
}

TEST(DistributionBars, growWithTheirCounts) {
  const DistributionItem item{50, 40, 10, {{10, 0.1}, {30, 0.3}}, {{40, 0.4}, {20, 0.2}}};
  EXPECT_EQ(TextsOf(DistributionBars(item, 40)),
            (Rows{"range 1  10  10.0%  █████", "range 2  30  30.0%  ███████████████",
                  "range 3  40  40.0%  ████████████████████", "range 4  20  20.0%  ██████████"}));
  const auto lines = DistributionBars(item, 40);
  EXPECT_EQ(lines[1].back().tone, Tone::kFall);
  EXPECT_EQ(lines[2].back().tone, Tone::kRise);
}

TEST(DistributionBars, leaveATraceOfEveryCount) {
  const DistributionItem item{1, 100000, 0, {{100000, 0.99999}}, {{1, 0.00001}, {0, 0}}};
  const Rows rows = TextsOf(DistributionBars(item, 50));
  EXPECT_EQ(rows[1].substr(rows[1].size() - 3), "▏") << rows[1];
  EXPECT_EQ(rows[2], "range 3        0    0.0%");
}

TEST(DistributionBars, nameTheUsualTenRanges) {
  const std::vector<DistributionBucket> five(5, {7, 0.1});
  const Rows rows = TextsOf(DistributionBars({35, 35, 0, five, five}, 60));
  ASSERT_EQ(rows.size(), 10U);
  EXPECT_EQ(rows[0].rfind("limit down", 0), 0U);
  EXPECT_EQ(rows[4].rfind("-3% to 0%", 0), 0U);
  EXPECT_EQ(rows[5].rfind("0% to +3%", 0), 0U);
  EXPECT_EQ(rows[9].rfind("limit up", 0), 0U);
  for (const std::string& row : rows) {
    EXPECT_EQ(DisplayWidth(row), 60) << row;
  }
}

TEST(DistributionBars, survivesOddCounts) {
  EXPECT_TRUE(DistributionBars({}, 80).empty());
  const DistributionItem item{0, 0, 0, {{-5, kNaN}}, {{std::numeric_limits<std::int32_t>::max(), 1}}};
  EXPECT_EQ(DistributionBars(item, 0).size(), 2U);
}

}  // namespace
}  // namespace cli
