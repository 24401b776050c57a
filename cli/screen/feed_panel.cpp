#include "cli/screen/feed_panel.h"

#include "cli/format/chart_headings.h"
#include "cli/format/china_time.h"
#include "cli/line_run.h"

namespace cli {
namespace {

// A service that goes by phases asks at least so often by itself.
constexpr std::chrono::hours kByPhase(1);
// Between the end of a request and its delivery lies nothing but work.
constexpr std::chrono::seconds kWorkOfAnAnswer(5);

FeedHealth HealthOf(const Feed& feed, std::chrono::milliseconds interval) {
  return feed.polls.count() > 0 ? FeedHealth(feed.polls) : FeedHealth(interval, kByPhase);
}

}  // namespace

std::string TitleOf(const std::string& what, const Security& security) {
  return security.code.empty() ? what : what + " of " + NameText(security);
}

FeedPanelCourse::FeedPanelCourse(PanelContext& context, const Feed& feed)
    : context_(context), feed_(feed), health_(HealthOf(feed, context.interval)) {}

void FeedPanelCourse::Show() {
  if (!shown_) {
    shown_ = true;
    Start();
  }
}

void FeedPanelCourse::Hide() {
  shown_ = false;
  SuspendView();
}

void FeedPanelCourse::Refresh() {
  if (!shown_ || !why_nothing_.empty()) {
    return;
  }
  if (cannot_be_made_) {
    Start();
    return;
  }
  Observe(health_);
  if (!health_.under_way()) {
    RefreshService();
  }
}

void FeedPanelCourse::Begin() {
  why_nothing_.clear();
  Observe(health_);
  health_.Restart();
  context_.redraw();
  Start();
}

void FeedPanelCourse::BeginNothing(std::string why) {
  why_nothing_ = std::move(why);
  context_.redraw();
}

void FeedPanelCourse::Start() {
  if (!shown_ || !why_nothing_.empty()) {
    return;
  }
  Observe(health_);
  asked_ = Clock::now();
  answered_before_ = Counters().succeeded;
  cannot_be_made_ = !ResumeView();
}

void FeedPanelCourse::OnArrival(Clock::time_point at, std::string nothing) {
  // What was counted until the question says nothing about an answer that may be a failure.
  if (nothing.empty() || !FailureArrivesEmpty()) {
    Observe(health_);
  }
  health_.OnUpdate(at, std::move(nothing));
}

stock_host::EndpointCounters FeedPanelCourse::Counters() const {
  return CountersOf(feed_);
}

void FeedPanelCourse::Observe(FeedHealth& health) const {
  health.OnCounters(Counters());
  if (context_.log != nullptr) {
    const LogTail::Lines lines = context_.log->Of(feed_.writer);
    health.OnLog(lines.count, lines.last);
  }
}

PanelReport FeedPanelCourse::Report(Clock::time_point now, stock::MarketStatus phase) const {
  if (!why_nothing_.empty()) {
    return {PanelState::kEmpty, why_nothing_};
  }
  if (cannot_be_made_) {
    return {PanelState::kFailed, "the service " + std::string(feed_.name) + " cannot be made"};
  }
  FeedHealth health = health_;
  Observe(health);
  PanelReport report = health.Report(now, phase);
  if (report.state == PanelState::kWaiting && now - asked_ >= kWorkOfAnAnswer &&
      Counters().succeeded > answered_before_ && !NothingText().empty()) {
    return {PanelState::kEmpty, NothingText()};
  }
  const bool before_session = phase == stock::kMarketNotOpened || phase == stock::kMarketPreparing;
  if (report.state == PanelState::kClosed || (report.state == PanelState::kLive && before_session)) {
    return {
        PanelState::kClosed,
        (IsClosed(phase) ? "market closed, figures of " : "before the session, figures of ") + SessionText()};
  }
  return report;
}

}  // namespace cli
