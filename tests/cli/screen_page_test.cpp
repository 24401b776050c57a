// Where the panels of a page stand on terminals of any size.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <tuple>
#include <vector>

#include "cli/screen/page.h"
#include "cli/screen/screen.h"

namespace cli {
namespace {

using Placed = std::vector<std::tuple<std::size_t, int, int, int, int>>;

Placed PlacedOn(const Page& page, const Area& room) {
  Placed placed;
  for (const PlacedPart& part : Place(page, room)) {
    placed.emplace_back(part.panel, part.area.column, part.area.row, part.area.columns, part.area.rows);
  }
  return placed;
}

const Page kPage{"", {{40, 3, {{0, 10, 1}}}, {30, 1, {{1, 10, 0}, {2, 8, 1}}}, {50, 1, {{3, 5, 1}}}}};

TEST(Page, givesAllToTheFirstPanelWhereThereIsLittleRoom) {
  EXPECT_EQ(PlacedOn(kPage, {0, 2, 50, 12}), (Placed{{0, 0, 2, 50, 12}}));
  EXPECT_EQ(PlacedOn(kPage, {0, 2, 20, 5}), (Placed{{0, 0, 2, 20, 5}}));
}

TEST(Page, putsColumnsBesideEachOtherAndPartsBelow) {
  EXPECT_EQ(PlacedOn(kPage, {0, 2, 73, 12}), (Placed{{0, 0, 2, 40, 12}, {1, 43, 2, 30, 12}}));
  EXPECT_EQ(PlacedOn(kPage, {0, 2, 73, 18}),
            (Placed{{0, 0, 2, 40, 18}, {1, 43, 2, 30, 10}, {2, 43, 12, 30, 8}}));
  EXPECT_EQ(PlacedOn(kPage, {0, 0, 126, 10}),
            (Placed{{0, 0, 0, 40, 10}, {1, 43, 0, 30, 10}, {3, 76, 0, 50, 10}}));
}

TEST(Page, dividesWhatIsLeftByShares) {
  EXPECT_EQ(PlacedOn(kPage, {0, 0, 81, 30}),
            (Placed{{0, 0, 0, 46, 30}, {1, 49, 0, 32, 10}, {2, 49, 10, 32, 20}}));
}

TEST(Page, hasRoomForAnyPanelThatItBeginsWith) {
  EXPECT_EQ(PlacedOn(BeginningWith(2, kPage), {0, 2, 73, 18}),
            (Placed{{2, 0, 2, 73, 8}, {1, 0, 10, 73, 10}}));
  EXPECT_EQ(PlacedOn(BeginningWith(1, kPage), {0, 0, 83, 18}),
            (Placed{{1, 0, 0, 30, 10}, {2, 0, 10, 30, 8}, {3, 33, 0, 50, 18}}));
  for (const Page& page : Pages()) {
    for (const PageColumn& column : page.columns) {
      for (const PagePart& part : column.parts) {
        EXPECT_EQ(Place(BeginningWith(part.panel, page), {0, 2, 60, 10}).front().panel, part.panel);
      }
    }
  }
}

// On every page of the program, whatever the size: inside the room, nobody on top of another.
TEST(Page, neverOverlapsNorLeavesTheRoom) {
  for (const Page& page : Pages()) {
    for (const auto& [columns, rows] : {std::pair(60, 10), {80, 20}, {100, 26}, {160, 46}, {300, 90}}) {
      std::set<std::pair<int, int>> taken;
      for (const PlacedPart& part : Place(page, {0, 2, columns, rows})) {
        EXPECT_GE(part.area.rows, 3);
        for (int row = part.area.row; row < part.area.row + part.area.rows; ++row) {
          for (int column = part.area.column; column < part.area.column + part.area.columns; ++column) {
            EXPECT_TRUE(taken.emplace(row, column).second);
            EXPECT_TRUE(row >= 2 && row < 2 + rows && column < columns);
          }
        }
      }
      EXPECT_FALSE(taken.empty());
    }
  }
}

}  // namespace
}  // namespace cli
