#include "cli/plot/market_charts.h"

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/format/words.h"
#include "cli/plot/distribution_bars.h"
#include "cli/plot/minute_chart.h"

namespace cli {

SessionPicture StrengthPicture(const std::vector<StrengthRatingItem>& rows, std::uint32_t date) {
  if (rows.empty()) {
    return {};
  }
  Curve up{{}, Tone::kRise, false};
  Curve down{{}, Tone::kFall, true};
  for (const StrengthRatingItem& row : rows) {
    up.points.push_back({SessionMinute(row.min), static_cast<double>(row.up)});
    down.points.push_back({SessionMinute(row.min), static_cast<double>(row.down)});
  }
  const bool chinese = CurrentLanguage() == Language::kChinese;
  const StyledLine title = {
      {chinese ? "涨跌家数" : "Strength", Tone::kStrong},
      {"  " + DateText(date) + " " + MinuteText(rows.back().min) + "  "},
      {LabelOf("up") + " " + Fixed(rows.back().up, 0) + (chinese ? "（线）" : " (line)"), Tone::kRise},
      {"  "},
      {LabelOf("down") + " " + Fixed(rows.back().down, 0) + (chinese ? "（点）" : " (dots)"), Tone::kFall}};
  return {{down, up}, 0, title};
}

SessionPicture EffectPicture(const std::vector<MoneyEffectItem>& rows, std::uint32_t date) {
  if (rows.empty()) {
    return {};
  }
  Curve curve{{}, Tone::kStrong, false};
  for (const MoneyEffectItem& row : rows) {
    curve.points.push_back({SessionMinute(row.time), row.average});
  }
  const StyledLine title = {
      {CurrentLanguage() == Language::kChinese ? "赚钱效应" : "Money-making effect", Tone::kStrong},
      {"  " + DateText(date) + " " + MinuteText(rows.back().time) + "  "},
      {Signed(rows.back().average, 4), ToneOf(rows.back().average)}};
  return {{curve}, 2, title};
}

std::vector<StyledLine> ChartOf(const SessionPicture& picture, const ChartSize& size) {
  return picture.curves.empty() ? std::vector<StyledLine>()
                                : SessionChart(picture.curves, picture.decimals, picture.title, size);
}

StyledLine DistributionHeading(const DistributionItem& item, std::uint32_t date) {
  return {{DateText(date) + "  ", Tone::kDim},
          {LabelOf("up") + " " + Fixed(item.up, 0), Tone::kRise},
          {(CurrentLanguage() == Language::kChinese ? "  平盘 " : "  unchanged ") + Fixed(item.nochange, 0) +
           "  "},
          {LabelOf("down") + " " + Fixed(item.down, 0), Tone::kFall}};
}

std::vector<StyledLine> DistributionChart(const DistributionItem& item, std::uint32_t date, int columns) {
  std::vector<StyledLine> lines = DistributionBars(item, columns);
  lines.insert(lines.begin(), DistributionHeading(item, date));
  return lines;
}

bool HasFigures(const DistributionItem& item) {
  return item.up != 0 || item.down != 0 || item.nochange != 0;
}

}  // namespace cli
