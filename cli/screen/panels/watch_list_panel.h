// The user's watch list with its quotes, which keys put in an order, add to and take from.
#pragma once

#include <memory>

#include "cli/screen/panel.h"

namespace cli {

[[nodiscard]] std::unique_ptr<Panel> MakeWatchListPanel(PanelContext& context);

}  // namespace cli
