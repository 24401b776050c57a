#include "cli/views/feeds.h"

#include "cli/format/text.h"
#include "host/clock.h"

namespace cli {

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

}  // namespace cli
