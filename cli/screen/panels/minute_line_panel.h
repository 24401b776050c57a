// The minute line of the current security.
#pragma once

#include <memory>

#include "cli/screen/panel.h"

namespace cli {

[[nodiscard]] std::unique_ptr<Panel> MakeMinuteLinePanel(PanelContext& context);

}  // namespace cli
