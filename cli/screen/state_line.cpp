#include "cli/screen/state_line.h"

namespace cli {

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
