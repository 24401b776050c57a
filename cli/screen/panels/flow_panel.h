// The flows of the current stock.
#pragma once

#include <memory>

#include "cli/screen/panel.h"

namespace cli {

[[nodiscard]] std::unique_ptr<Panel> MakeFlowPanel(PanelContext& context);

}  // namespace cli
