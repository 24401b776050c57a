#include "cli/format/china_time.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace cli {
namespace {

struct Fields {
  int year;
  unsigned month;
  unsigned day;
  int hour;
  int minute;
  int second;
};

Fields Split(std::int64_t seconds) {
  using namespace std::chrono;
  const sys_seconds shifted{std::chrono::seconds{seconds} + hours{8}};
  const auto day = floor<days>(shifted);
  const year_month_day date{day};
  const hh_mm_ss time{shifted - day};
  return {static_cast<int>(date.year()),
          static_cast<unsigned>(date.month()),
          static_cast<unsigned>(date.day()),
          static_cast<int>(time.hours().count()),
          static_cast<int>(time.minutes().count()),
          static_cast<int>(time.seconds().count())};
}

std::string Written(std::int64_t seconds, const char* between, const char* after) {
  const Fields f = Split(seconds);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02u%s%02d:%02d:%02d%s", f.year, f.month, f.day, between,
                f.hour, f.minute, f.second, after);
  return text.data();
}

}  // namespace

std::string IsoTime(std::int64_t seconds) {
  return Written(seconds, "T", "+08:00");
}

std::string DateAndTime(std::int64_t seconds) {
  return Written(seconds, " ", "");
}

std::string ClockTime(std::int64_t seconds) {
  const Fields f = Split(seconds);
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%02d:%02d:%02d", f.hour, f.minute, f.second);
  return text.data();
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
  switch (phase) {
    case stock::kMarketNotOpened:
      return "not opened";
    case stock::kMarketPreparing:
      return "opening preparation";
    case stock::kMarketCallAuction:
      return "call auction";
    case stock::kMarketMorning:
      return "morning session";
    case stock::kMarketLunchBreak:
      return "lunch break";
    case stock::kMarketAfternoon:
      return "afternoon session";
    case stock::kMarketClosed:
      return "closed";
    case stock::kMarketUnknown:
      break;
  }
  return "unknown phase";
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
