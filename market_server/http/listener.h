// A listening socket and the connections that come in through it: HTTP/1.1 with keep-alive, in the clear or
// over TLS, within limits. Knows bytes and time, nothing of markets: what is answered is a Handler's business
// (the market's is service.h, the control connection's control.h). Thread-safety: everything runs on
// the threads of the io_context; Open, SetListening and Close may be called from any thread, one at a time.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "market_server/http/message.h"
#include "market_server/market_server.h"

// Declared only: most who include this header know handlers and requests, and nothing of sockets.
namespace boost::asio {
class io_context;
class thread_pool;
namespace ssl {
class context;
}  // namespace ssl
}  // namespace boost::asio

namespace market_server::http {

/// What becomes of a connection at the moment it is accepted.
enum class Welcome { kServe, kClose, kReset, kIgnore };

/// Answers requests, for several connections at once. OnConnect and TakesLong are called on the threads of
/// the io_context, Handle on those or, when the request takes long, on those of the workers.
class Handler {
 public:
  virtual ~Handler() = default;
  /// A new connection. kIgnore keeps it open and never reads from it.
  virtual Welcome OnConnect() = 0;
  /// Whether the answer may take so long to make that other connections would notice.
  virtual bool TakesLong(const Request& request) const = 0;
  virtual Delivery Handle(const Request& request) = 0;
  /// What is said to a client whose request is not understood or exceeds a limit. The connection ends then.
  virtual Delivery Refuse(unsigned status, const std::string& peer) = 0;
};

/// Counted by the connections, read by anybody.
struct Traffic {
  std::atomic<std::uint64_t> connections{0};
  std::atomic<std::uint64_t> open{0};
  std::atomic<std::uint64_t> refused{0};
  std::atomic<std::uint64_t> requests{0};
  std::atomic<std::uint64_t> bytes_sent{0};
};

class Listener {
 public:
  /// `tls` null: plain HTTP. Handler, traffic and tls outlive the io_context, which outlives the workers.
  Listener(boost::asio::io_context& io, boost::asio::thread_pool& workers, Handler& handler, Traffic& traffic,
           const Limits& limits, boost::asio::ssl::context* tls);
  ~Listener();
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;

  /// Binds, listens and starts to accept. Throws std::runtime_error when the address cannot be used.
  void Open(const std::string& address, std::uint16_t port);
  /// false: keeps the address but refuses connections, as if no server ran there.
  void SetListening(bool listening);
  void Close();
  [[nodiscard]] std::uint16_t port() const;

 private:
  class Acceptor;
  std::shared_ptr<Acceptor> acceptor_;
};

}  // namespace market_server::http
