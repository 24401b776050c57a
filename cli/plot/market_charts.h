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

/// Curves over one day and the figures above them, with the decimals of their scale; no curve without rows.
struct SessionPicture {
  std::vector<Curve> curves;
  int decimals = 0;
  StyledLine title;

  bool operator==(const SessionPicture&) const = default;
};
/// Stocks up and down, and the newest counts.
[[nodiscard]] SessionPicture StrengthPicture(const std::vector<StrengthRatingItem>& rows, std::uint32_t date);
/// The average, and the newest one.
[[nodiscard]] SessionPicture EffectPicture(const std::vector<MoneyEffectItem>& rows, std::uint32_t date);
/// The picture in cells; nothing without curves.
[[nodiscard]] std::vector<StyledLine> ChartOf(const SessionPicture& picture, const ChartSize& size);

/// The sums of a day.
[[nodiscard]] StyledLine DistributionHeading(const DistributionItem& item, std::uint32_t date);

/// Bars below a line with the sums, in at most `columns` unless those are very few.
[[nodiscard]] std::vector<StyledLine> DistributionChart(const DistributionItem& item, std::uint32_t date,
                                                        int columns);

/// False when no stock is counted.
[[nodiscard]] bool HasFigures(const DistributionItem& item);

}  // namespace cli
