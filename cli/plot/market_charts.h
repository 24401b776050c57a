// The whole market on one day as pictures: stocks up and down, their average change, their spread. Pure
// functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "analytics/money_effect.h"
#include "analytics/stock_distribution.h"
#include "analytics/strength_rating.h"
#include "cli/format/table.h"
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

/// Bars below a line with the sums, or two, in at most `columns` unless those are very few.
[[nodiscard]] std::vector<StyledLine> DistributionChart(const DistributionItem& item, std::uint32_t date,
                                                        int columns);

/// False when no stock is counted.
[[nodiscard]] bool HasFigures(const DistributionItem& item);

/// What the feed's range number `index` of `count` is called; only the usual ten have names.
[[nodiscard]] std::string RangeName(std::size_t index, std::size_t count);

/// One line for each range: its name if the feed's ranges are the usual ten, how many stocks, their share,
/// and a bar. The longest bar ends at `columns`; every range that has a stock has a trace of one. Falls come
/// first, in green.
[[nodiscard]] std::vector<StyledLine> DistributionBars(const DistributionItem& item, int columns);

}  // namespace cli
