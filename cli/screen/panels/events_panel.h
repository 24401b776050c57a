// Today's unusual events, the newest first.
#pragma once

#include <memory>

#include "cli/screen/panel.h"

namespace cli {

[[nodiscard]] std::unique_ptr<Panel> MakeEventsPanel(PanelContext& context);

}  // namespace cli
