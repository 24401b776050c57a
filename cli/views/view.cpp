#include "cli/views/view.h"

#include <algorithm>
#include <iterator>

#include "cli/format/chart_headings.h"
#include "cli/format/china_time.h"

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

View::View(const ViewContext& context, const Feed& feed)
    : context_(context), feed_(feed), health_(HealthOf(feed, context.interval)) {}

void View::Show() {
  if (!shown_) {
    shown_ = true;
    Start();
  }
}

void View::Hide() {
  shown_ = false;
  SuspendService();
}

void View::Refresh() {
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

std::vector<Knob> View::Knobs() const {
  std::vector<Knob> knobs;
  for (const Knob knob :
       {Knob::kGroup, Knob::kColumn, Knob::kDirection, Knob::kSpan, Knob::kPeriod, Knob::kAdjustment}) {
    if (SettingOf(knob)) {
      knobs.push_back(knob);
    }
  }
  return knobs;
}

Choices View::OrderColumns() const {
  const std::optional<KnobSetting> setting = SettingOf(Knob::kColumn);
  return setting ? setting->choices : Choices();
}

bool View::Set(Knob knob, int number) {
  const std::optional<KnobSetting> setting = SettingOf(knob);
  if (!setting || setting->number == number) {
    return setting.has_value();
  }
  const auto place = [&](int wanted) {
    return std::find_if(setting->choices.begin(), setting->choices.end(),
                        [&](const Choice& choice) { return choice.number == wanted; }) -
           setting->choices.begin();
  };
  return place(number) < std::ssize(setting->choices) &&
         Turn(knob, static_cast<int>(place(number) - place(setting->number)));
}

void View::Begin() {
  why_nothing_.clear();
  Observe(health_);
  health_.Restart();
  context_.changed();
  Start();
}

void View::BeginNothing(std::string why) {
  why_nothing_ = std::move(why);
  context_.changed();
}

void View::Start() {
  if (!shown_ || !why_nothing_.empty()) {
    return;
  }
  Observe(health_);
  asked_ = Clock::now();
  answered_before_ = Counters().succeeded;
  cannot_be_made_ = !ResumeService();
}

void View::OnArrival(Clock::time_point at, std::string nothing) {
  // What was counted until the question says nothing about an answer that may be a failure.
  if (nothing.empty() || !FailureArrivesEmpty()) {
    Observe(health_);
  }
  health_.OnUpdate(at, std::move(nothing));
}

void View::Observe(FeedHealth& health) const {
  health.OnCounters(Counters());
  if (context_.warnings != nullptr && !feed_.writer.empty()) {
    const Warnings::Lines lines = context_.warnings->Of(feed_.writer);
    health.OnLog(lines.count, lines.last);
  }
}

std::string View::Failure() const {
  FeedHealth health = health_;
  Observe(health);
  return health.failure();
}

std::string View::SessionText() const {
  return has_data() ? DateText(Session() != 0 ? Session() : SessionDate(server_time())) : std::string();
}

FeedReport View::Report(Clock::time_point now, stock::MarketStatus phase) const {
  if (const std::string why = WhyNothingToAsk(); !why.empty()) {
    return {FeedState::kEmpty, why};
  }
  if (cannot_be_made_) {
    return {FeedState::kFailed, "the service " + std::string(feed_.name) + " cannot be made"};
  }
  FeedHealth health = health_;
  Observe(health);
  FeedReport report = health.Report(now, phase);
  if (report.state == FeedState::kStale && IsAskedOnce() && health.failure().empty()) {
    return {FeedState::kUnchanged, "as of " + ClockTime(server_time())};
  }
  if (report.state == FeedState::kWaiting && now - asked_ >= kWorkOfAnAnswer &&
      Counters().succeeded > answered_before_ && !NothingText().empty()) {
    return {FeedState::kEmpty, NothingText()};
  }
  const bool before_session = phase == stock::kMarketNotOpened || phase == stock::kMarketPreparing;
  if (report.state == FeedState::kClosed || (report.state == FeedState::kLive && before_session)) {
    return {
        FeedState::kClosed,
        (IsClosed(phase) ? "market closed, figures of " : "before the session, figures of ") + SessionText()};
  }
  return report;
}

std::string View::JsonLine() const {
  JsonWriter json;
  BeginJsonLine(json, feed_.name, Key(), server_time());
  AsSheet().json(json);
  json.EndObject();
  return json.Text();
}

std::vector<std::wstring> View::RowKeys() const {
  std::vector<std::wstring> keys;
  for (const Security& security : Securities()) {
    keys.push_back(security.code);
  }
  return keys;
}

std::vector<std::string> View::ColumnNames() const {
  std::vector<std::string> names;
  const Table table = AsTable();
  for (const Column& column : table.columns()) {
    names.push_back(column.name.empty() ? column.title : column.name);
  }
  return names;
}

}  // namespace cli
