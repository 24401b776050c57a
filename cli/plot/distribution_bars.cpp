#include "cli/plot/distribution_bars.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "cli/format/figures.h"
#include "cli/format/words.h"
#include "cli/plot/scale.h"

namespace cli {
namespace {

constexpr std::array kUsualRanges = {"limit down", "below -7%",  "-7% to -5%", "-5% to -3%", "-3% to 0%",
                                     "0% to +3%",  "+3% to +5%", "+5% to +7%", "above +7%",  "limit up"};
constexpr std::array kChineseRanges = {"跌停",  "<-7%",   "-7~-5%", "-5~-3%", "-3~0%",
                                       "0~+3%", "+3~+5%", "+5~+7%", ">+7%",   "涨停"};
static_assert(kChineseRanges.size() == kUsualRanges.size());
constexpr int kLeastBar = 8;
constexpr double kTrace = 0.125;  // of a cell

std::string Bar(double length) {
  std::string bar;
  for (; length >= 1; length -= 1) {
    bar += EighthFromLeft(1);
  }
  const char* const rest = EighthFromLeft(length);
  return *rest == ' ' ? bar : bar + rest;
}

}  // namespace

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
