#include "cli/format/china_time.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <ctime>

namespace cli {
namespace {

// In the format of strftime.
std::string Written(std::int64_t seconds, const char* format) {
  const std::time_t shifted = seconds + 8 * 3600;
  std::tm time{};
  gmtime_r(&shifted, &time);
  std::array<char, 64> text{};
  std::strftime(text.data(), text.size(), format, &time);
  return text.data();
}

}  // namespace

std::string IsoTime(std::int64_t seconds) {
  return Written(seconds, "%Y-%m-%dT%H:%M:%S+08:00");
}

std::string DateAndTime(std::int64_t seconds) {
  return Written(seconds, "%Y-%m-%d %H:%M:%S");
}

std::string ClockTime(std::int64_t seconds) {
  return Written(seconds, "%H:%M:%S");
}

std::string DateText(std::uint32_t date) {
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%04u-%02u-%02u", date / 10000, date / 100 % 100, date % 100);
  return text.data();
}

std::string MinuteText(std::int32_t minute) {
  if (minute < 0 || minute >= 2400 || minute % 100 >= 60) {
    return std::to_string(minute);
  }
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d", minute / 100, minute % 100);
  return text.data();
}

std::string PhaseName(stock::MarketStatus phase) {
  static constexpr std::array kNames = {"unknown phase",     "not opened",      "opening preparation",
                                        "call auction",      "morning session", "lunch break",
                                        "afternoon session", "closed"};
  const auto number = static_cast<std::size_t>(phase);
  return kNames[number < kNames.size() ? number : 0];
}

bool IsClosed(stock::MarketStatus phase) {
  return phase == stock::kMarketNotOpened || phase == stock::kMarketClosed;
}

std::string Span(std::int64_t seconds) {
  if (seconds < 60) {
    return std::to_string(seconds) + " s";
  }
  if (seconds < 3600) {
    return std::to_string(seconds / 60) + " min";
  }
  return std::to_string(seconds / 3600) + " h";
}

}  // namespace cli
