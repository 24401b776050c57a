#include "raw_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>

namespace market_server::testing {

std::string RawAnswer::Field(std::string_view name) const {
  for (const auto& [field, value] : fields) {
    const bool same =
        field.size() == name.size() &&
        std::equal(field.begin(), field.end(), name.begin(), [](char a, char b) {
          return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
        });
    if (same) return value;
  }
  return {};
}

bool HeadIsWhole(const std::string& text) {
  return text.find("\r\n\r\n") != std::string::npos;
}

RawAnswer ParseAnswer(std::string_view text) {
  RawAnswer answer;
  const std::size_t head_end = text.find("\r\n\r\n");
  if (head_end == std::string_view::npos) return answer;
  std::string_view head = text.substr(0, head_end);
  answer.body = text.substr(head_end + 4);
  answer.status_line = head.substr(0, head.find("\r\n"));
  if (answer.status_line.size() > 12) {
    std::from_chars(answer.status_line.data() + 9, answer.status_line.data() + 12, answer.status);
  }
  while (true) {
    const std::size_t next = head.find("\r\n");
    if (next == std::string_view::npos) break;
    head.remove_prefix(next + 2);
    const std::string_view line = head.substr(0, head.find("\r\n"));
    const std::size_t colon = line.find(": ");
    answer.fields.emplace_back(line.substr(0, colon),
                               colon == std::string_view::npos ? "" : line.substr(colon + 2));
  }
  std::size_t length = 0;
  const std::string announced = answer.Field("Content-Length");
  std::from_chars(announced.data(), announced.data() + announced.size(), length);
  answer.complete = !announced.empty() && answer.body.size() >= length;
  return answer;
}

RawClient::RawClient(std::uint16_t port) : port_(port) {
  socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    end_ = End::kRefused;
    ::close(socket_);
    socket_ = -1;
  }
}

RawClient::~RawClient() {
  if (socket_ >= 0) ::close(socket_);
}

std::string RawClient::host() const {
  return "127.0.0.1:" + std::to_string(port_);
}

bool RawClient::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

void RawClient::EndSending() {
  ::shutdown(socket_, SHUT_WR);
}

bool RawClient::SendGet(const std::string& target) {
  return Send("GET " + target + " HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
}

bool RawClient::ReadSome(std::chrono::milliseconds quiet) {
  if (socket_ < 0 || end_ != End::kOpen) return false;
  pollfd waiting{socket_, POLLIN, 0};
  int ready = 0;
  do {
    ready = ::poll(&waiting, 1, static_cast<int>(quiet.count()));
  } while (ready < 0 && errno == EINTR);
  if (ready <= 0) return false;
  char bytes[65536];
  const ssize_t length = ::recv(socket_, bytes, sizeof bytes, 0);
  if (length > 0) {
    received_.append(bytes, static_cast<std::size_t>(length));
    return true;
  }
  end_ = length < 0 && errno == ECONNRESET ? End::kReset : End::kClosed;
  return false;
}

std::string RawClient::ReadAll(std::chrono::milliseconds quiet, std::size_t most) {
  while (received_.size() < most && ReadSome(quiet)) {
  }
  return std::exchange(received_, {});
}

std::string RawClient::ReadUntil(const std::function<bool(const std::string&)>& is_enough) {
  while (!is_enough(received_) && ReadSome()) {
  }
  return std::exchange(received_, {});
}

RawAnswer RawClient::ReadAnswer() {
  static constexpr std::string_view kHeadEnd = "\r\n\r\n";
  std::size_t head = received_.find(kHeadEnd);
  while (head == std::string::npos) {
    if (!ReadSome()) return ParseAnswer(std::exchange(received_, {}));
    head = received_.find(kHeadEnd);
  }
  const RawAnswer begun = ParseAnswer(std::string_view(received_).substr(0, head + kHeadEnd.size()));
  const std::string announced = begun.Field("Content-Length");
  std::size_t length = 0;
  std::from_chars(announced.data(), announced.data() + announced.size(), length);
  const std::size_t end = head + kHeadEnd.size() + length;
  while (received_.size() < end && ReadSome()) {
  }
  RawAnswer answer = ParseAnswer(std::string_view(received_).substr(0, end));
  received_.erase(0, end);
  return answer;
}

RawAnswer RawClient::Get(const std::string& target) {
  SendGet(target);
  return ReadAnswer();
}

}  // namespace market_server::testing
