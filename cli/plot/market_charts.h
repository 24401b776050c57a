// The whole market on one day as pictures: stocks up and down, their average change, their spread. Pure
// functions.
#pragma once

#include <cstdint>
#include <vector>

#include "analytics/money_effect.h"
#include "analytics/stock_distribution.h"
#include "analytics/strength_rating.h"
#include "cli/plot/axes.h"

namespace cli {

/// Both curves below a line with the newest counts; nothing without rows.
[[nodiscard]] std::vector<StyledLine> StrengthChart(const std::vector<StrengthRatingItem>& rows,
                                                    std::uint32_t date, const ChartSize& size);

/// The curve below a line with the newest average; nothing without rows.
[[nodiscard]] std::vector<StyledLine> EffectChart(const std::vector<MoneyEffectItem>& rows,
                                                  std::uint32_t date, const ChartSize& size);

/// Bars below a line with the sums, in at most `columns` unless those are very few.
[[nodiscard]] std::vector<StyledLine> DistributionChart(const DistributionItem& item, std::uint32_t date,
                                                        int columns);

/// False when no stock is counted.
[[nodiscard]] bool HasFigures(const DistributionItem& item);

}  // namespace cli
