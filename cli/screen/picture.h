// Pictures of panels in the room that there is, and the line of a feed's state below them. Pure functions.
#pragma once

#include <functional>
#include <vector>

#include "cli/format/table.h"
#include "cli/plot/axes.h"
#include "cli/views/feed_health.h"

namespace cli {

/// `lines` cut to at most `size`.
[[nodiscard]] std::vector<StyledLine> CutTo(std::vector<StyledLine> lines, const ChartSize& size);

/// What `draw` draws in `size`; where there is no room for a chart, its first line alone, and below it how
/// much room it takes.
[[nodiscard]] std::vector<StyledLine> ChartIn(
    const ChartSize& size, const std::function<std::vector<StyledLine>(const ChartSize&)>& draw);

/// The state of a feed: a mark for the eye, and the words.
[[nodiscard]] StyledLine StateLine(const FeedReport& report);

}  // namespace cli
