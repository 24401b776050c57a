#include "cli/plot/market_charts.h"

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/plot/distribution_bars.h"
#include "cli/plot/minute_chart.h"

namespace cli {

std::vector<StyledLine> StrengthChart(const std::vector<StrengthRatingItem>& rows, std::uint32_t date,
                                      const ChartSize& size) {
  if (rows.empty()) {
    return {};
  }
  Curve up{{}, Tone::kRise, false};
  Curve down{{}, Tone::kFall, true};
  for (const StrengthRatingItem& row : rows) {
    up.points.push_back({SessionMinute(row.min), static_cast<double>(row.up)});
    down.points.push_back({SessionMinute(row.min), static_cast<double>(row.down)});
  }
  const StyledLine title = {{"Strength", Tone::kStrong},
                            {"  " + DateText(date) + " " + MinuteText(rows.back().min) + "  "},
                            {"up " + Fixed(rows.back().up, 0) + " (line)", Tone::kRise},
                            {"  "},
                            {"down " + Fixed(rows.back().down, 0) + " (dots)", Tone::kFall}};
  return SessionChart({down, up}, 0, title, size);
}

std::vector<StyledLine> EffectChart(const std::vector<MoneyEffectItem>& rows, std::uint32_t date,
                                    const ChartSize& size) {
  if (rows.empty()) {
    return {};
  }
  Curve curve{{}, Tone::kStrong, false};
  for (const MoneyEffectItem& row : rows) {
    curve.points.push_back({SessionMinute(row.time), row.average});
  }
  const StyledLine title = {{"Money-making effect", Tone::kStrong},
                            {"  " + DateText(date) + " " + MinuteText(rows.back().time) + "  "},
                            {Signed(rows.back().average, 4), ToneOf(rows.back().average)}};
  return SessionChart({curve}, 2, title, size);
}

std::vector<StyledLine> DistributionChart(const DistributionItem& item, std::uint32_t date, int columns) {
  std::vector<StyledLine> lines = DistributionBars(item, columns);
  lines.insert(lines.begin(), {{DateText(date) + "  ", Tone::kDim},
                               {"up " + Fixed(item.up, 0), Tone::kRise},
                               {"  unchanged " + Fixed(item.nochange, 0) + "  "},
                               {"down " + Fixed(item.down, 0), Tone::kFall}});
  return lines;
}

bool HasFigures(const DistributionItem& item) {
  return item.up != 0 || item.down != 0 || item.nochange != 0;
}

}  // namespace cli
