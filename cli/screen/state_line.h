// The state of a feed as a line on a screen: a mark for the eye, and the words. Pure function.
#pragma once

#include "cli/format/table.h"
#include "cli/views/feed_health.h"

namespace cli {

[[nodiscard]] StyledLine StateLine(const FeedReport& report);

}  // namespace cli
