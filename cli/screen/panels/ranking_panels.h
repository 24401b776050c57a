// The first stocks of a board and the first plates of a kind, by a column that keys change.
#pragma once

#include <memory>

#include "cli/screen/panel.h"

namespace cli {

[[nodiscard]] std::unique_ptr<Panel> MakeStockRankingPanel(PanelContext& context);
[[nodiscard]] std::unique_ptr<Panel> MakePlateRankingPanel(PanelContext& context);

}  // namespace cli
