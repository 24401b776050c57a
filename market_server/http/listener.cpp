#include "http/listener.h"

#include <fcntl.h>

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl.hpp>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

namespace market_server::http {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
using asio::ip::tcp;
using boost::system::error_code;
using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kFarewellTime{2000};
constexpr std::chrono::milliseconds kAcceptRetry{50};

/// What every connection of one listener shares.
struct Context {
  asio::thread_pool& workers;
  Handler& handler;
  Traffic& traffic;
  Limits limits;
  asio::ssl::context* tls;
};

void Reset(tcp::socket& socket) {
  error_code ignored;
  socket.set_option(asio::socket_base::linger(true, 0), ignored);
  socket.close(ignored);
}

std::string PlainAnswer(unsigned status, std::string_view reason) {
  std::string text = "HTTP/1.1 " + std::to_string(status) + " ";
  text += reason;
  text += "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
  return text;
}

/// One connection. Every call-back runs on the strand of its socket; the pending one owns the session.
template <class Stream>
class Session : public std::enable_shared_from_this<Session<Stream>> {
 public:
  template <class... Arguments>
  Session(std::shared_ptr<const Context> context, std::string peer, Arguments&&... arguments)
      : context_(std::move(context)),
        stream_(std::forward<Arguments>(arguments)...),
        timer_(stream_.get_executor()),
        buffer_(context_->limits.header_bytes + context_->limits.body_bytes + 8192),
        peer_(std::move(peer)),
        born_(SteadyClock::now()) {
    ++context_->traffic.open;
  }
  ~Session() { --context_->traffic.open; }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void Serve() {
    if constexpr (kTls) {
      Tcp().expires_after(context_->limits.request_time);
      stream_.async_handshake(asio::ssl::stream_base::server,
                              [self = this->shared_from_this()](error_code error) {
                                if (!error) self->AwaitRequest();
                              });
    } else {
      AwaitRequest();
    }
  }

  auto Executor() { return stream_.get_executor(); }

  /// Reads and forgets until the client leaves or the limit for an answer is reached.
  void Hold() {
    deadline_ = SteadyClock::now() + context_->limits.answer_time;
    Discard();
  }

 private:
  static constexpr bool kTls = !std::is_same_v<Stream, beast::tcp_stream>;

  beast::tcp_stream& Tcp() { return beast::get_lowest_layer(stream_); }

  void AwaitRequest() {
    if (buffer_.size() > 0) {
      ReadRequest();
      return;
    }
    Tcp().expires_after(context_->limits.idle_time);
    stream_.async_read_some(buffer_.prepare(4096),
                            [self = this->shared_from_this()](error_code error, std::size_t length) {
                              if (error) {
                                self->Farewell();
                                return;
                              }
                              self->buffer_.commit(length);
                              self->ReadRequest();
                            });
  }

  void ReadRequest() {
    parser_.emplace();
    parser_->header_limit(static_cast<std::uint32_t>(context_->limits.header_bytes));
    parser_->body_limit(context_->limits.body_bytes);
    Tcp().expires_after(context_->limits.request_time);
    beast::http::async_read(
        stream_, buffer_, *parser_,
        [self = this->shared_from_this()](error_code error, std::size_t) { self->HaveRequest(error); });
  }

  void HaveRequest(error_code error) {
    namespace bh = beast::http;
    if (error == bh::error::header_limit || error == bh::error::buffer_overflow) {
      Refuse(PlainAnswer(431, "Request Header Fields Too Large"));
    } else if (error == bh::error::body_limit) {
      Refuse(PlainAnswer(413, "Payload Too Large"));
    } else if (error == bh::error::end_of_stream || error == bh::error::partial_message) {
      Farewell();
    } else if (error && error.category() == bh::make_error_code(bh::error::bad_target).category()) {
      Refuse(PlainAnswer(400, "Bad Request"));
    } else if (!error) {
      const auto message = parser_->release();
      parser_.reset();
      ++context_->traffic.requests;
      Request request;
      request.method = std::string(message.method_string());
      request.target = std::string(message.target());
      request.host = std::string(message[bh::field::host]);
      request.origin = std::string(message[bh::field::origin]);
      request.body = message.body();
      request.peer = peer_;
      request.keep_alive = message.keep_alive();
      request.number = ++served_;
      ReadTarget(request);
      if (context_->handler.TakesLong(request)) {
        // The session waits for the worker with nothing pending; then it goes on in its own strand.
        asio::post(context_->workers, [self = this->shared_from_this(), request = std::move(request)] {
          asio::post(self->Executor(),
                     [self, delivery = self->Ask(request)]() mutable { self->Deliver(std::move(delivery)); });
        });
      } else {
        Deliver(Ask(request));
      }
    }
  }

  /// The handler's delivery; a handler that throws has run out of memory, or is being stopped, and costs one
  /// connection.
  Delivery Ask(const Request& request) {
    try {
      return context_->handler.Handle(request);
    } catch (const std::exception&) {
      return {{{Step::Kind::kClose, {}, 1, {}}}, false};
    }
  }

