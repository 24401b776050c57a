// A server on 127.0.0.1 whose every byte a test decides. One thread for each connection. Callable from any
// thread. It is no market server: it knows no endpoint.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>

namespace host_test {

struct Certificate;

class LoopbackServer {
 public:
  class Connection {
   public:
    virtual ~Connection() = default;

    /// Up to the empty line that ends a request's header; empty when the client has closed.
    [[nodiscard]] std::string ReadRequest();

    /// False when the client has closed.
    bool Write(std::string_view bytes);

    /// An answer with status 200, a length and a body.
    bool Answer(std::string_view body, std::string_view more_header_lines = {});

    /// Returns when the client has closed or the server stops.
    void WaitForClose();

    /// Waits a little; false when the server stops.
    bool Pause(std::chrono::milliseconds time);

    /// Closes so that the client sees a reset.
    void Reset();

    int number = 0;           ///< of the connection, from 0
    int requests_before = 0;  ///< of all connections

   protected:
    friend class LoopbackServer;
    virtual std::size_t ReadSome(char* bytes, std::size_t size) = 0;  // 0: closed
    virtual bool WriteAll(std::string_view bytes) = 0;
    virtual void Shut() = 0;
    virtual void Abort() = 0;
    LoopbackServer* server_ = nullptr;
    std::string unread_;
  };
  using Handler = std::function<void(Connection&)>;

  /// `handler` has a connection to itself; it is closed when it returns.
  explicit LoopbackServer(Handler handler, const Certificate* certificate = nullptr);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  [[nodiscard]] std::string Url(std::string_view path = "/") const;
  [[nodiscard]] std::wstring WideUrl(std::string_view path = "/") const;
  [[nodiscard]] std::uint16_t port() const;
  [[nodiscard]] int connections() const { return connections_; }
  [[nodiscard]] int requests() const { return requests_; }

 private:
  struct Impl;
  void Accept();

  const Handler handler_;
  std::atomic<int> connections_{0};
  std::atomic<int> requests_{0};
  const std::unique_ptr<Impl> impl_;
};

/// Answers every request of a connection with `body`.
[[nodiscard]] LoopbackServer::Handler Answering(std::string body, std::string more_header_lines = {});

/// A port on which nobody listens.
[[nodiscard]] std::uint16_t ClosedPort();

/// `text` as a gzip member.
[[nodiscard]] std::string Gzipped(std::string_view text);

}  // namespace host_test
