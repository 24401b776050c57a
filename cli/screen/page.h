// What stands where on the pages of the live screen: columns side by side, panels under each other. A larger
// terminal has room for more of them. A new panel is one line of the table. Main thread only.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "cli/plot/axes.h"
#include "cli/screen/panel.h"

namespace cli {

/// A panel with its title and the line of its state.
struct PagePart {
  std::size_t panel = 0;  ///< number of the panel
  int min_rows = 0;       ///< it is left out where it would get less
  int share = 1;          ///< of the rows that are left, compared with the other parts
};

struct PageColumn {
  int min_columns = 0;
  int share = 1;  ///< of the columns that are left
  std::vector<PagePart> parts;
};

/// The first column, and the first part of each, are those that a small terminal still shows.
struct Page {
  std::string_view name;
  std::vector<PageColumn> columns;
};

struct PlacedPart {
  std::size_t panel = 0;
  Area area;
};

/// Columns between two columns of a page.
inline constexpr int kPageGap = 3;

/// As many columns and parts, from the first on, as `room` is large enough for; the first part always.
[[nodiscard]] std::vector<PlacedPart> Place(const Page& page, const Area& room);

/// The same page with that panel before the others, which keep their order: there is room for it in any
/// case.
[[nodiscard]] Page BeginningWith(std::size_t panel, Page page);

/// All panels, hidden, in the order in which pages number them.
[[nodiscard]] std::vector<std::unique_ptr<Panel>> MakePanels(PanelContext& context);

[[nodiscard]] std::vector<Page> Pages();

}  // namespace cli
