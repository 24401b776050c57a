#include "cli/query_run.h"

#include <unistd.h>

#include <stdexcept>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/reference_run.h"
#include "host/clock.h"

namespace cli {
namespace {

constexpr std::chrono::milliseconds kLook(50);
// Between the end of a request and the call with its answer lies nothing but work: reading, at most
// unpacking.
constexpr std::chrono::milliseconds kAfterFailure(500);
constexpr std::chrono::seconds kAfterSuccess(5);

}  // namespace

QueryRun::QueryRun(const QueryOptions& options, const Feed& feed)
    : feed_(feed),
      output_(loop_, STDOUT_FILENO),
      palette_(WantsColour(STDOUT_FILENO, options.no_color)),
      session_(options.session) {}

int QueryRun::Run(First first, std::function<void(IStockCommon&)> ask) {
  IStockCommon* const reference = GetStockCommon();
  if (reference == nullptr) {
    throw std::runtime_error("the service of reference data cannot be made");
  }
  ask_ = std::move(ask);
  if (first == First::kNothing) {
    loop_.Post([this, reference] { Ask(*reference); });
  } else {
    const Needs needs = first == First::kLists ? Needs::kLists : Needs::kCalendar;
    LoadReferenceData(loop_, *reference, needs, [this, reference, first](bool ok) {
      if (!ok && first == First::kLists) {
        throw std::runtime_error(NotLoadedText(session_));
      }
      Ask(*reference);
    });
  }
  loop_.Run();
  return result_;
}

void QueryRun::Ask(IStockCommon& reference) {
  session_.log().Poll();
  warnings_before_ = session_.log().count();
  failures_before_ = CountersOf(feed_).failed;
  quiet_since_ = Clock::now();
  ask_(reference);
  if (!loop_.ended()) {
    loop_.Every(kLook, [this] { Watch(); });
  }
}

void QueryRun::Watch() {
  output_.LookForReader();
  if (stock_host::ReadCounters().under_way > 0) {
    quiet_since_ = Clock::now();
  }
  const auto quiet = Clock::now() - quiet_since_;
  if (quiet < kAfterFailure || loop_.ended()) {
    return;
  }
  if (Failed()) {
    Fail();
  }
  if (quiet >= kAfterSuccess) {
    const std::string reason = explain_ ? explain_() : std::string();
    throw std::runtime_error(reason.empty() ? session_.server_text() + " has no such figures" : reason);
  }
}

bool QueryRun::Failed() {
  session_.log().Poll();
  return session_.log().count() > warnings_before_ || CountersOf(feed_).failed > failures_before_;
}

void QueryRun::Fail() {
  const stock_host::EndpointCounters counters = CountersOf(feed_);
  const std::string reason =
      counters.failed > failures_before_ ? Printable(counters.last_error) : session_.log().last();
  throw std::runtime_error(session_.server_text() + ": " + std::string(feed_.endpoint) +
                           " failed: " + reason);
}

void QueryRun::Finish(ExitCode code) {
  result_ = code;
  loop_.End();
}

void QueryRun::TellClosed(std::uint32_t session_date) const {
  if (IsClosed(CurrentPhase()) || session_date != common::GetCurrentServerDate()) {
    Say("the market is closed; these are the figures of " + DateText(session_date));
  }
}

void QueryRun::Print(const Table& table) {
  output_.Write(TextOf(table, palette_));
}

void QueryRun::Print(const std::vector<StyledLine>& lines) {
  output_.Write(TextOf(lines, palette_));
}

}  // namespace cli
