// Pictures made of terminal cells.
#include "cli/plot/canvas.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cli {
namespace {

std::vector<std::string> TextOf(const Canvas& canvas) {
  const Palette plain(false);
  std::vector<std::string> rows;
  for (const StyledLine& line : canvas.Lines()) {
    rows.push_back(Render(line, plain));
  }
  return rows;
}

using Rows = std::vector<std::string>;

TEST(Canvas, isBlankAtFirst) {
  EXPECT_EQ(TextOf(Canvas(5, 2)), (Rows{"", ""}));
  EXPECT_TRUE(TextOf(Canvas(5, 0)).empty());
  EXPECT_EQ(TextOf(Canvas(-1, 1)), (Rows{""}));
}

TEST(Canvas, setsEachDotOfACell) {
  const std::vector<std::string> expected = {"⠁", "⠈", "⠂", "⠐", "⠄", "⠠", "⡀", "⢀"};
  for (int dot = 0; dot < 8; ++dot) {
    Canvas canvas(1, 1);
    canvas.Dot(dot % 2, dot / 2, Tone::kPlain);
    EXPECT_EQ(TextOf(canvas), Rows{expected[static_cast<std::size_t>(dot)]}) << dot;
  }
}

TEST(Canvas, collectsTheDotsOfACell) {
  Canvas canvas(2, 2);
  canvas.Dot(0, 0, Tone::kPlain);
  canvas.Dot(1, 3, Tone::kPlain);
  canvas.Dot(3, 4, Tone::kPlain);
  EXPECT_EQ(TextOf(canvas), (Rows{"⢁", " ⠈"}));
}

TEST(Canvas, drawsNothingOutside) {
  Canvas canvas(1, 1);
  for (const int far : {-1, -4, 8, 1000000}) {
    canvas.Dot(far, 0, Tone::kPlain);
    canvas.Dot(0, far, Tone::kPlain);
    canvas.Put(far, 0, "x", Tone::kPlain);
    canvas.PutBehind(0, far, "x", Tone::kPlain);
    canvas.Write(0, far, "x", Tone::kPlain);
  }
  EXPECT_EQ(TextOf(canvas), Rows{""});
}

TEST(Canvas, drawsLinesWithBothEnds) {
  Canvas level(2, 1);
  level.Line(0, 0, 3, 0, Tone::kPlain);
  EXPECT_EQ(TextOf(level), Rows{"⠉⠉"});
  Canvas upright(1, 1);
  upright.Line(0, 3, 0, 0, Tone::kPlain);
  EXPECT_EQ(TextOf(upright), Rows{"⡇"});
  Canvas slanted(2, 1);
  slanted.Line(0, 3, 3, 0, Tone::kPlain);
  EXPECT_EQ(TextOf(slanted), Rows{"⡠⠊"});
  Canvas point(1, 1);
  point.Line(1, 1, 1, 1, Tone::kPlain);
  EXPECT_EQ(TextOf(point), Rows{"⠐"});
}

TEST(Canvas, isTheSameFromEitherEndOfALine) {
  Canvas there(4, 3);
  there.Line(0, 1, 7, 10, Tone::kPlain);
  Canvas back(4, 3);
  back.Line(7, 10, 0, 1, Tone::kPlain);
  EXPECT_EQ(TextOf(there), TextOf(back));
}

TEST(Canvas, putsCharactersOverDotsAndBehindThem) {
  Canvas canvas(3, 1);
  canvas.Dot(0, 0, Tone::kPlain);
  canvas.Dot(2, 0, Tone::kPlain);
  canvas.Put(0, 0, "│", Tone::kPlain);
  canvas.PutBehind(1, 0, "┄", Tone::kPlain);
  canvas.PutBehind(2, 0, "┄", Tone::kPlain);
  EXPECT_EQ(TextOf(canvas), Rows{"│⠁┄"});
}

TEST(Canvas, givesWideCharactersTwoCells) {
  Canvas canvas(6, 1);
  canvas.Write(0, 0, "a上b", Tone::kPlain);
  canvas.PutBehind(2, 0, "┄", Tone::kPlain);
  canvas.Put(5, 0, "!", Tone::kPlain);
  const Rows rows = TextOf(canvas);
  EXPECT_EQ(rows, Rows{"a上b !"});
  EXPECT_EQ(DisplayWidth(rows[0]), 6);
}

TEST(Canvas, leavesOutACharacterThatDoesNotFit) {
  Canvas canvas(2, 1);
  canvas.Write(1, 0, "上", Tone::kPlain);
  EXPECT_EQ(TextOf(canvas), Rows{""});
  canvas.Write(-1, 0, "abc", Tone::kPlain);
  EXPECT_EQ(TextOf(canvas), Rows{"bc"});
}

TEST(Canvas, joinsNeighboursOfOneToneAndPaintsNoBlanks) {
  Canvas canvas(6, 1);
  canvas.Write(0, 0, "ab", Tone::kRise);
  canvas.Write(3, 0, "c", Tone::kFall);
  const std::vector<StyledLine> lines = canvas.Lines();
  ASSERT_EQ(lines[0].size(), 3U);
  EXPECT_EQ(lines[0][0].text, "ab");
  EXPECT_EQ(lines[0][0].tone, Tone::kRise);
  EXPECT_EQ(lines[0][1].text, " ");
  EXPECT_EQ(lines[0][1].tone, Tone::kPlain);
  EXPECT_EQ(lines[0][2].tone, Tone::kFall);
}

}  // namespace
}  // namespace cli
