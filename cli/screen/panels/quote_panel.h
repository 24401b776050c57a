// The quote of the current security, with the order book of a stock or the members of an index.
#pragma once

#include <memory>

#include "cli/screen/panel.h"

namespace cli {

[[nodiscard]] std::unique_ptr<Panel> MakeQuotePanel(PanelContext& context);

}  // namespace cli
