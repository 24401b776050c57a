#include "market_server/http/listener.h"

#include <fcntl.h>

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/write.hpp>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

namespace market_server::http {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using SteadyClock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kFarewellTime{2000};
constexpr std::chrono::milliseconds kAcceptRetry{50};
constexpr std::string_view kHeadEnd = "\r\n\r\n";

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

/// One connection, in the clear or inside TLS. Every call-back runs on the strand of its socket; the pending
/// one owns the session. An operation under way ends at the limit that was set for it: the socket is closed.
class Session : public std::enable_shared_from_this<Session> {
 public:
  Session(std::shared_ptr<const Context> context, std::string peer, tcp::socket socket)
      : context_(std::move(context)),
        socket_(std::move(socket)),
        limit_timer_(socket_.get_executor()),
        pause_timer_(socket_.get_executor()),
        peer_(std::move(peer)),
        born_(SteadyClock::now()) {
    if (context_->tls != nullptr) tls_.emplace(socket_, *context_->tls);
    ++context_->traffic.open;
  }
  ~Session() { --context_->traffic.open; }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Begins to answer requests or, if `hold`, to read and forget.
  void Run(bool hold) {
    asio::post(socket_.get_executor(), [self = shared_from_this(), hold] {
      if (hold) {
        self->LimitUntil(SteadyClock::now() + self->context_->limits.answer_time);
        self->Discard();
      } else if (self->tls_) {
        self->LimitUntil(SteadyClock::now() + self->context_->limits.request_time);
        self->tls_->async_handshake(asio::ssl::stream_base::server, [self](error_code error) {
          if (!error) self->AwaitRequest();
        });
      } else {
        self->AwaitRequest();
      }
    });
  }

 private:
  using Then = void (Session::*)();

  void LimitUntil(SteadyClock::time_point limit) {
    limit_ = limit;
    limit_timer_.expires_at(limit);
    limit_timer_.async_wait([weak = weak_from_this()](error_code error) {
      const auto self = weak.lock();
      // A wait that ended before its limit was moved is still delivered.
      if (error || self == nullptr || SteadyClock::now() < self->limit_) return;
      error_code ignored;
      self->pause_timer_.cancel();
      self->socket_.close(ignored);
    });
  }

  void NoLimit() {
    limit_ = SteadyClock::time_point::max();
    limit_timer_.cancel();
  }

  void AwaitRequest() {
    head_.reset();
    searched_ = 0;
    begun_ = !received_.empty();
    LimitUntil(SteadyClock::now() + (begun_ ? context_->limits.request_time : context_->limits.idle_time));
    if (begun_) {
      TakeRequest();
    } else {
      ReadMore();
    }
  }

  void ReadMore() {
    const auto have = [self = shared_from_this()](error_code error, std::size_t length) {
      if (error) {
        self->Farewell();
      } else {
        self->Received(length);
      }
    };
    if (tls_) {
      tls_->async_read_some(asio::buffer(chunk_), have);
    } else {
      socket_.async_read_some(asio::buffer(chunk_), have);
    }
  }

  void Received(std::size_t length) {
    if (!std::exchange(begun_, true)) LimitUntil(SteadyClock::now() + context_->limits.request_time);
    received_.append(chunk_.data(), length);
    TakeRequest();
  }

