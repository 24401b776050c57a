#include "cli/run/reference_load.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <memory>
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
// A thread that waits for an answer is handed it before it reads it.
constexpr std::chrono::milliseconds kUntilRead(20);
constexpr std::chrono::milliseconds kPatience(9000);

constexpr int kTriesAtOnce = 3;
constexpr std::chrono::milliseconds kAtOnce(3000);  // longer than that no try is followed by one at once
constexpr std::chrono::milliseconds kShortPause(1000);
constexpr std::chrono::milliseconds kLongPause(10'000);

std::uint32_t ServerYear() {
  return common::GetCurrentServerDate() / 10000;
}

// Calls `done` once: with what `look` sees in the counters, `pause` after the exchange that makes it see
// something, or with false at the end of the patience.
void Await(HostServices& host, std::chrono::milliseconds pause, std::function<std::optional<bool>()> look,
           std::function<void(bool ok)> done) {
  const auto is_told = std::make_shared<bool>(false);
  const auto tell = [is_told, done = std::move(done)](bool ok) {
    if (!std::exchange(*is_told, true)) {
      done(ok);
    }
  };
  host.Until([&loop = host.loop(), pause, is_told, look = std::move(look), tell] {
    const std::optional<bool> seen = look();
    if (seen) {
      loop.After(pause, [tell, ok = *seen] { tell(ok); });
    }
    return seen || *is_told;
  });
  host.loop().After(kPatience, [tell] { tell(false); });
}

std::optional<bool> CalendarSeen() {
  const stock_host::EndpointCounters counters = stock_host::ReadCounters().endpoints[kCalendarEndpoint];
  const bool answered = counters.requests > 0 && counters.requests == counters.handed_over;
  return answered ? std::optional(counters.failed == 0) : std::nullopt;
}

std::optional<bool> NamesSeen() {
  auto counters = stock_host::ReadCounters().endpoints;
  const bool all = std::all_of(std::begin(kNameEndpoints), std::end(kNameEndpoints),
                               [&](const char* endpoint) { return counters[endpoint].succeeded > 0; });
  return all ? std::optional(true) : std::nullopt;
}

using Clock = std::chrono::steady_clock;

void LoadLists(HostServices& host, IStockCommon& reference, int number, Clock::time_point begun,
               const std::function<void(bool ok)>& done) {
  TryReferenceData(host, reference, [&host, &reference, number, begun, done](bool ok) {
    const bool at_once = number < kTriesAtOnce && Clock::now() - begun < kAtOnce;
    const bool is_told = number > kTriesAtOnce;
    if (ok || (!at_once && !is_told)) {
      done(ok);
    }
    if (!ok) {
      const int next = at_once ? number + 1 : kTriesAtOnce + 1;
      host.loop().After(at_once ? kShortPause : kLongPause, [&host, &reference, next, begun, done] {
        LoadLists(host, reference, next, begun, done);
      });
    }
  });
}

}  // namespace

void AwaitCalendar(HostServices& host, std::function<void(bool ok)> done) {
  Await(host, std::chrono::milliseconds(0), CalendarSeen, std::move(done));
}

void AwaitNames(HostServices& host, std::function<void()> done) {
  Await(host, kUntilRead, NamesSeen, [done = std::move(done)](bool ok) {
    if (ok) {
      done();
    }
  });
}

void TryReferenceData(HostServices& host, IStockCommon& reference, std::function<void(bool ok)> done) {
  reference.Init(
      [&loop = host.loop(), done = std::move(done)](bool ok) { loop.Post([ok, done] { done(ok); }); });
}

void LoadReferenceData(HostServices& host, IStockCommon& reference, Needs needs,
                       std::function<void(bool ok)> done) {
  if (needs == Needs::kNothing) {
    host.loop().Post([done = std::move(done)] { done(true); });
    return;
  }
  const std::uint32_t year = ServerYear();
  if (needs == Needs::kNames || needs == Needs::kLists) {
    LoadLists(host, reference, 1, Clock::now(), done);
    return;
  }
  TryReferenceData(host, reference, [&host, &reference, year, done = std::move(done)](bool /*ok*/) {
    // The first answers bring the server's clock: it may stand in another year than this machine's.
    if (ServerYear() != year) {
      reference.Init({});
    }
    AwaitCalendar(host, done);
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
