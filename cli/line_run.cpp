#include "cli/line_run.h"

#include <unistd.h>

#include <cmath>
#include <utility>

#include "cli/command.h"
#include "cli/format/china_time.h"
#include "host/clock.h"

namespace cli {

stock_host::EndpointCounters CountersOf(const Feed& feed) {
  const stock_host::Counters counters = stock_host::ReadCounters();
  const auto found = counters.endpoints.find(std::string(feed.endpoint));
  return found == counters.endpoints.end() ? stock_host::EndpointCounters() : found->second;
}

std::pair<std::uint64_t, std::string> FailuresOfHistory() {
  const std::map<std::string, stock_host::EndpointCounters> endpoints = stock_host::ReadCounters().endpoints;
  std::pair<std::uint64_t, std::string> failures;
  for (const char* const name : {"static", "history"}) {
    const auto found = endpoints.find(name);
    if (found != endpoints.end() && found->second.failed > 0) {
      failures.first += found->second.failed;
      failures.second = Printable(found->second.last_error);
    }
  }
  return failures;
}

stock::MarketStatus CurrentPhase() {
  return stock::CheckMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime()));
}

LineRun::LineRun(const WatchOptions& options, const Feed& feed, std::string title)
    : options_(options),
      feed_(feed),
      title_(std::move(title)),
      on_screen_(!title_.empty() && !options.json && options.count != 1U && CanBeRedrawn()),
      output_(loop_, STDOUT_FILENO),
      palette_(WantsColour(STDOUT_FILENO, options.no_color)),
      session_(options.session),
      health_(options.Interval()) {
  if (!on_screen_) {
    Say("asking " + session_.server_text());
  }
}

void LineRun::OnUpdate(const std::string& lines) {
  const auto now = FeedHealth::Clock::now();
  if (loop_.ended()) {
    return;
  }
  health_.OnUpdate(now);
  if (IsWanted(now)) {
    shown_ = now;
    output_.WriteLine(lines);
    Count();
  }
}

void LineRun::OnPicture(std::vector<StyledLine> picture) {
  if (!screen_) {
    std::string text = updates_ > 0 ? "\n" : "";
    text += Render({{DateAndTime(common::GetCurrentServerTime()) + "  " + title_, Tone::kDim}}, palette_);
    for (const StyledLine& line : picture) {
      text += "\n" + Render(line, palette_);
    }
    OnUpdate(text);
    return;
  }
  const auto now = FeedHealth::Clock::now();
  health_.OnUpdate(now);
  if (picture != screen_->picture()) {
    health_.OnChange(now, common::GetCurrentServerTime());
  }
  if (IsWanted(now)) {
    shown_ = now;
    screen_->Show(std::move(picture));
    Count();
  }
}

// A service that asks more often than is wanted is listened to now and then.
bool LineRun::IsWanted(FeedHealth::Clock::time_point now) const {
  return !shown_ || options_.Interval() <= feed_.polls || feed_.polls.count() == 0 ||
         now - *shown_ >= options_.Interval() - feed_.polls / 2;
}

void LineRun::Count() {
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
  if (screen_) {
    screen_->Draw();
    return;
  }
  const FeedReport report = health_.Report(FeedHealth::Clock::now(), CurrentPhase());
  // A state is told once; a stale one grows older without being told again, but a new reason is news.
  const std::string news = std::to_string(static_cast<int>(report.state)) +
                           (report.state == FeedState::kStale ? health_.failure() : report.text);
  if (news != told_) {
    told_ = news;
    Say(report.text);
  }
}

void LineRun::Ask(const std::function<void()>& refresh) {
  health_.OnCounters(CountersOf(feed_));
  if (!health_.under_way()) {
    refresh();
  }
}

ScreenFrame LineRun::Frame() const {
  const auto now = FeedHealth::Clock::now();
  const stock::MarketStatus phase = CurrentPhase();
  const auto age = health_.Age(now);
  return {title_,
          DateAndTime(common::GetCurrentServerTime()),
          phase,
          health_.Report(now, phase),
          age ? Span(age->count() / 1000) : "",
          session_.log().last(),
          session_.server_text()};
}

int LineRun::Run(const std::function<void()>& refresh) {
  if (on_screen_) {
    screen_ = std::make_unique<LiveScreen>(
        loop_, output_, palette_, [this] { return Frame(); }, [this, refresh] { Ask(refresh); });
  }
  TellState();
  loop_.Every(std::chrono::milliseconds(500), [this] {
    output_.LookForReader();
    Observe();
    TellState();
  });
  if (feed_.polls.count() == 0 || options_.Interval() < feed_.polls) {
    loop_.Every(options_.Interval(), [this, refresh] { Ask(refresh); });
  }
  if (options_.seconds) {
    loop_.After(std::chrono::milliseconds(std::llround(*options_.seconds * 1000)), [this] {
      timed_out_ = true;
      loop_.End();
    });
  }
  loop_.Run();
  if (screen_) {
    screen_->Leave();
  }
  return Verdict();
}

int LineRun::Verdict() {
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
