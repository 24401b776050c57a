// What the panels of the live screen are made of: the cursor of a list, pictures in little
// room, and the words above and in place of pictures.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/format/chart_headings.h"
#include "cli/format/market_rows.h"
#include "cli/format/quote_rows.h"
#include "cli/plot/market_charts.h"
#include "cli/screen/list_cursor.h"
#include "cli/screen/panel.h"
#include "cli/views/vocabulary.h"
#include "host/clock.h"
#include "panel_surroundings.h"

namespace cli {
namespace {

using tests::TextsOf;
using Texts = std::vector<std::string>;

const Security kStock{L"sh600000", L"浦发银行", stock::kSymbolStock};
const Security kIndex{L"sh000001", L"上证指数", stock::kSymbolIndex};

std::vector<StyledLine> Lines(std::size_t rows) {
  std::vector<StyledLine> lines = {{{"head"}}};
  for (std::size_t i = 0; i < rows; ++i) {
    lines.push_back({{"row " + std::to_string(i)}});
  }
  return lines;
}

std::vector<std::wstring> Codes(std::size_t rows) {
  std::vector<std::wstring> codes;
  for (std::size_t i = 0; i < rows; ++i) {
    codes.push_back(L"c" + std::to_wstring(i));
  }
  return codes;
}

void ExpectWithin(const std::vector<StyledLine>& lines, const ChartSize& size) {
  EXPECT_LE(std::ssize(lines), std::max(size.rows, 0));
  for (const StyledLine& line : lines) {
    EXPECT_LE(DisplayWidth(line), std::max(size.columns, 0)) << size.columns << " by " << size.rows;
  }
}

constexpr ChartSize kSizes[] = {{0, 0},   {1, 1},   {2, 5},   {10, 3},   {39, 12},   {40, 11},
                                {40, 12}, {79, 20}, {80, 24}, {200, 60}, {500, 200}, {-3, -3}};

// --- the cursor of a list

class ListCursorTest : public testing::Test {
 protected:
  void Press(KeyKind kind, int times = 1) {
    for (int i = 0; i < times; ++i) {
      EXPECT_TRUE(cursor_.OnKey({kind}));
    }
  }
  Texts Seen(int rows, const std::wstring& current = {}) {
    return TextsOf(cursor_.Picture(Lines(rows_), current, {80, rows}));
  }
  void SetRows(std::size_t rows) {
    rows_ = rows;
    cursor_.SetRows(Codes(rows));
  }

