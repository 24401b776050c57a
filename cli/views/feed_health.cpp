#include "cli/views/feed_health.h"

#include <algorithm>
#include <cctype>

#include "cli/format/china_time.h"
#include "cli/format/text.h"
#include "host/clock.h"

namespace cli {
namespace {

// Feeds move every few seconds: what stands for less than this has not stopped.
constexpr std::chrono::milliseconds kQuiet(10'000);

void AddTo(Warnings::Lines& lines, const std::string& line) {
  ++lines.count;
  lines.last = line;
  if (lines.first.empty()) {
    lines.first = line;
  }
}

}  // namespace

FeedHealth::FeedHealth(std::chrono::milliseconds interval, std::chrono::milliseconds closed_interval)
    : fresh_for_(2 * interval + std::chrono::seconds(1)),
      fresh_when_closed_for_(2 * closed_interval + std::chrono::seconds(1)) {}

void FeedHealth::OnUpdate(Clock::time_point now, std::string nothing) {
  updated_ = now;
  nothing_ = std::move(nothing);
  request_failed_ = false;
  failure_.clear();
}

void FeedHealth::OnChange(Clock::time_point now, std::int64_t server_time) {
  changed_ = now;
  changed_server_time_ = server_time;
}

void FeedHealth::Restart() {
  updated_.reset();
  changed_.reset();
  nothing_.clear();
  request_failed_ = false;
  failure_.clear();
}

void FeedHealth::OnCounters(const stock_host::EndpointCounters& counters) {
  if (counters.failed > failed_) {
    failure_ = Printable(counters.last_error);
    request_failed_ = true;
  }
  failed_ = counters.failed;
  under_way_ = counters.requests > counters.succeeded + counters.failed;
}

void FeedHealth::OnLog(std::uint64_t count, const std::string& newest) {
  // What the request itself has to say explains more than the module's line about it.
  if (count > log_count_ && failure_.empty()) {
    failure_ = newest;
  }
  log_count_ = count;
}

std::optional<std::chrono::milliseconds> FeedHealth::Age(Clock::time_point now) const {
  if (!updated_) {
    return std::nullopt;
  }
  return std::chrono::duration_cast<std::chrono::milliseconds>(now - *updated_);
}

bool FeedHealth::IsStale(std::chrono::milliseconds age, bool closed) const {
  if (!closed) {
    return age > fresh_for_ || request_failed_;
  }
  const bool asked_seldom = fresh_when_closed_for_ > fresh_for_;
  return age > fresh_when_closed_for_ || (asked_seldom && !failure_.empty());
}

FeedReport FeedHealth::Report(Clock::time_point now, stock::MarketStatus phase) const {
  const std::optional<std::chrono::milliseconds> age = Age(now);
  const std::string because = failure_.empty() ? "" : ": " + failure_;
  if (!failure_.empty() && (!age || !nothing_.empty())) {
    return {FeedState::kFailed, "no data" + because};
  }
  if (!age) {
    return {FeedState::kWaiting, "waiting for data"};
  }
  if (IsStale(*age, IsClosed(phase))) {
    return {FeedState::kStale, "stale, " + Span(age->count() / 1000) + " old" + because};
  }
  if (!nothing_.empty()) {
    return {FeedState::kEmpty, nothing_};
  }
  if (IsClosed(phase)) {
    return {FeedState::kClosed, "market closed, figures of its last session"};
  }
  const bool trades = phase == stock::kMarketMorning || phase == stock::kMarketAfternoon;
  if (trades && changed_ && now - *changed_ > std::max(fresh_for_, kQuiet)) {
    return {FeedState::kUnchanged, "unchanged since " + ClockTime(changed_server_time_)};
  }
  return {FeedState::kLive, "live"};
}

stock_host::EndpointCounters CountersOf(std::string_view endpoint) {
  const stock_host::Counters counters = stock_host::ReadCounters();
  const auto found = counters.endpoints.find(std::string(endpoint));
  return found == counters.endpoints.end() ? stock_host::EndpointCounters() : found->second;
}

std::pair<std::uint64_t, std::string> FailuresOfHistory() {
  const stock_host::EndpointCounters counters = CountersOf("history");
  return {counters.failed, Printable(counters.last_error)};
}

stock::MarketStatus CurrentPhase() {
  return stock::CheckMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime()));
}

// Writers are classes of the module: nothing that a server sends adds one.
void Warnings::Add(std::string_view line) {
  const std::string text = Printable(line);
  const std::size_t end = text.find("::");
  const auto is_letter = [](unsigned char c) { return std::isalnum(c) != 0; };
  const bool has_writer =
      end != std::string::npos &&
      std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), is_letter);
  const std::lock_guard lock(mutex_);
  AddTo(all_, text);
  if (has_writer) {
    AddTo(writers_[text.substr(0, end)], text);
  }
}

Warnings::Lines Warnings::All() const {
  const std::lock_guard lock(mutex_);
  return all_;
}

Warnings::Lines Warnings::Of(std::string_view writer) const {
  const std::lock_guard lock(mutex_);
  const auto found = writers_.find(writer);
  return found == writers_.end() ? Lines() : found->second;
}

}  // namespace cli