  /// Answers the request at the front of what was received, or waits for the rest of it.
  void TakeRequest() {
    const Limits& limits = context_->limits;
    if (!head_) {
      const std::size_t end = received_.find(kHeadEnd, searched_);
      const bool whole = end != std::string::npos;
      const std::size_t size = whole ? end + kHeadEnd.size() : received_.size();
      if (!CanBeginHead(received_)) return Refuse(400);
      if (size > limits.header_bytes) return Refuse(431);
      if (!whole) {
        searched_ = size - std::min(size, kHeadEnd.size() - 1);
        return ReadMore();
      }
      head_ = ReadHead(std::string_view(received_).substr(0, size));
      received_.erase(0, size);
      if (head_->refusal != 0) return Refuse(head_->refusal);
      if (head_->body_bytes > limits.body_bytes) return Refuse(413);
    }
    if (received_.size() < head_->body_bytes) {
      if (!std::exchange(head_->awaits_consent, false)) return ReadMore();
      static constexpr std::string_view kGoOn = "HTTP/1.1 100 Continue\r\n\r\n";
      return Write({asio::buffer(kGoOn.data(), kGoOn.size())}, &Session::ReadMore);
    }
    Request request = std::move(head_->request);
    request.body = received_.substr(0, head_->body_bytes);
    received_.erase(0, head_->body_bytes);
    request.peer = peer_;
    request.number = ++served_;
    ReadTarget(request);
    ++context_->traffic.requests;
    NoLimit();
    if (!context_->handler.TakesLong(request)) return Deliver(Ask(request));
    // The session waits for the worker with nothing pending; then it goes on in its own strand.
    asio::post(context_->workers, [self = shared_from_this(), request = std::move(request)] {
      try {
        asio::post(self->socket_.get_executor(),
                   [self, delivery = self->Ask(request)]() mutable { self->Deliver(std::move(delivery)); });
      } catch (const std::exception&) {
        return;  // no memory to hand the answer over: the connection ends with the session
      }
    });
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

  void Refuse(unsigned status) {
    Delivery delivery = context_->handler.Refuse(status, peer_);
    delivery.keep_alive = false;
    Deliver(std::move(delivery));
  }

  void Deliver(Delivery delivery) {
    delivery_ = std::move(delivery);
    step_ = 0;
    done_ = 0;
    LimitUntil(SteadyClock::now() + context_->limits.answer_time);
    NextStep();
  }

  void NextStep() {
    if (step_ >= delivery_.steps.size()) {
      const bool stay = delivery_.keep_alive && SteadyClock::now() - born_ < context_->limits.connection_time;
      delivery_.steps.clear();
      return stay ? AwaitRequest() : Farewell();
    }
    const Step& step = delivery_.steps[step_];
    switch (step.kind) {
      case Step::Kind::kWrite: {
        // Neighbouring texts leave in one call, so that head and body share a packet.
        std::vector<asio::const_buffer> texts;
        while (step_ < delivery_.steps.size() && delivery_.steps[step_].kind == Step::Kind::kWrite) {
          texts.push_back(asio::buffer(delivery_.steps[step_++].bytes));
        }
        return Write(texts, &Session::NextStep);
      }
      case Step::Kind::kRepeat:
        if (done_++ >= step.count) return Advance();
        return Write({asio::buffer(step.bytes)}, &Session::NextStep);
      case Step::Kind::kDrip:
        if (done_ >= step.bytes.size()) return Advance();
        return Write({asio::buffer(step.bytes.data() + done_++, 1)}, &Session::PauseAfterDrop);
      case Step::Kind::kWait:
        return Pause(step.pause, &Session::Advance);
      case Step::Kind::kHold:
        return Discard();
      case Step::Kind::kClose:
        delivery_.steps.clear();
        return Farewell();
      case Step::Kind::kReset:
        return Reset(socket_);
    }
  }

  void Advance() {
    ++step_;
    done_ = 0;
    NextStep();
  }

  void PauseAfterDrop() { Pause(delivery_.steps[step_].pause, &Session::NextStep); }

  void Write(const std::vector<asio::const_buffer>& texts, Then then) {
    const auto written = [self = shared_from_this(), then](error_code error, std::size_t length) {
      self->context_->traffic.bytes_sent += length;
      if (!error) ((*self).*then)();
    };
    if (tls_) {
      asio::async_write(*tls_, texts, written);
    } else {
      asio::async_write(socket_, texts, written);
    }
  }

  void Pause(std::chrono::milliseconds pause, Then then) {
    pause_timer_.expires_after(pause);
    pause_timer_.async_wait([self = shared_from_this(), then](error_code error) {
      if (!error && self->socket_.is_open()) ((*self).*then)();
    });
  }

  /// Ends the connection in good order: says so, then reads what the client still sends, so that its last
  /// answer is not lost to a reset.
  void Farewell() {
    if (!socket_.is_open()) return;
    LimitUntil(SteadyClock::now() + kFarewellTime);
    if (tls_) {
      tls_->async_shutdown([self = shared_from_this()](error_code) {});
      return;
    }
    error_code error;
    socket_.shutdown(tcp::socket::shutdown_send, error);
    if (!error) Discard();
  }

  void Discard() {
    socket_.async_read_some(asio::buffer(chunk_), [self = shared_from_this()](error_code error, std::size_t) {
      if (!error) self->Discard();
    });
  }

  std::shared_ptr<const Context> context_;
  tcp::socket socket_;
  std::optional<asio::ssl::stream<tcp::socket&>> tls_;
  asio::steady_timer limit_timer_;
  asio::steady_timer pause_timer_;
  SteadyClock::time_point limit_{};  ///< when the operation under way is to end
  std::array<char, 4096> chunk_;
  std::string received_;      ///< what has not been taken yet
  std::size_t searched_ = 0;  ///< so much of it holds no end of a head
  bool begun_ = false;        ///< a byte of the next request is there
  std::optional<Head> head_;  ///< of the request whose body is still coming
  Delivery delivery_;
  std::size_t step_ = 0;
  std::uint64_t done_ = 0;  ///< repetitions or bytes of the present step
  std::uint64_t served_ = 0;
  std::string peer_;
  SteadyClock::time_point born_;
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
      try {
        if (!error) self->Welcome(std::move(socket));
      } catch (const std::exception&) {
        // No memory for this connection: it is closed, and others are accepted.
      }
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
        std::make_shared<Session>(context_, std::move(peer), std::move(socket))
            ->Run(welcome == http::Welcome::kIgnore);
    }
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
