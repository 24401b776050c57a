#include "cli/run/reference_load.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>
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
constexpr std::chrono::milliseconds kLook(20);
constexpr std::chrono::milliseconds kCalendarPatience(9000);

std::uint32_t ServerYear() {
  return common::GetCurrentServerDate() / 10000;
}

void AwaitCalendarFor(std::chrono::milliseconds patience, MainLoop& loop, std::function<void(bool ok)> done) {
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

}  // namespace

void AwaitCalendar(MainLoop& loop, std::function<void(bool ok)> done) {
  AwaitCalendarFor(kCalendarPatience, loop, std::move(done));
}

void LoadReferenceData(MainLoop& loop, IStockCommon& reference, Needs needs,
                       std::function<void(bool ok)> done) {
  if (needs == Needs::kNothing) {
    loop.Post([done = std::move(done)] { done(true); });
    return;
  }
  const std::uint32_t year = ServerYear();
  reference.Init([&loop, &reference, needs, year, done = std::move(done)](bool ok) {
    loop.Post([&loop, &reference, needs, year, ok, done] {
      if (needs == Needs::kLists) {
        done(ok);
        return;
      }
      // The first answers bring the server's clock: it may stand in another year than this machine's.
      if (ServerYear() != year) {
        reference.Init({});
      }
      AwaitCalendar(loop, done);
    });
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
