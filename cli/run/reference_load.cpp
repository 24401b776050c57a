#include "cli/run/reference_load.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

#include "cli/command.h"
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

void AwaitCalendarFor(std::chrono::milliseconds patience, Schedule& loop, std::function<void(bool ok)> done) {
  const stock_host::EndpointCounters counters = stock_host::ReadCounters().endpoints[kCalendarEndpoint];
  const bool answered = counters.requests > 0 && counters.requests == counters.succeeded + counters.failed;
  if (answered || patience <= patience.zero()) {
    // An answer is counted before its completion runs.
    loop.After(kLook, [ok = answered && counters.failed == 0, done = std::move(done)] { done(ok); });
    return;
  }
  loop.After(kLook,
             [&loop, patience, done = std::move(done)] { AwaitCalendarFor(patience - kLook, loop, done); });
}

void AwaitNamesFor(std::chrono::milliseconds patience, Schedule& loop, std::function<void()> done) {
  const auto counters = stock_host::ReadCounters().endpoints;
  const bool answered =
      std::all_of(std::begin(kNameEndpoints), std::end(kNameEndpoints), [&](const char* endpoint) {
        const auto found = counters.find(endpoint);
        return found != counters.end() && found->second.succeeded > 0;
      });
  if (answered) {
    // An answer is counted before it is read.
    loop.After(kLook, std::move(done));
  } else if (patience > patience.zero()) {
    loop.After(kLook,
               [&loop, patience, done = std::move(done)] { AwaitNamesFor(patience - kLook, loop, done); });
  }
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
  AwaitCalendarFor(kPatience, loop, std::move(done));
}

void AwaitNames(Schedule& loop, std::function<void()> done) {
  AwaitNamesFor(kPatience, loop, std::move(done));
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
