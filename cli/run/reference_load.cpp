#include "cli/run/reference_load.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

#include "cli/args/option.h"
#include "cli/format/text.h"
#include "host/clock.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

constexpr const char* kCalendarEndpoint = "/pc/rt/trade_date";
constexpr const char* kNameEndpoints[] = {kCalendarEndpoint, "/pc/rt/get_basic_info", "/pc/rt/get_bk_list",
                                          "/pc/rt/stock_index_list"};
constexpr std::chrono::milliseconds kLook(20);
constexpr std::chrono::milliseconds kPatience(9000);

constexpr int kTriesAtOnce = 3;
constexpr std::chrono::milliseconds kAtOnce(3000);  // longer than that no try is followed by one at once
constexpr std::chrono::milliseconds kShortPause(1000);
constexpr std::chrono::milliseconds kLongPause(10'000);

std::uint32_t ServerYear() {
  return common::GetCurrentServerDate() / 10000;
}

// Calls `done` with what `look` sees in the counters as soon as it sees something, with false at the end of
// the patience. An answer is counted before it is read: `done` comes a look later.
void LookUntilSeen(std::chrono::milliseconds patience, Schedule& loop,
                   std::function<std::optional<bool>()> look, std::function<void(bool ok)> done) {
  const std::optional<bool> seen = patience > patience.zero() ? look() : std::optional(false);
  loop.After(kLook, [=, &loop, look = std::move(look), done = std::move(done)] {
    if (seen) {
      done(*seen);
    } else {
      LookUntilSeen(patience - kLook, loop, look, done);
    }
  });
}

std::optional<bool> CalendarSeen() {
  const stock_host::EndpointCounters counters = stock_host::ReadCounters().endpoints[kCalendarEndpoint];
  const bool answered = counters.requests > 0 && counters.requests == counters.succeeded + counters.failed;
  return answered ? std::optional(counters.failed == 0) : std::nullopt;
}

std::optional<bool> NamesSeen() {
  auto counters = stock_host::ReadCounters().endpoints;
  const bool all = std::all_of(std::begin(kNameEndpoints), std::end(kNameEndpoints),
                               [&](const char* endpoint) { return counters[endpoint].succeeded > 0; });
  return all ? std::optional(true) : std::nullopt;
}

using Clock = std::chrono::steady_clock;

void LoadLists(Schedule& loop, IStockCommon& reference, int number, Clock::time_point begun,
               const std::function<void(bool ok)>& done) {
  TryReferenceData(loop, reference, [&loop, &reference, number, begun, done](bool ok) {
    const bool at_once = number < kTriesAtOnce && Clock::now() - begun < kAtOnce;
    const bool is_told = number > kTriesAtOnce;
    if (ok || (!at_once && !is_told)) {
      done(ok);
    }
    if (!ok) {
      const int next = at_once ? number + 1 : kTriesAtOnce + 1;
      loop.After(at_once ? kShortPause : kLongPause,
                 [&loop, &reference, next, begun, done] { LoadLists(loop, reference, next, begun, done); });
    }
  });
}

}  // namespace

void AwaitCalendar(Schedule& loop, std::function<void(bool ok)> done) {
  LookUntilSeen(kPatience, loop, CalendarSeen, std::move(done));
}

void AwaitNames(Schedule& loop, std::function<void()> done) {
  LookUntilSeen(kPatience, loop, NamesSeen, [done = std::move(done)](bool ok) {
    if (ok) {
      done();
    }
  });
}

void TryReferenceData(Schedule& loop, IStockCommon& reference, std::function<void(bool ok)> done) {
  reference.Init([&loop, done = std::move(done)](bool ok) { loop.Post([ok, done] { done(ok); }); });
}

void LoadReferenceData(Schedule& loop, IStockCommon& reference, Needs needs,
                       std::function<void(bool ok)> done) {
  if (needs == Needs::kNothing) {
    loop.Post([done = std::move(done)] { done(true); });
    return;
  }
  const std::uint32_t year = ServerYear();
  if (needs == Needs::kNames || needs == Needs::kLists) {
    LoadLists(loop, reference, 1, Clock::now(), done);
    return;
  }
  TryReferenceData(loop, reference, [&loop, &reference, year, done = std::move(done)](bool /*ok*/) {
    // The first answers bring the server's clock: it may stand in another year than this machine's.
    if (ServerYear() != year) {
      reference.Init({});
    }
    AwaitCalendar(loop, done);
  });
}

std::string LoadFailure() {
  for (const auto& [name, counters] : stock_host::ReadCounters().endpoints) {
    if (counters.failed > 0) {
      return Printable(name + ": " + counters.last_error);
    }
  }
  return {};
}

std::string NotLoadedReason(const Warnings& warnings) {
  const std::string request = LoadFailure();
  return request.empty() ? warnings.All().last : request;
}

std::string NotLoadedText(const Session& session) {
  const std::string reason = NotLoadedReason(session.warnings());
  return "cannot load the reference data from " + session.server_text() +
         (reason.empty() ? "" : ": " + reason);
}

}  // namespace cli
