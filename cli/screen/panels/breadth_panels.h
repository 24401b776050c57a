// The whole market of today: stocks up and down, how they spread, their average change.
#pragma once

#include <memory>

#include "cli/screen/panel.h"

namespace cli {

[[nodiscard]] std::unique_ptr<Panel> MakeStrengthPanel(PanelContext& context);
[[nodiscard]] std::unique_ptr<Panel> MakeDistributionPanel(PanelContext& context);
[[nodiscard]] std::unique_ptr<Panel> MakeMoneyEffectPanel(PanelContext& context);

}  // namespace cli
