#include "market_rules.h"

#include <array>
#include <chrono>

namespace market_rules {
namespace {

constexpr std::int64_t kDaySeconds = 86400;
constexpr std::int64_t kChinaOffset = 8 * 3600;

struct PhaseStart {
  int second_of_day;
  int phase;
};
constexpr std::array<PhaseStart, 6> kPhases = {{{9 * 3600, 2},
                                                {9 * 3600 + 15 * 60, 3},
                                                {9 * 3600 + 30 * 60, 4},
                                                {11 * 3600 + 30 * 60, 5},
                                                {13 * 3600, 6},
                                                {15 * 3600, 7}}};

std::int64_t FloorDivide(std::int64_t value, std::int64_t divisor) {
  const std::int64_t quotient = value / divisor;
  return value % divisor < 0 ? quotient - 1 : quotient;
}

bool IsUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
         c == '_' || c == '~';
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

std::int64_t DayOfDate(std::uint32_t date) {
  using namespace std::chrono;
  const year_month_day ymd{year{static_cast<int>(date / 10000)}, month{date / 100 % 100}, day{date % 100}};
  return sys_days{ymd}.time_since_epoch().count();
}

std::uint32_t DateOfDay(std::int64_t day) {
  using namespace std::chrono;
  const year_month_day ymd{sys_days{days{static_cast<int>(day)}}};
  return static_cast<std::uint32_t>(static_cast<int>(ymd.year())) * 10000 +
         static_cast<unsigned>(ymd.month()) * 100 + static_cast<unsigned>(ymd.day());
}

std::uint32_t DateOfTime(std::int64_t seconds) {
  return DateOfDay(FloorDivide(seconds + kChinaOffset, kDaySeconds));
}

std::int64_t TimeOfDate(std::uint32_t date, int hour, int minute, int second) {
  return DayOfDate(date) * kDaySeconds - kChinaOffset + hour * 3600 + minute * 60 + second;
}

bool SameWeek(std::uint32_t date, std::uint32_t other) {
  // 1970-01-01 was a Thursday: day -3 is a Monday.
  return FloorDivide(DayOfDate(date) + 3, 7) == FloorDivide(DayOfDate(other) + 3, 7);
}

bool IsTradingDay(std::int64_t day, const std::set<std::uint32_t>& holidays) {
  const std::int64_t weekday = (day + 3) - FloorDivide(day + 3, 7) * 7;
  return weekday < 5 && holidays.count(DateOfDay(day)) == 0;
}

int PhaseAt(std::int64_t seconds, const std::set<std::uint32_t>& holidays) {
  const std::int64_t day = FloorDivide(seconds + kChinaOffset, kDaySeconds);
  const std::int64_t second_of_day = seconds + kChinaOffset - day * kDaySeconds;
  int phase = 1;
  if (!IsTradingDay(day, holidays)) return phase;
  for (const PhaseStart& start : kPhases) {
    if (second_of_day >= start.second_of_day) phase = start.phase;
  }
  return phase;
}

std::int32_t SpanAt(std::int64_t seconds, const std::set<std::uint32_t>& holidays) {
  const std::int64_t today = FloorDivide(seconds + kChinaOffset, kDaySeconds);
  const int phase = PhaseAt(seconds, holidays);
  for (std::int64_t day = today; day <= today + 40; ++day) {
    const std::int64_t midnight = day * kDaySeconds - kChinaOffset;
    if (midnight > seconds && PhaseAt(midnight, holidays) != phase) {
      return static_cast<std::int32_t>(midnight - seconds);
    }
    for (const PhaseStart& start : kPhases) {
      const std::int64_t moment = midnight + start.second_of_day;
      if (moment > seconds && PhaseAt(moment, holidays) != phase) {
        return static_cast<std::int32_t>(moment - seconds);
      }
    }
  }
  return static_cast<std::int32_t>(kDaySeconds);
}

std::string PercentEncode(const std::string& text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (IsUnreserved(byte)) {
      encoded.push_back(c);
    } else {
      encoded.push_back('%');
      encoded.push_back(kHex[byte >> 4]);
      encoded.push_back(kHex[byte & 0x0F]);
    }
  }
  return encoded;
}

std::string PercentDecode(const std::string& text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool escape =
        text[at] == '%' && at + 2 < text.size() && HexValue(text[at + 1]) >= 0 && HexValue(text[at + 2]) >= 0;
    if (escape) {
      decoded.push_back(static_cast<char>(HexValue(text[at + 1]) * 16 + HexValue(text[at + 2])));
      at += 2;
    } else {
      decoded.push_back(text[at]);
    }
  }
  return decoded;
}

}  // namespace market_rules
