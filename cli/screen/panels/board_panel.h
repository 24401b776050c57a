// A board of stocks in an order, page by page, with a cursor. What it shows is what "next" and "previous"
// step through.
#pragma once

#include <memory>

#include "cli/screen/panel.h"

namespace cli {

[[nodiscard]] std::unique_ptr<Panel> MakeBoardPanel(PanelContext& context);

}  // namespace cli
