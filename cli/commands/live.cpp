#include "cli/commands/live.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/commands/index.h"
#include "cli/format/china_time.h"
#include "cli/format/index_rows.h"
#include "cli/line_run.h"
#include "cli/subscription.h"
#include "cli/terminal.h"
#include "host/clock.h"

namespace cli {
namespace {

using IndexList = std::vector<IndexMarketSummary>;

constexpr Feed kFeed{"index_market", "/pc/rt/stock_detail_list"};
constexpr double kSecondsWithoutTerminal = 10;
constexpr char kEndOfInput = '\x04';

// Not every terminal is a screen: the one of an editor's shell may only take lines.
bool CanBeRedrawn() {
  const char* const kind = std::getenv("TERM");
  return kind != nullptr && *kind != '\0' && std::strcmp(kind, "dumb") != 0;
}

std::pair<const char*, Tone> MarkOf(FeedState state) {
  switch (state) {
    case FeedState::kWaiting:
      return {"… ", Tone::kDim};
    case FeedState::kLive:
      return {"* ", Tone::kStrong};
    case FeedState::kClosed:
      return {"- ", Tone::kDim};
    case FeedState::kStale:
    case FeedState::kFailed:
      break;
  }
  return {"! ", Tone::kWarning};
}

class LiveView {
 public:
  explicit LiveView(const WatchOptions& options)
      : options_(options),
        palette_(WantsColour(STDOUT_FILENO, options.no_color)),
        output_(loop_, STDOUT_FILENO),
        session_(options.session),
        health_(options.Interval()) {}

  int Run() {
    IIndexMarket* const market = GetIndexMarket();
    if (market == nullptr) {
      throw std::runtime_error("the service of index quotes cannot be made");
    }
    terminal_ = std::make_unique<Terminal>(STDIN_FILENO, STDOUT_FILENO);
    const Subscription<IIndexMarket, IndexList> subscription(
        *market, loop_, [this](const Delivery<IndexList>& delivery) { OnUpdate(delivery); });
    loop_.OnReadable(STDIN_FILENO, [this, market] { return OnKeys(*market); });
    loop_.OnSignal(SIGWINCH, [this] { Draw(); });
    loop_.OnSignal(SIGTSTP, [this] { Pause(); });
    loop_.Every(std::chrono::milliseconds(500), [this] { Draw(); });
    loop_.Every(options_.Interval(), [this, market] { Ask(*market); });
    if (options_.seconds) {
      loop_.After(std::chrono::milliseconds(std::llround(*options_.seconds * 1000)), [this] { loop_.End(); });
    }
    Draw();
    loop_.Run();
    terminal_.reset();
    return Verdict();
  }

 private:
  void Ask(IIndexMarket& market) {
    health_.OnCounters(CountersOf(kFeed));
    if (!health_.under_way()) {
      market.Refresh();
    }
  }

  void OnUpdate(const Delivery<IndexList>& delivery) {
    quotes_ = delivery.data;
    health_.OnUpdate(delivery.at);
    Draw();
    if (options_.count && ++updates_ >= *options_.count) {
      loop_.End();
    }
  }

  bool OnKeys(IIndexMarket& market) {
    std::array<char, 64> keys{};
    const ssize_t length = read(STDIN_FILENO, keys.data(), keys.size());
    if (length <= 0) {
      return false;  // no more keys; the view goes on
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
          Ask(market);
          break;
        default:
          break;
      }
    }
    return true;
  }

  void Pause() {
    terminal_->Leave();
    kill(getpid(), SIGSTOP);
    terminal_->Enter();
    Draw();
  }

  void Draw() {
    if (loop_.ended()) {
      return;
    }
    health_.OnCounters(CountersOf(kFeed));
    session_.log().Poll();
    health_.OnLog(session_.log().count(), session_.log().last());

    const Terminal::Size size = terminal_->size();
    std::vector<std::string> lines;
    for (const StyledLine& line : Screen()) {
      if (static_cast<int>(lines.size()) < size.rows) {
        lines.push_back(Render(line, palette_, size.columns));
      }
    }
    output_.Write(Terminal::Frame(lines));
  }

  // The screen from the top; on a small one the end is missing.
  [[nodiscard]] std::vector<StyledLine> Screen() const {
    const auto now = FeedHealth::Clock::now();
    const stock::MarketStatus phase = CurrentPhase();
    std::vector<StyledLine> screen;
    screen.push_back({{"A-share indices", Tone::kStrong},
                      {"   " + DateAndTime(common::GetCurrentServerTime()) + "   "},
                      {PhaseName(phase)}});
    screen.push_back({});

    Table table(IndexColumns());
    for (const IndexMarketSummary& quote : quotes_) {
      table.Add(IndexCells(quote));
    }
    screen.push_back(table.Header());
    for (StyledLine& row : table.Rows()) {
      screen.push_back(std::move(row));
    }
    const FeedReport report = health_.Report(now, phase);
    const auto [mark, tone] = MarkOf(report.state);
    screen.push_back({});
    screen.push_back({{mark, tone}, {report.text + AgeText(report.state, now), tone}});
    if (!session_.log().last().empty()) {
      screen.push_back({{"  last warning: " + session_.log().last(), Tone::kDim}});
    }
    screen.push_back({{"  " + session_.server_text(), Tone::kDim}});
    screen.push_back({});
    screen.push_back({{"q quit   r ask again now", Tone::kDim}});
    return screen;
  }

  [[nodiscard]] std::string AgeText(FeedState state, FeedHealth::Clock::time_point now) const {
    const auto age = health_.Age(now);
    if (!age || state == FeedState::kStale) {
      return "";
    }
    return ", " + Span(age->count() / 1000) + " old";
  }

  [[nodiscard]] int Verdict() {
    if (health_.Age(FeedHealth::Clock::now()) || !options_.seconds) {
      return kFine;
    }
    Say("nothing arrived: " + health_.Report(FeedHealth::Clock::now(), CurrentPhase()).text);
    return kFailure;
  }

  const WatchOptions options_;
  MainLoop loop_;
  Palette palette_;
  Output output_;
  Session session_;
  FeedHealth health_;
  IndexList quotes_;
  std::uint64_t updates_ = 0;
  std::unique_ptr<Terminal> terminal_;
};

}  // namespace

Runner SetUpLive(CLI::App& app) {
  const auto options = std::make_shared<WatchOptions>();
  AddWatchOptions(app, *options);
  return [options] {
    const bool is_terminal = isatty(STDOUT_FILENO) == 1;
    if (is_terminal && CanBeRedrawn() && !options->json) {
      return LiveView(*options).Run();
    }
    if (!is_terminal && !options->seconds) {
      options->seconds = kSecondsWithoutTerminal;
    }
    return PrintIndices(*options);
  };
}

}  // namespace cli
