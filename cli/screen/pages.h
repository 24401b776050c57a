// The pages of the live screen and the panels on them. A new panel is one line of the table. Main thread
// only.
#pragma once

#include <memory>
#include <vector>

#include "cli/screen/page.h"
#include "cli/screen/panel.h"

namespace cli {

/// All panels, hidden, in the order in which pages number them.
[[nodiscard]] std::vector<std::unique_ptr<Panel>> MakePanels(PanelContext& context);

[[nodiscard]] std::vector<Page> Pages();

}  // namespace cli