  void Refuse(std::string answer) {
    Delivery delivery;
    delivery.keep_alive = false;
    delivery.steps.push_back({Step::Kind::kWrite, std::move(answer), 1, {}});
    Deliver(std::move(delivery));
  }

  void Deliver(Delivery delivery) {
    delivery_ = std::move(delivery);
    step_ = 0;
    done_ = 0;
    deadline_ = SteadyClock::now() + context_->limits.answer_time;
    NextStep();
  }

  void NextStep() {
    if (step_ >= delivery_.steps.size()) {
      const bool stay = delivery_.keep_alive && SteadyClock::now() - born_ < context_->limits.connection_time;
      delivery_.steps.clear();
      if (stay) {
        AwaitRequest();
      } else {
        Farewell();
      }
      return;
    }
    const Step& step = delivery_.steps[step_];
    switch (step.kind) {
      case Step::Kind::kWrite: {
        // Neighbouring texts leave in one call, so that head and body share a packet.
        std::vector<asio::const_buffer> texts;
        std::size_t last = step_;
        while (last < delivery_.steps.size() && delivery_.steps[last].kind == Step::Kind::kWrite) {
          texts.push_back(asio::buffer(delivery_.steps[last].bytes));
          ++last;
        }
        Write(texts, [last](Session& self) {
          self.step_ = last;
          self.NextStep();
        });
        break;
      }
      case Step::Kind::kRepeat:
        if (done_ >= step.count) {
          Advance();
          break;
        }
        Write(asio::buffer(step.bytes), [](Session& self) {
          ++self.done_;
          self.NextStep();
        });
        break;
      case Step::Kind::kDrip:
        if (done_ >= step.bytes.size()) {
          Advance();
          break;
        }
        Write(asio::buffer(step.bytes.data() + done_, 1), [](Session& self) {
          ++self.done_;
          self.Pause(self.delivery_.steps[self.step_].pause, [](Session& later) { later.NextStep(); });
        });
        break;
      case Step::Kind::kWait:
        Pause(step.pause, [](Session& self) { self.Advance(); });
        break;
      case Step::Kind::kHold:
        Discard();
        break;
      case Step::Kind::kClose:
        delivery_.steps.clear();
        Farewell();
        break;
      case Step::Kind::kReset:
        Reset(Tcp().socket());
        break;
    }
  }

  void Advance() {
    ++step_;
    done_ = 0;
    NextStep();
  }

  template <class Buffers, class Then>
  void Write(const Buffers& buffers, Then then) {
    Tcp().expires_at(deadline_);
    asio::async_write(stream_, buffers,
                      [self = this->shared_from_this(), then](error_code error, std::size_t length) {
                        self->context_->traffic.bytes_sent += length;
                        if (!error) then(*self);
                      });
  }

  template <class Then>
  void Pause(std::chrono::milliseconds pause, Then then) {
    timer_.expires_at(std::min(deadline_, SteadyClock::now() + pause));
    timer_.async_wait([self = this->shared_from_this(), then](error_code error) {
      if (!error && SteadyClock::now() < self->deadline_) then(*self);
    });
  }

  /// Ends the connection in good order: says so, then reads what the client still sends, so that its last
  /// answer is not lost to a reset.
  void Farewell() {
    deadline_ = SteadyClock::now() + kFarewellTime;
    if constexpr (kTls) {
      Tcp().expires_at(deadline_);
      stream_.async_shutdown([self = this->shared_from_this()](error_code) {});
    } else {
      error_code error;
      Tcp().socket().shutdown(tcp::socket::shutdown_send, error);
      if (!error) Discard();
    }
  }

  void Discard() {
    buffer_.consume(buffer_.size());
    Tcp().expires_at(deadline_);
    Tcp().async_read_some(buffer_.prepare(4096),
                          [self = this->shared_from_this()](error_code error, std::size_t) {
                            if (!error) self->Discard();
                          });
  }

  std::shared_ptr<const Context> context_;
  Stream stream_;
  asio::steady_timer timer_;
  beast::flat_buffer buffer_;
  std::optional<beast::http::request_parser<beast::http::string_body>> parser_;
  Delivery delivery_;
  std::size_t step_ = 0;
  std::uint64_t done_ = 0;  ///< repetitions or bytes of the present step
  std::uint64_t served_ = 0;
  std::string peer_;
  SteadyClock::time_point born_;
  SteadyClock::time_point deadline_{};
};

// A program that this one starts would go on listening, and hold connections open, when the server has
// stopped.
template <class Socket>
void KeepFromChildren(Socket& socket) {
  fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
}

}  // namespace

class Listener::Acceptor : public std::enable_shared_from_this<Acceptor> {
 public:
  Acceptor(asio::io_context& io, std::shared_ptr<const Context> context)
      : io_(io), context_(std::move(context)), socket_(io), retry_(io) {}

