// The market as a web service: checks signatures, finds the endpoint, lets the faults in force have their
// way, and logs. One for each running server; http/listener.h brings the requests. Thread-safe.
#pragma once

#include <atomic>
#include <cstdint>

#include "market_server/access_log.h"
#include "market_server/clock.h"
#include "market_server/endpoints/packages.h"
#include "market_server/faults.h"
#include "market_server/http/listener.h"
#include "market_server/model/market.h"
#include "market_server/signing.h"

namespace market_server {

/// Counted by the service, read by anybody.
struct ServiceCounters {
  std::atomic<std::uint64_t> errors{0};  ///< answers with an "errno" or another status than 200
  std::atomic<std::uint64_t> faults{0};  ///< answers and connections that a fault changed
};

class Service : public http::Handler {
 public:
  /// Everything outlives the service. `signatures` null: no request needs one.
  Service(const model::Market& market, const ServerClock& clock, const FaultRules& faults,
          Signatures* signatures, const AccessLog& log, ServiceCounters& counters);

  http::Welcome OnConnect() override;
  bool TakesLong(const http::Request& request) const override;
  http::Delivery Handle(const http::Request& request) override;
  http::Delivery Refuse(unsigned status, const std::string& peer) override;

 private:
  [[nodiscard]] Answer MakeAnswer(const Exchange& exchange);

  const model::Market& market_;
  const ServerClock& clock_;
  const FaultRules& rules_;
  Signatures* const signatures_;
  const AccessLog& log_;
  ServiceCounters& counters_;
  endpoints::Packages packages_;
};

}  // namespace market_server
