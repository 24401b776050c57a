#include "loopback_server.h"

#include <zlib.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/write.hpp>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "certificate.h"
#include "host/text.h"

namespace host_test {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using Error = boost::system::error_code;

class Plain final : public LoopbackServer::Connection {
 public:
  explicit Plain(tcp::socket socket) : socket_(std::move(socket)) {}

 protected:
  void Abort() override {
    Error ignored;
    socket_.set_option(asio::socket_base::linger(true, 0), ignored);
    socket_.close(ignored);
  }
  std::size_t ReadSome(char* bytes, std::size_t size) override {
    Error error;
    const std::size_t got = socket_.read_some(asio::buffer(bytes, size), error);
    return error ? 0 : got;
  }
  bool WriteAll(std::string_view bytes) override {
    Error error;
    asio::write(socket_, asio::buffer(bytes), error);
    return !error;
  }
  void Shut() override { ::shutdown(socket_.native_handle(), SHUT_RDWR); }

 private:
  tcp::socket socket_;
};

class Secure final : public LoopbackServer::Connection {
 public:
  Secure(tcp::socket socket, asio::ssl::context& context) : stream_(std::move(socket), context) {}

 protected:
  void Abort() override {
    Error ignored;
    stream_.next_layer().set_option(asio::socket_base::linger(true, 0), ignored);
    stream_.next_layer().close(ignored);
  }
  std::size_t ReadSome(char* bytes, std::size_t size) override {
    Error error;
    if (!Ready()) {
      return 0;
    }
    const std::size_t got = stream_.read_some(asio::buffer(bytes, size), error);
    return error ? 0 : got;
  }
  bool WriteAll(std::string_view bytes) override {
    Error error;
    if (!Ready()) {
      return false;
    }
    asio::write(stream_, asio::buffer(bytes), error);
    return !error;
  }
  void Shut() override { ::shutdown(stream_.next_layer().native_handle(), SHUT_RDWR); }

 private:
  bool Ready() {
    if (!ready_) {
      Error error;
      stream_.handshake(asio::ssl::stream_base::server, error);
      ready_ = !error;
    }
    return ready_;
  }

  asio::ssl::stream<tcp::socket> stream_;
  bool ready_ = false;
};

}  // namespace

struct LoopbackServer::Impl {
  asio::io_context io;
  tcp::acceptor acceptor{io, tcp::endpoint(asio::ip::address_v4::loopback(), 0)};
  std::unique_ptr<asio::ssl::context> tls;
  std::uint16_t port = acceptor.local_endpoint().port();
  std::thread accepting;

  std::mutex mutex;  // guards all members below
  std::condition_variable changed;
  bool stopping = false;
  std::vector<std::thread> threads;
  std::set<Connection*> open;
};

std::string LoopbackServer::Connection::ReadRequest() {
  for (;;) {
    const std::size_t end = unread_.find("\r\n\r\n");
    if (end != std::string::npos) {
      std::string request = unread_.substr(0, end + 4);
      unread_.erase(0, end + 4);
      requests_before = server_->requests_++;
      return request;
    }
    std::string piece(4096, '\0');
    const std::size_t got = ReadSome(piece.data(), piece.size());
    if (got == 0) {
      return {};
    }
    unread_.append(piece, 0, got);
  }
}

bool LoopbackServer::Connection::Write(std::string_view bytes) {
  return WriteAll(bytes);
}

bool LoopbackServer::Connection::Answer(std::string_view body, std::string_view more_header_lines) {
  std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n";
  answer.append(more_header_lines).append("\r\n").append(body);
  return Write(answer);
}

void LoopbackServer::Connection::WaitForClose() {
  std::string bytes(4096, '\0');
  while (ReadSome(bytes.data(), bytes.size()) > 0) {
  }
}

bool LoopbackServer::Connection::Pause(std::chrono::milliseconds time) {
  std::unique_lock lock(server_->impl_->mutex);
  return !server_->impl_->changed.wait_for(lock, time, [this] { return server_->impl_->stopping; });
}

// Under the lock under which the server shuts its connections.
void LoopbackServer::Connection::Reset() {
  const std::lock_guard lock(server_->impl_->mutex);
  Abort();
}

LoopbackServer::LoopbackServer(Handler handler, const Certificate* certificate)
    : handler_(std::move(handler)), impl_(std::make_unique<Impl>()) {
  if (certificate != nullptr) {
    impl_->tls = std::make_unique<asio::ssl::context>(asio::ssl::context::tls_server);
    impl_->tls->use_certificate_chain(asio::buffer(certificate->pem));
    impl_->tls->use_private_key(asio::buffer(certificate->key_pem), asio::ssl::context::pem);
    if (certificate->highest_version != 0) {
      SSL_CTX_set_security_level(impl_->tls->native_handle(), 0);
      SSL_CTX_set_min_proto_version(impl_->tls->native_handle(), TLS1_VERSION);
      SSL_CTX_set_max_proto_version(impl_->tls->native_handle(), certificate->highest_version);
    }
  }
  impl_->accepting = std::thread([this] { Accept(); });
}

LoopbackServer::~LoopbackServer() {
  ::shutdown(impl_->acceptor.native_handle(), SHUT_RDWR);
  std::vector<std::thread> threads;
  {
    const std::lock_guard lock(impl_->mutex);
    impl_->stopping = true;
    impl_->changed.notify_all();
    for (Connection* connection : impl_->open) {
      connection->Shut();
    }
  }
  impl_->accepting.join();
  {
    const std::lock_guard lock(impl_->mutex);
    threads.swap(impl_->threads);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

void LoopbackServer::Accept() {
  for (;;) {
    Error error;
    tcp::socket socket(impl_->io);
    impl_->acceptor.accept(socket, error);
    if (error) {
      return;
    }
    std::shared_ptr<Connection> connection;
    if (impl_->tls) {
      connection = std::make_shared<Secure>(std::move(socket), *impl_->tls);
    } else {
      connection = std::make_shared<Plain>(std::move(socket));
    }
    connection->server_ = this;
    connection->number = connections_++;
    const std::lock_guard lock(impl_->mutex);
    if (impl_->stopping) {
      return;
    }
    impl_->open.insert(connection.get());
    impl_->threads.emplace_back([this, connection] {
      handler_(*connection);
      const std::lock_guard inner(impl_->mutex);
      impl_->open.erase(connection.get());
      connection->Shut();
    });
  }
}

std::string LoopbackServer::Url(std::string_view path) const {
  return (impl_->tls ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(impl_->port) +
         std::string(path);
}

std::wstring LoopbackServer::WideUrl(std::string_view path) const {
  return common::s2ws(Url(path), common::kUtf8);
}

std::uint16_t LoopbackServer::port() const {
  return impl_->port;
}

LoopbackServer::Handler Answering(std::string body, std::string more_header_lines) {
  return
      [body = std::move(body), more = std::move(more_header_lines)](LoopbackServer::Connection& connection) {
        while (!connection.ReadRequest().empty() && connection.Answer(body, more)) {
        }
      };
}

std::uint16_t ClosedPort() {
  // Held, so that nobody else gets it, and not listened on.
  static asio::io_context io;
  static const tcp::socket holder(io, tcp::endpoint(asio::ip::address_v4::loopback(), 0));
  return holder.local_endpoint().port();
}

std::string Gzipped(std::string_view text) {
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  std::string packed(deflateBound(&stream, text.size()) + 64, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

}  // namespace host_test
