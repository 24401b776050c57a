#include "cli/commands/network_probe.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <system_error>

namespace cli {
namespace {

struct FreeAddresses {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

Addresses LookUp(const HostAndPort& server, std::string& trouble) {
  addrinfo wanted{};
  wanted.ai_family = AF_UNSPEC;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(server.host.c_str(), server.port.c_str(), &wanted, &found);
  if (error != 0) {
    trouble = error == EAI_SYSTEM ? std::generic_category().message(errno) : gai_strerror(error);
    return nullptr;
  }
  return Addresses(found);
}

// 0 or the number of the error.
int TryToConnect(const addrinfo& address, std::chrono::milliseconds limit) {
  const int fd = socket(address.ai_family, address.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    return errno;
  }
  int error = connect(fd, address.ai_addr, address.ai_addrlen) == 0 ? 0 : errno;
  if (error == EINPROGRESS) {
    pollfd connected{fd, POLLOUT, 0};
    socklen_t size = sizeof error;
    if (poll(&connected, 1, static_cast<int>(limit.count())) != 1) {
      error = ETIMEDOUT;
    } else if (getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) != 0) {
      error = errno;
    }
  }
  close(fd);
  return error;
}

}  // namespace

std::optional<HostAndPort> HostAndPortOf(const std::string& url) {
  const std::size_t scheme_end = url.find("://");
  if (scheme_end == std::string::npos) {
    return std::nullopt;
  }
  const std::string rest = url.substr(scheme_end + 3);
  const std::string authority = rest.substr(0, rest.find_first_of("/?#"));
  const std::size_t bracket = authority.find(']');  // of an IPv6 address
  const std::size_t colon = authority.find(':', bracket == std::string::npos ? 0 : bracket);
  HostAndPort server{authority.substr(0, colon),
                     colon == std::string::npos ? std::string() : authority.substr(colon + 1)};
  if (server.host.size() > 2 && server.host.front() == '[') {
    server.host = server.host.substr(1, server.host.size() - 2);
  }
  if (server.port.empty()) {
    server.port = url.rfind("https", 0) == 0 ? "443" : "80";
  }
  return server.host.empty() ? std::nullopt : std::optional(server);
}

std::string NameTrouble(const HostAndPort& server) {
  std::string trouble;
  (void)LookUp(server, trouble);
  return trouble;
}

std::string ConnectionTrouble(const HostAndPort& server, std::chrono::milliseconds limit) {
  std::string trouble;
  const Addresses addresses = LookUp(server, trouble);
  for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
    const int error = TryToConnect(*address, limit);
    if (error == 0) {
      return {};
    }
    trouble = std::generic_category().message(error);
  }
  return trouble;
}

}  // namespace cli
