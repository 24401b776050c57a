// What stands where on the screen of a command that follows a feed.
#include "cli/live_screen.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cli {
namespace {

const std::vector<StyledLine> kPicture = {{{"header"}}, {{"one"}}, {{"two"}}, {{"three"}}};

ScreenFrame Frame() {
  return {"Title",  "2024-03-15 10:30:00", stock::kMarketMorning, {FeedState::kLive, "live"}, "3 s",
          "a line", "http://server"};
}

std::vector<std::string> LinesOf(const ScreenFrame& frame, int rows) {
  std::vector<std::string> lines;
  for (const StyledLine& line : LayOut(frame, kPicture, rows)) {
    lines.push_back(Render(line, Palette(false)));
  }
  return lines;
}

TEST(LayOut, putsTheStateBelowThePicture) {
  EXPECT_EQ(LinesOf(Frame(), 30),
            (std::vector<std::string>{"Title   2024-03-15 10:30:00   morning session", "", "header", "one",
                                      "two", "three", "", "* live, 3 s old", "  last warning: a line",
                                      "  http://server", "", "q quit   r ask again now"}));
}

TEST(LayOut, leavesOutWhatStandsBelowTheStateFirst) {
  EXPECT_EQ(LinesOf(Frame(), 9).back(), "  last warning: a line");
  EXPECT_EQ(LinesOf(Frame(), 8).back(), "* live, 3 s old");
}

TEST(LayOut, saysHowMuchOfThePictureIsMissing) {
  EXPECT_EQ(LinesOf(Frame(), 5),
            (std::vector<std::string>{"Title   2024-03-15 10:30:00   morning session", "header", "one",
                                      "… 2 more lines", "* live, 3 s old"}));
}

TEST(LayOut, fitsIntoAnyScreen) {
  for (int rows = 0; rows < 20; ++rows) {
    EXPECT_LE(LayOut(Frame(), kPicture, rows).size(), static_cast<std::size_t>(rows));
  }
}

TEST(LayOut, tellsTheAgeOnce) {
  ScreenFrame frame = Frame();
  frame.report = {FeedState::kStale, "stale, 9 s old: timed out"};
  EXPECT_EQ(LinesOf(frame, 30)[7], "! stale, 9 s old: timed out");
  frame.report = {FeedState::kWaiting, "waiting for data"};
  frame.age.clear();
  EXPECT_EQ(LinesOf(frame, 30)[7], "… waiting for data");
}

}  // namespace
}  // namespace cli