  ListCursor cursor_;
  std::size_t rows_ = 0;
};

TEST_F(ListCursorTest, marksItsRowAndTheCurrentOne) {
  SetRows(3);
  EXPECT_EQ(Seen(10, L"c2"), (Texts{"  head", "▸ row 0", "  row 1", "• row 2"}));
  Press(KeyKind::kDown);
  EXPECT_EQ(Seen(10, L"c1"), (Texts{"  head", "  row 0", "▸ row 1", "  row 2"}));
}

TEST_F(ListCursorTest, staysInTheList) {
  SetRows(3);
  Press(KeyKind::kUp);
  EXPECT_EQ(cursor_.row(), 0U);
  Press(KeyKind::kDown, 9);
  EXPECT_EQ(cursor_.row(), 2U);
  Press(KeyKind::kHome);
  EXPECT_EQ(cursor_.row(), 0U);
  Press(KeyKind::kEnd);
  EXPECT_EQ(cursor_.row(), 2U);
  SetRows(2);
  EXPECT_EQ(cursor_.row(), 1U);
}

TEST_F(ListCursorTest, isNowhereInAnEmptyList) {
  EXPECT_FALSE(cursor_.row());
  Press(KeyKind::kDown);
  Press(KeyKind::kPageUp);
  Press(KeyKind::kEnd);
  EXPECT_FALSE(cursor_.row());
  EXPECT_EQ(Seen(5), Texts{"  head"});
}

TEST_F(ListCursorTest, bringsThePartOfTheListThatItIsIn) {
  SetRows(10);
  EXPECT_EQ(Seen(4), (Texts{"  head", "▸ row 0", "  row 1", "  row 2"}));
  Press(KeyKind::kDown, 3);
  EXPECT_EQ(Seen(4), (Texts{"  head", "  row 1", "  row 2", "▸ row 3"}));
  Press(KeyKind::kPageDown);
  EXPECT_EQ(Seen(4), (Texts{"  head", "  row 4", "  row 5", "▸ row 6"}));
  Press(KeyKind::kUp, 2);
  EXPECT_EQ(Seen(4), (Texts{"  head", "▸ row 4", "  row 5", "  row 6"}));
  Press(KeyKind::kEnd);
  EXPECT_EQ(Seen(4), (Texts{"  head", "  row 7", "  row 8", "▸ row 9"}));
  EXPECT_EQ(Seen(6), (Texts{"  head", "  row 5", "  row 6", "  row 7", "  row 8", "▸ row 9"}));
}

TEST_F(ListCursorTest, goesWithItsRowOnceItWasMoved) {
  SetRows(3);
  cursor_.SetRows({L"c2", L"c0", L"c1"});
  EXPECT_EQ(cursor_.row(), 0U);
  Press(KeyKind::kDown);
  cursor_.SetRows({L"c1", L"c2", L"c0"});
  EXPECT_EQ(cursor_.row(), 2U);
  cursor_.SetRows({L"c1", L"c2", L"c3"});
  EXPECT_EQ(cursor_.row(), 2U);
  cursor_.Reset();
  SetRows(3);
  EXPECT_EQ(cursor_.row(), 0U);
}

// The list that the place was looked up in was older than the page: the cursor stood beside the stock.
TEST_F(ListCursorTest, findsWhoItWasSentToWhereverThePageHasIt) {
  rows_ = 10;
  static_cast<void>(Seen(11));
  cursor_.SetPage(Codes(10), 0, 5299);
  cursor_.Aim(L"c7", 36);
  EXPECT_EQ(cursor_.Position(), "row 37 of 5,299");
  EXPECT_EQ(cursor_.page(), 30U);
  cursor_.SetPage({L"d0", L"d1"}, 0, 5299);
  EXPECT_EQ(cursor_.Position(), "row 37 of 5,299");
  cursor_.SetPage(Codes(10), 30, 5299);
  EXPECT_EQ(cursor_.row(), 7U);
  Press(KeyKind::kDown);
  cursor_.SetPage(Codes(10), 30, 5299);
  EXPECT_EQ(cursor_.row(), 8U);
}

TEST_F(ListCursorTest, leavesOtherKeysAlone) {
  EXPECT_FALSE(cursor_.OnKey({KeyKind::kEnter}));
  EXPECT_FALSE(cursor_.OnKey(Typed(U's')));
}

// Of a list that comes page by page only a part is there.
TEST_F(ListCursorTest, knowsWhereItIsInAListThatComesByPages) {
  rows_ = 10;
  static_cast<void>(Seen(11));
  cursor_.SetPage(Codes(10), 0, std::nullopt);
  EXPECT_EQ(cursor_.Position(), "row 1");
  Press(KeyKind::kDown, 36);
  EXPECT_EQ(cursor_.Position(), "row 11");  // whether there is a twelfth nobody knows
  cursor_.SetPage(Codes(10), 0, 5299);
  Press(KeyKind::kDown, 26);
  EXPECT_EQ(cursor_.Position(), "row 37 of 5,299");
  EXPECT_EQ(cursor_.page(), 30U);
  EXPECT_FALSE(cursor_.row());
  EXPECT_EQ(Seen(11).size(), 11U);  // the rows of before stay, none is the cursor's
  EXPECT_EQ(Seen(11)[1], "  row 0");
  cursor_.SetPage(Codes(10), 30, 5299);
  EXPECT_EQ(cursor_.row(), 6U);
  EXPECT_EQ(Seen(11)[7], "▸ row 6");
  Press(KeyKind::kEnd);
  EXPECT_EQ(cursor_.Position(), "row 5,299 of 5,299");
}

TEST_F(ListCursorTest, goesWhereItIsClicked) {
  SetRows(10);
  Press(KeyKind::kDown, 4);
  EXPECT_EQ(Seen(4), (Texts{"  head", "  row 2", "  row 3", "▸ row 4"}));
  EXPECT_TRUE(cursor_.OnKey({KeyKind::kClick, 0, 5, 2}));
  EXPECT_EQ(Seen(4), (Texts{"  head", "  row 2", "▸ row 3", "  row 4"}));
  EXPECT_FALSE(cursor_.OnKey({KeyKind::kClick, 0, 5, 0}));
  EXPECT_FALSE(cursor_.OnKey({KeyKind::kClick, 0, 5, -1}));
  EXPECT_FALSE(cursor_.OnKey({KeyKind::kClick, 0, 5, 40}));
  EXPECT_EQ(cursor_.row(), 3U);
}

TEST_F(ListCursorTest, fitsIntoAnyRoom) {
  SetRows(50);
  Press(KeyKind::kDown, 25);
  for (const ChartSize& size : kSizes) {
    ExpectWithin(cursor_.Picture(Lines(50), L"c3", size), size);
  }
}

TEST(SeriesText, namesPeriodAndAdjustment) {
  EXPECT_EQ(SeriesText(1, 1), "by day");
  EXPECT_EQ(SeriesText(2, 2), "by week, adjusted forward");
  EXPECT_EQ(SeriesText(3, 3), "by month, adjusted backward");
}

// --- pictures in the room that there is

TEST(CutTo, cutsRowsAndColumns) {
  EXPECT_EQ(TextsOf(CutTo({{{"one"}, {"浦发"}}, {{"two"}}, {{"three"}}}, {6, 2})), (Texts{"one浦…", "two"}));
  EXPECT_TRUE(CutTo(Lines(3), {80, 0}).empty());
  EXPECT_TRUE(CutTo(Lines(3), {80, -1}).empty());
}

TEST(ChartIn, drawsWhereThereIsRoom) {
  ChartSize drawn;
  const auto lines = ChartIn({50, 13}, [&](const ChartSize& size) {
    drawn = size;
    return Lines(2);
  });
  EXPECT_EQ(drawn.columns, 50);
  EXPECT_EQ(drawn.rows, 13);
  EXPECT_EQ(TextsOf(lines), (Texts{"head", "row 0", "row 1"}));
}

TEST(ChartIn, leavesTheFiguresWhereThereIsNoRoom) {
  const auto draw = [](const ChartSize&) { return Lines(11); };
  EXPECT_EQ(TextsOf(ChartIn({50, 7}, draw)), (Texts{"head", "the chart takes 40 columns and 8 rows"}));
  EXPECT_EQ(TextsOf(ChartIn({39, 20}, draw)), (Texts{"head", "the chart takes 40 columns and 8 rows"}));
  EXPECT_EQ(TextsOf(ChartIn({39, 1}, draw)), Texts{"head"});
}

TEST(ChartIn, fitsIntoAnyRoomWithTheMarketsCharts) {
  const std::vector<StrengthRatingItem> strength = {{930, 100, 200}, {1000, 3000, 10}, {1500, 4000, 5}};
  const std::vector<MoneyEffectItem> effect = {{930, -0.5}, {1500, 1.5}};
  const DistributionItem distribution{10, 20, 3, {{10, 0.3}, {10, 0.3}}, {{10, 0.3}, {3, 0.1}}};
  for (const ChartSize& size : kSizes) {
    ExpectWithin(
        ChartIn(size,
                [&](const ChartSize& room) { return ChartOf(StrengthPicture(strength, 20240315), room); }),
        size);
    ExpectWithin(
        ChartIn(size, [&](const ChartSize& room) { return ChartOf(EffectPicture(effect, 20240315), room); }),
        size);
    ExpectWithin(CutTo(DistributionChart(distribution, 20240315, size.columns), size), size);
  }
}

// Beside an order book the sums ended in a mark, and the two longest bars were cut to one length.
TEST(MarketCharts, keepEverySumAndBarInThirtyOneColumns) {
  const std::vector<DistributionBucket> few(4, {1, 0.0});
  std::vector<DistributionBucket> falls = few;
  falls.push_back({2917, 0.571});
  std::vector<DistributionBucket> rises = {{1500, 0.293}};
  rises.insert(rises.end(), few.begin(), few.end());
  const std::vector<StyledLine> lines = DistributionChart({2154, 2953, 146, falls, rises}, 20240315, 31);
  const Texts texts = TextsOf(lines);
  ASSERT_EQ(texts.size(), 12U);
  EXPECT_EQ(texts[0], "2024-03-15  up 2,154");
  EXPECT_EQ(texts[1], "unchanged 146  down 2,953");
  for (const StyledLine& line : lines) {
    EXPECT_LE(DisplayWidth(line), 31) << texts[2];
  }
  EXPECT_EQ(DisplayWidth(texts[6]), 31);
  EXPECT_LT(DisplayWidth(texts[7]), 31);
}

// The count of those that fell was cut.
TEST(MarketCharts, keepBothCountsOnTheSmallestTerminal) {
  const SessionPicture picture = StrengthPicture({{931, 1608, 2871}}, 20240313);
  const std::string wide = TextsOf(ChartOf(picture, {80, 12})).front();
  EXPECT_EQ(wide, "Strength  2024-03-13 09:31  up 1,608 (line)  down 2,871 (dots)");
  EXPECT_EQ(TextsOf(ChartOf(picture, {60, 12})).front(),
            "2024-03-13 09:31  up 1,608 (line)  down 2,871 (dots)");
  EXPECT_EQ(TextsOf(ChartOf(picture, {46, 12})).front(), "09:31  up 1,608 (line)  down 2,871 (dots)");
}

TEST(MarketCharts, areNothingWithoutRows) {
  EXPECT_TRUE(ChartOf(StrengthPicture({}, 20240315), {80, 24}).empty());
  EXPECT_TRUE(ChartOf(EffectPicture({}, 20240315), {80, 24}).empty());
  EXPECT_FALSE(HasFigures({}));
}

TEST(MarketCharts, beginWithTheNewestFigures) {
  EXPECT_EQ(TextsOf(ChartOf(StrengthPicture({{930, 1, 2}, {1000, 3000, 10}}, 20240315), {80, 24})).at(0),
            "Strength  2024-03-15 10:00  up 3,000 (line)  down 10 (dots)");
  EXPECT_EQ(TextsOf(ChartOf(EffectPicture({{930, -0.5}, {1000, 1.5}}, 20240315), {80, 24})).at(0),
            "Money-making effect  2024-03-15 10:00  +1.5000");
  EXPECT_EQ(TextsOf(DistributionChart({10, 20, 3, {}, {}}, 20240315, 80)).at(0),
            "2024-03-15  up 10  unchanged 3  down 20");
}

// --- words

// At 80 columns the cross-hair told neither the close nor the change, and at 110 not the year.
TEST(CandleFigures, keepTheFourPricesAndTheChangeInFortySixColumnsAndTheYearInFifty) {
  KLineCandle candle;
  candle.date = 20261118;
  candle.preclose = 101.5;
  candle.open = 102.25;
  candle.high = 112.75;
  candle.low = 100.5;
  candle.close = 111.65;
  EXPECT_EQ(TextsOf({CandleFigures(candle, 46)}).front(), "11-18 o102.25 h112.75 l100.50 c111.65 +10.00%");
  EXPECT_EQ(TextsOf({CandleFigures(candle, 50)}).front(),
            "2026-11-18 o102.25 h112.75 l100.50 c111.65 +10.00%");
  EXPECT_EQ(TextsOf({CandleFigures(candle, 68)}).front(),
            "2026-11-18  open 102.25 high 112.75 low 100.50 close 111.65 +10.00%");
  EXPECT_EQ(TextsOf({CandleFigures(candle, 100)}).front(),
            "2026-11-18  open 102.25 high 112.75 low 100.50 close 111.65 +10.00%  volume 0");
}

TEST(MinuteHeading, hasPriceChangeAndTheDaysAmount) {
  MinutePoint first;
  first.time = 930;
  first.amount = 1e6;
  MinutePoint last;
  last.time = 1000;
  last.price = 10.02;
  last.change = 0.02;
  last.change_rate = 0.2;
  last.amount = 5e5;
  const StockMLineData line{L"sh600000", 10, {{20240314, {first}}, {20240315, {first, last}}}};
  EXPECT_EQ(TextsOf({MinuteHeading(line)}).at(0),
            "2024-03-14 to 2024-03-15 10:00  10.02 +0.02 +0.20%  amount 150.0万");
  EXPECT_EQ(LastPoint(line)->time, 1000);
  EXPECT_EQ(LastPoint({L"sh600000", 10, {{20240315, {}}}}), nullptr);
}

TEST(CandleHeading, hasCloseAndChange) {
  KLineCandle candle;
  candle.date = 20240315;
  candle.preclose = 10;
  candle.close = 10.5;
  candle.amount = 1e6;
  EXPECT_EQ(TextsOf({CandleHeading(candle)}).at(0), "2024-03-15  10.50 +5.00%  amount 100.0万");
  candle.preclose = 0;
  EXPECT_EQ(TextsOf({CandleHeading(candle)}).at(0), "2024-03-15  10.50  amount 100.0万");
}

TEST(HasAverage, isSoOfStocksOnly) {
  EXPECT_TRUE(HasAverage(kStock));
  EXPECT_FALSE(HasAverage(kIndex));
}

TEST(WhyNoPoint, saysWhetherTheDayOrTheStockIsToBlame) {
  const std::int64_t evening = common::DateToTime(20240315, 16, 0, 0);
  EXPECT_EQ(WhyNoPoint({L"sh600000", 10, {{20240315, {}}}}, kStock, evening),
            "sh600000 浦发银行 did not trade on 2024-03-15: suspended, or not listed then");
  EXPECT_EQ(WhyNoPoint({L"sh600000", 10, {{20240316, {}}}}, kStock, evening + 86400),
            "2024-03-16 lies in a weekend; the trading day before it is 2024-03-15");
}

TEST(FlowRows, haveInOutAndNetForEachPeriod) {
  StockInOutItem flows;
  flows.d1 = {30000, 10000, 5, 6};
  flows.d5.big_in = static_cast<std::uint64_t>(-20000);
  Table table(FlowColumns());
  for (std::vector<Cell>& row : FlowRows(flows)) {
    table.Add(std::move(row));
  }
  const Texts lines = TextsOf(table.Lines());
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[1].substr(0, 4), "   1");
  EXPECT_NE(lines[1].find("+2.00万"), std::string::npos) << lines[1];
  EXPECT_NE(lines[2].find("-2.00万"), std::string::npos) << lines[2];
  EXPECT_TRUE(HasFlows(flows));
  EXPECT_FALSE(HasFlows({L"sh600000", 7, {}, {}, {}}));
  EXPECT_EQ(NoFlowsText(kIndex), "only stocks have flows; sh000001 上证指数 is not a stock");
}

TEST(EventTable, keepsTheOrderAndEscapesTexts) {
  EXPECT_EQ(
      TextsOf(EventTable({{L"SH000001", L"10:00:00", L"b"}, {L"SH000001", L"09:30:00", L"\x1b[2J"}}).Lines()),
      (Texts{"time      event", "10:00:00  b", "09:30:00  \\u{1b}[2J"}));
}

// A stock's own stand beside its minutes, all of the market beside those of an index.
TEST(EventsOf, areThoseThatNameTheStock) {
  const StockUnusualEventItem own{L"SH000001", L"10:00:00", L"浦发银行(600000)快速拉升"};
  const StockUnusualEventItem other{L"SH000001", L"10:01:00", L"平安银行(000001)快速拉升"};
  EXPECT_EQ(EventsOf(kStock, {other, own, other}), (std::list<StockUnusualEventItem>{own}));
  EXPECT_EQ(EventsOf(kIndex, {other, own}), (std::list<StockUnusualEventItem>{other, own}));
}

TEST(NoEventText, saysWhyThereIsNone) {
  EXPECT_EQ(NoEventText(20240315, common::DateToTime(20240315, 16, 0, 0)), "no unusual event on 2024-03-15");
  EXPECT_EQ(NoEventText(20240315, common::DateToTime(20240315, 9, 20, 0)),
            "no unusual event on 2024-03-15: trading begins at 09:30; it is 09:20:00");
}

TEST(MissingFrom, namesWhatTheAnswerDoesNotHave) {
  OptionalMarketItem quote;
  quote.code = L"sh600000";
  EXPECT_EQ(MissingFrom({quote}, {L"sh600001", L"sh600000", L"sz000002"}), "sh600001 sz000002");
  EXPECT_EQ(MissingFrom({quote}, {L"sh600000"}), "");
}

}  // namespace
}  // namespace cli
