// What every command that shows the market stands on: a server (this process's own simulated market, or one
// that runs elsewhere), the host services, and the module's end. Made first and destroyed last, on the main
// thread.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "cli/run/main_loop.h"
#include "cli/temporary_directory.h"
#include "cli/views/feed_health.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"

namespace cli {

struct SessionOptions {
  std::string server;                 ///< URL; empty: a simulated market in this process
  bool has_server = true;             ///< false: neither; for what the host services do by themselves
  std::string replay;                 ///< directory of a record that answers instead; empty: none
  market_server::Options simulation;  ///< what that market is like; its speed is also that of a replay
};

/// Every session made from now on is recorded in `directory`; a replay then throws.
void RecordSessions(const std::string& directory);

/// The host services, and the module's own as long as they run. What happens in them is handed over to the
/// loop, which outlives them. Main thread only.
class HostServices {
 public:
  /// `on_event` is called after exchanges that ended and warnings that were written; several at a time are
  /// one call. Throws std::runtime_error when the services cannot be started.
  HostServices(const stock_host::Settings& settings, Schedule& loop, std::function<void()> on_event = {});
  /// Ends the module's services, then the host services: requests under way fail.
  ~HostServices();
  HostServices(const HostServices&) = delete;
  HostServices& operator=(const HostServices&) = delete;

  [[nodiscard]] Schedule& loop() const { return loop_; }
  [[nodiscard]] const Warnings& warnings() const;
  /// Calls `is_over` now and after every event until it returns true.
  void Until(std::function<bool()> is_over);

 private:
  struct Events;

  Schedule& loop_;
  const std::shared_ptr<Events> events_;
};

class Session {
 public:
  /// Starts what is needed; no request is sent. Throws std::runtime_error with a text for a person.
  ///
  /// With a simulated market, and without any server, data and log go to a temporary directory, so that
  /// nothing of it gets among the user's own. The watch list is the user's own in any case.
  ///
  /// `loop` and `on_event` as for `HostServices`.
  Session(const SessionOptions& options, Schedule& loop, std::function<void()> on_event = {});
  /// Ends the services, then the simulated market, then the temporary directory.
  ~Session() = default;
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// "http://127.0.0.1:40001 (simulated market)" and the like.
  [[nodiscard]] const std::string& server_text() const { return server_text_; }
  [[nodiscard]] HostServices& host() const { return *host_; }
  [[nodiscard]] const Warnings& warnings() const { return host_->warnings(); }
  /// "SIMULATED", "REPLAY" or nothing: what must be said of every figure.
  [[nodiscard]] const std::string& badge() const { return badge_; }
  /// What it asks is recorded.
  [[nodiscard]] static bool IsRecorded();

 private:
  void UseTemporaryDirectory(stock_host::Settings& settings);

  // The order of the members is the order of the start, and backwards that of the end.
  std::unique_ptr<TemporaryDirectory> directory_;
  std::unique_ptr<market_server::Server> simulation_;
  std::unique_ptr<HostServices> host_;
  std::string server_text_;
  std::string badge_;
};

}  // namespace cli
