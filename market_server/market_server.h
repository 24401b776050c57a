// The market server: an HTTP face on one simulated A-share market, for anybody who needs market data when
// there is none. This is its only public header; the simulated market itself is market_server/model/.
// Thread-safety: a Server may be used from any thread, one call of Start or Stop at a time.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace market_server {

/// What a server refuses to exceed. Whoever goes beyond one of these is disconnected.
struct Limits {
  std::size_t header_bytes = 96 * 1024;            ///< request line and header fields together
  std::size_t body_bytes = 64 * 1024;              ///< body of one request
  std::size_t connections = 4096;                  ///< open at the same time; one more is closed at once
  std::chrono::milliseconds request_time{15'000};  ///< from the first byte of a request to its last
  std::chrono::milliseconds idle_time{60'000};     ///< between two requests of one connection
  std::chrono::milliseconds answer_time{120'000};  ///< to take one answer, deliberate delays included
  std::chrono::milliseconds connection_time{3'600'000};  ///< age at which a connection ends after its answer
};

/// Everything that can be chosen about a server before it starts.
struct Options {
  std::string bind = "127.0.0.1";  ///< address to listen on, IPv4 or IPv6
  std::uint16_t port = 0;          ///< 0: any free port, see Server::port()
  std::uint64_t seed = 1;          ///< equal seed, scenario and instant give equal answers

  /// The server's clock, China time (UTC+8) whatever TZ says:
  ///   ""                          the real time while the market trades, else the last session from 10:30 on
  ///   "now"                       the real time
  ///   "replay"                    the last finished session, from 09:30:00 on
  ///   "HH:MM[:SS]"                that time of today, or of the last trading day when today is none
  ///   "YYYY-MM-DD[ HH:MM[:SS]]"  that instant, 09:30:00 without a time (also YYYYMMDD, also T in place of
  ///   the blank)
  ///   "@SECONDS"                  that many seconds since 1970-01-01 UTC
  std::string clock;
  double speed = 1;  ///< seconds of the server's clock in one second; 0 stops the clock

  std::string scenario;             ///< name of a scripted day, one of Scenarios(); empty: the plain market
  std::vector<std::string> faults;  ///< each `name[:endpoint[:probability[:arguments]]]`, see Faults()

  /// Port of the control connection on 127.0.0.1: absent: none, 0: any free port, see Server::control_port().
  std::optional<std::uint16_t> control_port;

  std::string tls_cert;    ///< PEM file of the certificate chain; with tls_key: HTTPS instead of HTTP
  std::string tls_key;     ///< PEM file of the private key
  std::string access_log;  ///< file that gets one line per answer, "-" for standard error, empty: none

  std::map<std::string, std::string>
      keys;                      ///< key id to secret; empty: one random pair is made at construction
  bool check_signatures = true;  ///< false: any request is answered, signed or not

  std::size_t threads = 2;  ///< threads that serve requests
  std::size_t stocks = 0;   ///< about so many stocks, at least 200; 0: the full market
  Limits limits;
};

/// One line of the table of faults.
struct FaultInfo {
  std::string name;
  std::string stage;      ///< "connect", "answer", "http", "json", "package" or "clock"
  std::string arguments;  ///< what may follow the probability, with its default; empty: nothing
  std::string summary;    ///< what a client meets
};

/// All faults that Options::faults and Server::SetFaults understand, in the order of the table.
[[nodiscard]] std::vector<FaultInfo> Faults();

/// A scripted day that Options::scenario can name.
struct ScenarioInfo {
  std::string name;
  std::string summary;
};
[[nodiscard]] std::vector<ScenarioInfo> Scenarios();

/// What a server has done since Start.
struct Counters {
  std::uint64_t connections = 0;  ///< accepted
  std::uint64_t open = 0;         ///< open at this moment
  std::uint64_t refused = 0;      ///< closed because of Limits::connections
  std::uint64_t requests = 0;     ///< understood as HTTP
  std::uint64_t errors = 0;       ///< answered with an "errno" other than 0 or an HTTP status other than 200
  std::uint64_t faults = 0;       ///< answers and connections that a fault changed
  std::uint64_t bytes_sent = 0;
};

/// One market behind one listening socket. Neither copied nor moved: it owns threads.
class Server {
 public:
  /// Makes the keys; touches neither the network nor the disk.
  explicit Server(Options options);
  /// Stops the server if it runs.
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// Listens and serves on threads of its own; returns when connections are accepted. Throws
  /// std::runtime_error with a text for a person when an option makes no sense or the address, a certificate
  /// or a log file cannot be used; nothing runs then. May be called again after Stop.
  void Start();

  /// Closes every connection, joins every thread. Does nothing when the server does not run.
  void Stop();

  [[nodiscard]] bool running() const;
  /// The port that is listened on; 0 before Start.
  [[nodiscard]] std::uint16_t port() const;
  /// The port of the control connection; 0 when there is none.
  [[nodiscard]] std::uint16_t control_port() const;
  /// "http://127.0.0.1:PORT" (or https), without a trailing slash: the root of the quote API and of the
  /// history queries. Static files are below static_url().
  [[nodiscard]] std::string url() const;
  /// url() + "/static/".
  [[nodiscard]] std::string static_url() const;

  /// One key id that is accepted, and its secret: the first of Options::keys, or the random pair.
  [[nodiscard]] std::string key_id() const;
  [[nodiscard]] std::string key() const;

  /// The server's clock at this moment: seconds since 1970-01-01 UTC.
  [[nodiscard]] double Now() const;
  /// Sets the clock as Options::clock does; throws std::runtime_error for a text that is no clock.
  void SetClock(std::string_view clock);
  void SetSpeed(double speed);

  /// Replaces the faults in force, from the next connection and request on. Throws std::runtime_error when a
  /// text names no fault or makes no sense; the faults in force stay then.
  void SetFaults(const std::vector<std::string>& faults);
  /// The faults in force, as they were given.
  [[nodiscard]] std::vector<std::string> ActiveFaults() const;

  [[nodiscard]] Counters ReadCounters() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace market_server
