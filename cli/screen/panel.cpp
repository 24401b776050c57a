#include "cli/screen/panel.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace cli {

std::vector<StyledLine> CutTo(std::vector<StyledLine> lines, const ChartSize& size) {
  lines.resize(std::min(lines.size(), static_cast<std::size_t>(std::max(size.rows, 0))));
  for (StyledLine& line : lines) {
    line = Fitted(line, size.columns);
    TrimEnd(line);
  }
  return lines;
}

std::vector<StyledLine> ChartIn(const ChartSize& size,
                                const std::function<std::vector<StyledLine>(const ChartSize&)>& draw) {
  if (size.columns >= kLeastChart.columns && size.rows >= kLeastChart.rows) {
    return CutTo(draw(size), size);
  }
  std::vector<StyledLine> lines = draw({std::max(size.columns, kLeastChart.columns), kLeastChart.rows});
  lines.resize(std::min<std::size_t>(lines.size(), 1));
  if (!lines.empty()) {
    lines.push_back({{"the chart takes " + std::to_string(kLeastChart.columns) + " columns and " +
                          std::to_string(kLeastChart.rows) + " rows",
                      Tone::kDim}});
  }
  return CutTo(std::move(lines), size);
}

StyledLine StateLine(const FeedReport& report) {
  switch (report.state) {
    case FeedState::kWaiting:
      return {{"… ", Tone::kDim}, {report.text, Tone::kDim}};
    case FeedState::kLive:
      return {{"* ", Tone::kStrong}, {report.text, Tone::kStrong}};
    case FeedState::kUnchanged:
      return {{"= ", Tone::kStrong}, {report.text}};
    case FeedState::kClosed:
    case FeedState::kEmpty:
      return {{"- ", Tone::kDim}, {report.text, Tone::kDim}};
    case FeedState::kStale:
    case FeedState::kFailed:
      break;
  }
  return {{"! ", Tone::kWarning}, {report.text, Tone::kWarning}};
}

}  // namespace cli
