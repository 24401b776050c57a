// The control connection: a second, private listener on loopback through which a test or a person changes
// faults and clock of a running server. Refuses browsers. Thread-safe as far as the Server is.
#pragma once

#include "market_server/http/listener.h"
#include "market_server/market_server.h"

namespace market_server {

class Control : public http::Handler {
 public:
  explicit Control(Server& server) : server_(server) {}

  http::Welcome OnConnect() override { return http::Welcome::kServe; }
  bool TakesLong(const http::Request&) const override { return false; }
  /// GET /status, PUT /faults (one rule a line), DELETE /faults, PUT /clock, PUT /speed.
  http::Delivery Handle(const http::Request& request) override;
  http::Delivery Refuse(unsigned status, const std::string& peer) override;

 private:
  Server& server_;
};

}  // namespace market_server
