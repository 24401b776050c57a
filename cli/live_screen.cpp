#include "cli/live_screen.h"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/state_line.h"

namespace cli {
namespace {

constexpr char kEndOfInput = '\x04';

StyledLine StateOf(const ScreenFrame& frame) {
  FeedReport report = frame.report;
  // A stale state tells its age itself.
  if (!frame.age.empty() && report.state != FeedState::kStale) {
    report.text += ", " + frame.age + " old";
  }
  return StateLine(report);
}

std::vector<StyledLine> FootOf(const ScreenFrame& frame) {
  std::vector<StyledLine> foot;
  if (!frame.warning.empty()) {
    foot.push_back({{"  last warning: " + frame.warning, Tone::kDim}});
  }
  foot.push_back({{"  " + frame.server, Tone::kDim}});
  foot.push_back({});
  foot.push_back({{"q quit   r ask again now", Tone::kDim}});
  return foot;
}

}  // namespace

std::vector<StyledLine> LayOut(const ScreenFrame& frame, const std::vector<StyledLine>& picture, int rows) {
  const auto room = static_cast<std::size_t>(std::max(rows, 0));
  // Title and state; on a screen that is not too small each with an empty line towards the picture.
  const bool is_small = room < picture.size() + 4;
  const std::size_t around = is_small ? 2 : 4;
  std::vector<StyledLine> screen;
  screen.push_back({{frame.title, Tone::kStrong}, {"   " + frame.time + "   "}, {PhaseName(frame.phase)}});
  if (!is_small) {
    screen.push_back({});
  }
  const std::size_t left = room - std::min(room, around);
  const bool fits = picture.size() <= left;
  const std::size_t shown = fits ? picture.size() : left - std::min<std::size_t>(left, 1);
  screen.insert(screen.end(), picture.begin(), picture.begin() + static_cast<std::ptrdiff_t>(shown));
  if (!fits) {
    screen.push_back({{"… " + std::to_string(picture.size() - shown) + " more lines", Tone::kDim}});
  }
  if (!is_small) {
    screen.push_back({});
  }
  screen.push_back(StateOf(frame));
  for (StyledLine& line : FootOf(frame)) {
    screen.push_back(std::move(line));
  }
  screen.resize(std::min(screen.size(), room));
  return screen;
}

bool CanBeRedrawn() {
  const char* const kind = std::getenv("TERM");
  return isatty(STDOUT_FILENO) == 1 && kind != nullptr && *kind != '\0' && std::strcmp(kind, "dumb") != 0;
}

LiveScreen::LiveScreen(MainLoop& loop, Output& output, const Palette& palette,
                       std::function<ScreenFrame()> frame, std::function<void()> ask_again)
    : loop_(loop),
      output_(output),
      palette_(palette),
      frame_(std::move(frame)),
      ask_again_(std::move(ask_again)),
      terminal_(std::make_unique<Terminal>(STDIN_FILENO, STDOUT_FILENO)) {
  loop_.OnReadable(STDIN_FILENO, [this] { return OnKeys(); });
  loop_.OnSignal(SIGWINCH, [this] { Draw(); });
  loop_.OnSignal(SIGTSTP, [this] { Pause(); });
}

void LiveScreen::Show(std::vector<StyledLine> picture) {
  picture_ = std::move(picture);
  Draw();
}

void LiveScreen::Draw() {
  if (loop_.ended()) {
    return;
  }
  const Terminal::Size size = terminal_->size();
  std::vector<std::string> lines;
  for (const StyledLine& line : LayOut(frame_(), picture_, size.rows)) {
    lines.push_back(Render(line, palette_, size.columns));
  }
  output_.Write(Terminal::Frame(lines));
}

void LiveScreen::Leave() {
  terminal_.reset();
  WriteLast(STDOUT_FILENO, TextOf(picture_, palette_));
}

bool LiveScreen::OnKeys() {
  std::array<char, 64> keys{};
  const ssize_t length = read(STDIN_FILENO, keys.data(), keys.size());
  if (length <= 0) {
    return false;  // no more keys; the screen goes on
  }
  for (ssize_t i = 0; i < length; ++i) {
    switch (keys[static_cast<std::size_t>(i)]) {
      case 'q':
      case 'Q':
      case kEndOfInput:
        loop_.End();
        return false;
      case 'r':
      case 'R':
        ask_again_();
        break;
      default:
        break;
    }
  }
  return true;
}

void LiveScreen::Pause() {
  terminal_->Leave();
  kill(getpid(), SIGSTOP);
  terminal_->Enter();
  Draw();
}

}  // namespace cli
