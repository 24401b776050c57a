#include "market_server/access_log.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "market_server/clock.h"
#include "market_server/model/calendar.h"

namespace market_server {
namespace {

std::string TimeText(double time) {
  const model::Date date = model::DateOf(time);
  const int second = model::SecondOfDay(time);
  char text[64];
  std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02d:%02d:%02d", date / 10000, date / 100 % 100,
                date % 100, second / 3600, second / 60 % 60, second % 60);
  return text;
}

}  // namespace

std::string LogSafe(std::string_view text) {
  constexpr std::size_t kMost = 2000;
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string safe;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte > 0x20 && byte < 0x7f && c != '\\' && c != '"') {
      safe.push_back(c);
    } else {
      safe += "\\x";
      safe.push_back(kDigits[byte >> 4]);
      safe.push_back(kDigits[byte & 15]);
    }
    if (safe.size() > kMost) return safe + "...";
  }
  return safe;
}

AccessLog::AccessLog(const std::string& path) {
  if (path.empty()) return;
  if (path == "-") {
    file_ = STDERR_FILENO;
    return;
  }
  file_ = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
  if (file_ < 0) {
    throw std::runtime_error("cannot write the access log " + path + ": " + std::strerror(errno));
  }
  owned_ = true;
}

AccessLog::~AccessLog() {
  if (owned_) ::close(file_);
}

void AccessLog::Write(const Exchange& exchange, std::size_t bytes, std::chrono::microseconds took) const {
  if (!enabled()) return;
  std::string target = exchange.request.target;
  for (const char* mark : {"&_s=", "?_s="}) {
    for (std::size_t at = target.find(mark); at != std::string::npos; at = target.find(mark)) {
      target.erase(at + 1, target.find('&', at + 1) - at - 1);
    }
  }
  std::string line = TimeText(RealNow()) + " " + TimeText(exchange.instant) + " " + exchange.request.peer +
                     " " + LogSafe(exchange.request.method) + " " + LogSafe(target) + " " +
                     std::to_string(exchange.answer.status) + " " +
                     std::to_string(static_cast<int>(exchange.answer.error)) + " " + std::to_string(bytes) +
                     " " + std::to_string(took.count()) + " " +
                     (exchange.faults.empty() ? "-" : exchange.faults) + "\n";
  // A full disk costs lines, never an answer.
  if (::write(file_, line.data(), line.size()) < 0) return;
}

}  // namespace market_server
