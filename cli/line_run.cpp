#include "cli/line_run.h"

#include <unistd.h>

#include <cmath>

#include "cli/command.h"
#include "cli/format/china_time.h"
#include "host/clock.h"

namespace cli {

stock_host::EndpointCounters CountersOf(const Feed& feed) {
  const stock_host::Counters counters = stock_host::ReadCounters();
  const auto found = counters.endpoints.find(std::string(feed.endpoint));
  return found == counters.endpoints.end() ? stock_host::EndpointCounters() : found->second;
}

stock::MarketStatus CurrentPhase() {
  return stock::CheckMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime()));
}

LineRun::LineRun(const WatchOptions& options, const Feed& feed)
    : options_(options),
      feed_(feed),
      output_(loop_, STDOUT_FILENO),
      palette_(WantsColour(STDOUT_FILENO, options.no_color)),
      session_(options.session),
      health_(options.Interval()) {
  Say("asking " + session_.server_text());
}

void LineRun::OnUpdate(const std::string& lines) {
  if (loop_.ended()) {
    return;
  }
  health_.OnUpdate(FeedHealth::Clock::now());
  output_.WriteLine(lines);
  ++updates_;
  TellState();
  if (options_.count && updates_ >= *options_.count) {
    loop_.End();
  }
}

void LineRun::Observe() {
  health_.OnCounters(CountersOf(feed_));
  session_.log().Poll();
  health_.OnLog(session_.log().count(), session_.log().last());
}

void LineRun::TellState() {
  const FeedReport report = health_.Report(FeedHealth::Clock::now(), CurrentPhase());
  // A state is told once; a stale one grows older without being told again, but a new reason is news.
  const std::string news = std::to_string(static_cast<int>(report.state)) +
                           (report.state == FeedState::kStale ? health_.failure() : report.text);
  if (news != told_) {
    told_ = news;
    Say(report.text);
  }
}

int LineRun::Run(std::function<void()> refresh) {
  TellState();
  loop_.Every(std::chrono::milliseconds(500), [this] {
    output_.LookForReader();
    Observe();
    TellState();
  });
  loop_.Every(options_.Interval(), [this, refresh = std::move(refresh)] {
    health_.OnCounters(CountersOf(feed_));
    if (!health_.under_way()) {
      refresh();
    }
  });
  if (options_.seconds) {
    loop_.After(std::chrono::milliseconds(std::llround(*options_.seconds * 1000)), [this] {
      timed_out_ = true;
      loop_.End();
    });
  }
  loop_.Run();

  if (!timed_out_) {
    return kFine;
  }
  if (updates_ == 0) {
    Observe();
    Say("nothing arrived: " + health_.Report(FeedHealth::Clock::now(), CurrentPhase()).text);
    return kFailure;
  }
  if (options_.count && updates_ < *options_.count) {
    Say("only " + std::to_string(updates_) + " of " + std::to_string(*options_.count) + " updates arrived");
    return kFailure;
  }
  return kFine;
}

}  // namespace cli
