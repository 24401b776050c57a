// Tables, colours and the look of an index quote.
#include "cli/format/table.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "cli/format/market_rows.h"
#include "cli/run/terminal.h"
#include "cli/screen/index_bar.h"

namespace cli {
namespace {

const Palette kPlainText(false);
const Palette kColours(true);

Table TwoRows() {
  Table table({{"name"}, {"last", Align::kRight}});
  table.Add({{"上证指数"}, {"3,012.45"}});
  table.Add({{"HS300"}, {"9.10"}});
  return table;
}

TEST(Table, alignsColumnsByTheirWidestCell) {
  const Table table = TwoRows();
  EXPECT_EQ(Render(table.Lines().front(), kPlainText), "name          last");
  EXPECT_EQ(Render(table.Rows()[0], kPlainText), "上证指数  3,012.45");
  EXPECT_EQ(Render(table.Rows()[1], kPlainText), "HS300         9.10");
}

TEST(Table, keepsAColumnAtLeastAsWideAsAsked) {
  Table table({{"n", Align::kLeft, 4}, {"v", Align::kRight, 3}});
  table.Add({{"a"}, {"1"}});
  EXPECT_EQ(Render(table.Rows()[0], kPlainText), "a       1");
}

TEST(Table, clipsACellThatIsTooWide) {
  Table table({{"name", Align::kLeft, 0, 5}, {"v"}});
  table.Add({{"abcdefgh"}, {"1"}});
  EXPECT_EQ(Render(table.Rows()[0], kPlainText), "abcd…  1");
}

TEST(Table, fillsUpAShortRowAndDropsACellTooMany) {
  Table table({{"a"}, {"b", Align::kRight, 2}});
  table.Add({{"x"}});
  table.Add({{"x"}, {"y"}, {"z"}});
  EXPECT_EQ(Render(table.Rows()[0], kPlainText), "x") << "no blanks at the end";
  EXPECT_EQ(Render(table.Rows()[1], kPlainText), "x   y");
}

TEST(Render, paintsOnlyWhatHasATone) {
  EXPECT_EQ(Render({{"a"}, {"b", Tone::kRise}}, kColours), "a\x1b[31mb\x1b[0m");
  EXPECT_EQ(Render({{"a"}, {"b", Tone::kRise}}, kPlainText), "ab");
}

std::string CutText(const StyledLine& line, int width) {
  StyledLine cut = Fitted(line, width);
  EXPECT_EQ(DisplayWidth(cut), width);
  TrimEnd(cut);
  return Render(cut, kPlainText);
}

TEST(Fitted, cutsALineAtTheWidthOfTheScreen) {
  EXPECT_EQ(CutText({{"abc"}, {"def", Tone::kFall}, {"ghi"}}, 5), "abcd…");
  EXPECT_EQ(CutText({{"abc"}, {"def"}}, 6), "abcdef");
  EXPECT_EQ(CutText({{"abc"}}, 0), "");
}

// "180,700" became "180,70".
TEST(Fitted, cutsNoNumber) {
  const StyledLine line = {{"ask"}, {"  "}, {"180,700", Tone::kStrong}, {"  "}, {"1.23亿▴"}};
  EXPECT_EQ(CutText(line, 21), "ask  180,700  1.23亿▴");
  EXPECT_EQ(CutText(line, 20), "ask  180,700  …");
  EXPECT_EQ(CutText(line, 15), "ask  180,700  …");
  EXPECT_EQ(CutText(line, 14), "ask  180,700 …");
  EXPECT_EQ(CutText(line, 13), "ask  …") << "a number that touches the mark looks cut";
  EXPECT_EQ(CutText(line, 11), "ask  …");
  EXPECT_EQ(CutText(line, 3), "as…");
  EXPECT_EQ(CutText({{"12345"}}, 4), "…");
}

TEST(Palette, paintsRisesRedAndFallsGreen) {
  EXPECT_EQ(kColours.Paint("+1", ToneOf(1)), "\x1b[31m+1\x1b[0m");
  EXPECT_EQ(kColours.Paint("-1", ToneOf(-1)), "\x1b[32m-1\x1b[0m");
  EXPECT_EQ(kColours.Paint("0", ToneOf(0)), "0");
}

TEST(WantsColour, isFalseForWhatIsNoTerminal) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  setenv("TERM", "xterm", 1);
  unsetenv("NO_COLOR");
  EXPECT_FALSE(WantsColour(ends[1], false));
  close(ends[0]);
  close(ends[1]);
}

std::vector<std::string> TextsOf(const IndexMarketSummary& quote) {
  std::vector<std::string> texts;
  for (const Cell& cell : IndexCells(quote)) {
    texts.push_back(cell.text);
  }
  return texts;
}

TEST(IndexCells, showTheFiguresOfAQuote) {
  EXPECT_EQ(TextsOf({L"sh000001", L"上证指数", 3012.453, 0.411, 12.34, 0}),
            (std::vector<std::string>{"sh000001", "上证指数", "3,012.45", "+12.34", "+0.41%"}));
}

TEST(IndexCells, showWhatTheServerSentAsNullAsMissing) {
  EXPECT_EQ(TextsOf({L"sh000001", L"上证指数", 0, 0, 0, 7}),
            (std::vector<std::string>{"sh000001", "上证指数", "--", "--", "--"}));
  EXPECT_EQ(TextsOf({L"sh000001", L"上证指数", 0, 0.5, 1, 1})[2], "--");
  EXPECT_EQ(TextsOf({L"sh000001", L"上证指数", 1, 0, 1, 2})[4], "--");
  EXPECT_EQ(TextsOf({L"sh000001", L"上证指数", 1, 1, 0, 4})[3], "--");
}

TEST(IndexCells, haveTheToneOfTheChange) {
  EXPECT_EQ(IndexCells({L"", L"", 10, 1, 0.1, 0})[2].tone, Tone::kRise);
  EXPECT_EQ(IndexCells({L"", L"", 10, -1, -0.1, 0})[3].tone, Tone::kFall);
  EXPECT_EQ(IndexCells({L"", L"", 10, 0, 0, 0})[4].tone, Tone::kPlain);
}

TEST(IndexCells, escapeWhatTheServerSays) {
  EXPECT_EQ(TextsOf({L"sh\x1b]0;", L"\u202eabc", 1, 1, 1, 0})[0], "sh\\u{1b}]0;");
  EXPECT_EQ(TextsOf({L"", L"\u202eabc", 1, 1, 1, 0})[1], "\\u{202e}abc");
}

TEST(Fitted, cutsAndFills) {
  const StyledLine line = {{"上证", Tone::kRise}, {"abc"}};
  EXPECT_EQ(Render(Fitted(line, 9), Palette(false)), "上证abc  ");
  EXPECT_EQ(Render(Fitted(line, 7), Palette(false)), "上证abc");
  EXPECT_EQ(Render(Fitted(line, 6), Palette(false)), "上证a…");
  EXPECT_EQ(Render(Fitted(line, 3), Palette(false)), "上…");
  EXPECT_EQ(Render(Fitted(line, 0), Palette(false)), "");
  EXPECT_EQ(Render(Fitted({{"last  12.34"}}, 9), Palette(false)), "last  …  ");
  EXPECT_EQ(Render(Fitted({}, 2), Palette(false)), "  ");
}

TEST(IndexLine, showsWhatThereIsRoomFor) {
  const std::vector<IndexMarketSummary> indices = {{L"sh000001", L"上证指数", 3012.45, 0.41, 12.34, 0},
                                                   {L"sz399006", L"创业板指", 1800.5, -0.1, -1.8, 0}};
  const auto text = [&](int columns) { return Render(IndexLine(indices, columns), Palette(false)); };
  EXPECT_EQ(text(80), "上证指数 3,012.45 +12.34 +0.41%   创业板指 1,800.50 -1.80 -0.10%");
  EXPECT_EQ(text(60), "上证指数 3,012.45 +0.41%   创业板指 1,800.50 -0.10%");
  EXPECT_EQ(text(50), "上证 3,012.45 +0.41%   创业 1,800.50 -0.10%");
  for (int columns = 0; columns < 80; ++columns) {
    EXPECT_LE(DisplayWidth(IndexLine(indices, columns)), columns);
  }
}

TEST(WholeCells, leavesOutWhatHasNoRoomAndCutsNothing) {
  const StyledLine line = {{"09:48  "}, {"浦发"}, {"  volume 1,000"}};
  EXPECT_EQ(WholeCells(line, 25), line);
  EXPECT_EQ(WholeCells(line, 24), (StyledLine{{"09:48  "}, {"浦发"}}));
  EXPECT_EQ(WholeCells(line, 10), (StyledLine{{"09:48  "}}));
  EXPECT_EQ(WholeCells(line, 3), (StyledLine{{"09:48  "}}));
  EXPECT_TRUE(WholeCells({}, 3).empty());
}

}  // namespace
}  // namespace cli