  void Open(const std::string& address, std::uint16_t port) {
    const std::lock_guard lock(mutex_);
    error_code error;
    const auto parsed = asio::ip::make_address(address, error);
    if (error) throw std::runtime_error("\"" + address + "\" is not an address to listen on");
    endpoint_ = tcp::endpoint(parsed, port);
    Bind(error);
    if (!error) socket_.listen(asio::socket_base::max_listen_connections, error);
    if (error) {
      error_code ignored;
      socket_.close(ignored);
      throw std::runtime_error("cannot listen on " + address + " port " + std::to_string(port) + ": " +
                               error.message());
    }
    endpoint_ = socket_.local_endpoint();
    listening_ = true;
    Accept();
  }

  void SetListening(bool listening) {
    const std::lock_guard lock(mutex_);
    if (!socket_.is_open() || listening == listening_) return;
    error_code error;
    ++generation_;
    if (listening) {
      socket_.listen(asio::socket_base::max_listen_connections, error);
      listening_ = true;
      Accept();
    } else {
      // A socket that is bound and does not listen keeps the port and refuses everybody.
      socket_.close(error);
      Bind(error);
      listening_ = false;
    }
  }

  void Close() {
    const std::lock_guard lock(mutex_);
    ++generation_;
    listening_ = false;
    error_code ignored;
    socket_.close(ignored);
  }

  std::uint16_t port() const {
    const std::lock_guard lock(mutex_);
    return endpoint_.port();
  }

 private:
  void Bind(error_code& error) {
    socket_.open(endpoint_.protocol(), error);
    if (!error) KeepFromChildren(socket_);
    if (!error) socket_.set_option(asio::socket_base::reuse_address(true), error);
    if (!error) socket_.bind(endpoint_, error);
  }

  void Accept() {
    socket_.async_accept(asio::make_strand(io_), [self = shared_from_this(), generation = generation_](
                                                     error_code error, tcp::socket socket) mutable {
      if (!error) self->Welcome(std::move(socket));
      self->Continue(generation, error);
    });
  }

  void Continue(std::uint64_t generation, error_code error) {
    const std::lock_guard lock(mutex_);
    if (generation != generation_ || !listening_) return;
    if (!error || error == asio::error::connection_aborted) {
      Accept();
      return;
    }
    // Most likely out of descriptors: connections that end will free some.
    retry_.expires_after(kAcceptRetry);
    retry_.async_wait([self = shared_from_this(), generation](error_code cancelled) {
      if (!cancelled) self->Continue(generation, error_code{});
    });
  }

  void Welcome(tcp::socket socket) {
    KeepFromChildren(socket);
    Traffic& traffic = context_->traffic;
    ++traffic.connections;
    error_code error;
    if (traffic.open >= context_->limits.connections) {
      ++traffic.refused;
      socket.close(error);
      return;
    }
    switch (const auto welcome = context_->handler.OnConnect(); welcome) {
      case http::Welcome::kClose:
        socket.close(error);
        return;
      case http::Welcome::kReset:
        Reset(socket);
        return;
      case http::Welcome::kServe:
      case http::Welcome::kIgnore:
        socket.set_option(tcp::no_delay(true), error);
        const auto remote = socket.remote_endpoint(error);
        std::string peer =
            error ? std::string("-") : remote.address().to_string() + ":" + std::to_string(remote.port());
        if (context_->tls != nullptr) {
          Run<beast::ssl_stream<beast::tcp_stream>>(welcome, std::move(peer),
                                                    beast::tcp_stream(std::move(socket)), *context_->tls);
        } else {
          Run<beast::tcp_stream>(welcome, std::move(peer), std::move(socket));
        }
    }
  }

  template <class Stream, class... Arguments>
  void Run(http::Welcome welcome, std::string peer, Arguments&&... arguments) {
    auto session =
        std::make_shared<Session<Stream>>(context_, std::move(peer), std::forward<Arguments>(arguments)...);
    asio::post(session->Executor(), [session, welcome] {
      if (welcome == http::Welcome::kServe) {
        session->Serve();
      } else {
        session->Hold();
      }
    });
  }

  asio::io_context& io_;
  const std::shared_ptr<const Context> context_;
  mutable std::mutex mutex_;  ///< guards everything below, the operations of the sockets included
  tcp::acceptor socket_;
  asio::steady_timer retry_;
  tcp::endpoint endpoint_;
  std::uint64_t generation_ = 0;  ///< of the accept that may go on
  bool listening_ = false;
};

Listener::Listener(asio::io_context& io, asio::thread_pool& workers, Handler& handler, Traffic& traffic,
                   const Limits& limits, asio::ssl::context* tls)
    : acceptor_(std::make_shared<Acceptor>(
          io, std::make_shared<Context>(Context{workers, handler, traffic, limits, tls}))) {}

Listener::~Listener() {
  Close();
}

void Listener::Open(const std::string& address, std::uint16_t port) {
  acceptor_->Open(address, port);
}

void Listener::SetListening(bool listening) {
  acceptor_->SetListening(listening);
}

void Listener::Close() {
  acceptor_->Close();
}

std::uint16_t Listener::port() const {
  return acceptor_->port();
}

}  // namespace market_server::http
