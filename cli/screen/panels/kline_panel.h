// The candles of the current security, in a period and an adjustment that keys change.
#pragma once

#include <memory>

#include "cli/screen/panel.h"

namespace cli {

[[nodiscard]] std::unique_ptr<Panel> MakeKLinePanel(PanelContext& context);

}  // namespace cli
