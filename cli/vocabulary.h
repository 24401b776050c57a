// The market's words on the command line: boards, kinds of plates, columns to order by, with the numbers that
// the services know them by. Constants.
#pragma once

#include "cli/choices.h"

namespace cli {

/// Boards of stocks: all, sh, sz, gem, sme.
[[nodiscard]] Choices Boards();

/// Kinds of plates: industry, concept.
[[nodiscard]] Choices PlateKinds();

/// Columns by which lists of stocks can be ordered.
[[nodiscard]] Choices StockColumns();

/// Columns by which lists of plates, and the members of a plate, can be ordered.
[[nodiscard]] Choices PlateColumns();

/// Columns by which the watch list can be ordered.
[[nodiscard]] Choices WatchListColumns();

}  // namespace cli
