#include "cli/screen/page.h"

#include <algorithm>
#include <numeric>

namespace cli {
namespace {

struct Extent {
  int min;
  int share;
};

// How large each is: as many as `room` holds, from the first on, which takes all there is if it must.
std::vector<int> Divide(const std::vector<Extent>& extents, int room, int gap) {
  std::vector<int> sizes;
  int used = 0;
  int shares = 0;
  for (const Extent& extent : extents) {
    const int before = sizes.empty() ? 0 : gap;
    if (!sizes.empty() && used + before + extent.min > room) {
      break;
    }
    sizes.push_back(std::min(extent.min, room));
    used += before + sizes.back();
    shares += extent.share;
  }
  int left = room - used;
  for (std::size_t i = 0; i < sizes.size() && shares > 0; ++i) {
    const int more = left * extents[i].share / shares;
    sizes[i] += more;
    left -= more;
    shares -= extents[i].share;
  }
  if (!sizes.empty()) {
    sizes.front() += left;
  }
  return sizes;
}

template <class Items, class Min>
std::vector<Extent> ExtentsOf(const Items& items, Min&& min) {
  std::vector<Extent> extents;
  extents.reserve(items.size());
  for (const auto& item : items) {
    extents.push_back({min(item), item.share});
  }
  return extents;
}

}  // namespace

std::vector<PlacedPart> Place(const Page& page, const Area& room) {
  std::vector<PlacedPart> placed;
  const std::vector<int> widths =
      Divide(ExtentsOf(page.columns, [](const PageColumn& column) { return column.min_columns; }),
             room.columns, kPageGap);
  int left = room.column;
  for (std::size_t i = 0; i < widths.size(); ++i) {
    const std::vector<PagePart>& parts = page.columns[i].parts;
    const std::vector<int> heights =
        Divide(ExtentsOf(parts, [](const PagePart& part) { return part.min_rows; }), room.rows, 0);
    int top = room.row;
    for (std::size_t j = 0; j < heights.size(); ++j) {
      placed.push_back({parts[j].panel, {left, top, widths[i], heights[j]}});
      top += heights[j];
    }
    left += widths[i] + kPageGap;
  }
  return placed;
}

}  // namespace cli
