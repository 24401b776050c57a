#include "cli/plot/market_charts.h"

#include <algorithm>
#include <array>

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/format/words.h"
#include "cli/plot/minute_chart.h"
#include "cli/plot/scale.h"

namespace cli {
namespace {

constexpr std::array kUsualRanges = {"limit down", "below -7%",  "-7% to -5%", "-5% to -3%", "-3% to 0%",
                                     "0% to +3%",  "+3% to +5%", "+5% to +7%", "above +7%",  "limit up"};
constexpr std::array kChineseRanges = {"跌停",  "<-7%",   "-7~-5%", "-5~-3%", "-3~0%",
                                       "0~+3%", "+3~+5%", "+5~+7%", ">+7%",   "涨停"};
static_assert(kChineseRanges.size() == kUsualRanges.size());
constexpr int kLeastBar = 2;
constexpr double kTrace = 0.125;  // of a cell

std::string Bar(double length) {
  std::string bar;
  for (; length >= 1; length -= 1) {
    bar += EighthFromLeft(1);
  }
  const char* const rest = EighthFromLeft(length);
  return *rest == ' ' ? bar : bar + rest;
}

// `line` without its first cells, from the first character that is no blank.
StyledLine WithoutCells(const StyledLine& line, std::ptrdiff_t count) {
  StyledLine rest(line.begin() + count, line.end());
  rest.front().text.erase(0, rest.front().text.find_first_not_of(' '));
  return rest;
}

}  // namespace

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
      {"  " + DateText(date)},
      {" " + MinuteText(rows.back().min) + "  "},
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
      {"  " + DateText(date)},
      {" " + MinuteText(rows.back().time) + "  "},
      {Signed(rows.back().average, 4), ToneOf(rows.back().average)}};
  return {{curve}, 2, title};
}

std::vector<StyledLine> ChartOf(const SessionPicture& picture, const ChartSize& size) {
  if (picture.curves.empty()) {
    return {};
  }
  // Of its title the name and the date go before a figure does.
  StyledLine title = picture.title;
  for (int left_out = 0; left_out < 2 && DisplayWidth(title) > size.columns; ++left_out) {
    title = WithoutCells(title, 1);
  }
  return SessionChart(picture.curves, picture.decimals, title, size);
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
  StyledLine sums = DistributionHeading(item, date);
  if (DisplayWidth(sums) > columns) {
    lines.insert(lines.begin(), WithoutCells(sums, 2));
    sums.resize(2);
  }
  lines.insert(lines.begin(), sums);
  return lines;
}

bool HasFigures(const DistributionItem& item) {
  return item.up != 0 || item.down != 0 || item.nochange != 0;
}

std::string RangeName(std::size_t index, std::size_t count) {
  const bool chinese = CurrentLanguage() == Language::kChinese;
  if (count != kUsualRanges.size() || index >= count) {
    return (chinese ? "区间 " : "range ") + std::to_string(index + 1);
  }
  return chinese ? kChineseRanges[index] : kUsualRanges[index];
}

std::vector<StyledLine> DistributionBars(const DistributionItem& item, int columns) {
  std::vector<DistributionBucket> buckets = item.first_half;
  buckets.insert(buckets.end(), item.second_half.begin(), item.second_half.end());
  Table table({{""}, {"", Align::kRight}, {"", Align::kRight}});
  std::int32_t most = 0;
  for (std::size_t i = 0; i < buckets.size(); ++i) {
    const Tone tone = i < item.first_half.size() ? Tone::kFall : Tone::kRise;
    table.Add({{RangeName(i, buckets.size())},
               {Fixed(buckets[i].count, 0), tone},
               {Fixed(buckets[i].ratio * 100, 1) + "%", Tone::kDim}});
    most = std::max(most, buckets[i].count);
  }
  std::vector<StyledLine> lines = table.Rows();
  for (std::size_t i = 0; i < lines.size(); ++i) {
    int width = 2;
    for (const Cell& cell : lines[i]) {
      width += DisplayWidth(cell.text);
    }
    const int room = std::max(columns - width, kLeastBar);
    if (buckets[i].count > 0) {
      const double length = static_cast<double>(buckets[i].count) / most * room;
      lines[i].push_back({"  "});
      lines[i].push_back(
          {Bar(std::max(length, kTrace)), i < item.first_half.size() ? Tone::kFall : Tone::kRise});
    }
  }
  return lines;
}

}  // namespace cli
