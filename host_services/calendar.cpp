#include "calendar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "clock.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "host/singleton.h"
#include "log.h"

namespace stock_host {
namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kChinaOffset = 8 * 3600;
constexpr std::int64_t kFirstDay = -719162;  // 0001-01-01
constexpr std::int64_t kLastDay = 2932896;   // 9999-12-31
// Longer runs of days without trading do not occur; a calendar that claims one is not searched for ever.
constexpr int kLongestSearch = 4000;

// As long as clock or calendar may tell the wrong phase, in seconds.
constexpr double kSpanInDoubt = 2;

struct Holidays {
  std::mutex mutex;  // guards by_year
  std::map<int, std::set<std::int64_t>> by_year;
};

// Leaked: callable until the very end of the process.
Holidays& State() {
  static Holidays* const state = new Holidays;
  return *state;
}

std::int64_t FloorDivide(std::int64_t a, std::int64_t b) {
  return a / b - (a % b < 0 ? 1 : 0);
}

// Gregorian calendar by eras of 400 years that begin on 1 March.
std::int64_t DaysOfCivil(std::int64_t year, std::int64_t month, std::int64_t day) {
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = FloorDivide(year, 400);
  const std::int64_t year_of_era = year - era * 400;
  const std::int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const std::int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

// 0 is Monday.
std::int64_t Weekday(std::int64_t days) {
  return days + 3 - FloorDivide(days + 3, 7) * 7;
}

struct PhaseStart {
  std::int64_t second;  // of the day, China time
  stock::MarketStatus phase;
};
constexpr std::array<PhaseStart, 7> kPhases{{
    {0, stock::kMarketNotOpened},
    {9 * 3600, stock::kMarketPreparing},
    {9 * 3600 + 15 * 60, stock::kMarketCallAuction},
    {9 * 3600 + 30 * 60, stock::kMarketMorning},
    {11 * 3600 + 30 * 60, stock::kMarketLunchBreak},
    {13 * 3600, stock::kMarketAfternoon},
    {15 * 3600, stock::kMarketClosed},
}};

}  // namespace

std::optional<std::int64_t> DaysOfDate(std::uint64_t date) {
  static constexpr std::array<std::uint64_t, 12> kLengths{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const std::uint64_t year = date / 10000;
  const std::uint64_t month = date / 100 % 100;
  const std::uint64_t day = date % 100;
  if (year < 1 || year > 9999 || month < 1 || month > 12) {
    return std::nullopt;
  }
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  if (day < 1 || day > kLengths[month - 1] + (leap && month == 2 ? 1 : 0)) {
    return std::nullopt;
  }
  return DaysOfCivil(static_cast<std::int64_t>(year), static_cast<std::int64_t>(month),
                     static_cast<std::int64_t>(day));
}

std::uint32_t DateOfDays(std::int64_t days) {
  if (days < kFirstDay || days > kLastDay) {
    return 0;
  }
  days += 719468;
  const std::int64_t era = FloorDivide(days, 146097);
  const std::int64_t day_of_era = days - era * 146097;
  const std::int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  const std::int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const std::int64_t shifted_month = (5 * day_of_year + 2) / 153;
  const std::int64_t day = day_of_year - (153 * shifted_month + 2) / 5 + 1;
  const std::int64_t month = shifted_month < 10 ? shifted_month + 3 : shifted_month - 9;
  const std::int64_t year = year_of_era + era * 400 + (month <= 2 ? 1 : 0);
  return static_cast<std::uint32_t>(year * 10000 + month * 100 + day);
}

bool IsTradingDay(std::int64_t days) {
  if (Weekday(days) >= 5) {
    return false;
  }
  const int year = static_cast<int>(DateOfDays(days) / 10000);
  Holidays& state = State();
  const std::lock_guard lock(state.mutex);
  const auto found = state.by_year.find(year);
  return found == state.by_year.end() || !found->second.contains(days);
}

bool KnowsHolidaysOf(int year) {
  Holidays& state = State();
  const std::lock_guard lock(state.mutex);
  return state.by_year.contains(year);
}

std::int64_t SecondsToNextPhase(std::int64_t time) {
  const std::int64_t local = time + kChinaOffset;
  const std::int64_t today = FloorDivide(local, kDay);
  const std::int64_t second = local - today * kDay;
  if (IsTradingDay(today)) {
    for (const PhaseStart& start : kPhases) {
      if (start.second > second) {
        return start.second - second;
      }
    }
    return kDay - second;  // closed until midnight, "not opened" from then on
  }
  for (int ahead = 1; ahead <= kLongestSearch; ++ahead) {
    if (IsTradingDay(today + ahead)) {
      return ahead * kDay + kPhases[1].second - second;
    }
  }
  return kLongestSearch * kDay;
}

}  // namespace stock_host

namespace common {

std::uint32_t TimeToDate(std::int64_t seconds) {
  // Far outside the calendar, where adding the offset could overflow.
  if (seconds < stock_host::kFirstDay * 2 * stock_host::kDay ||
      seconds > stock_host::kLastDay * 2 * stock_host::kDay) {
    return 0;
  }
  return stock_host::DateOfDays(
      stock_host::FloorDivide(seconds + stock_host::kChinaOffset, stock_host::kDay));
}

std::int64_t DateToTime(std::uint32_t date, int hour, int minute, int second) {
  const auto days = stock_host::DaysOfDate(date);
  if (!days) {
    return 0;
  }
  return *days * stock_host::kDay + std::int64_t{hour} * 3600 + std::int64_t{minute} * 60 + second -
         stock_host::kChinaOffset;
}

bool IsSameWeek(std::uint32_t date, std::uint32_t other) {
  const auto a = stock_host::DaysOfDate(date);
  const auto b = stock_host::DaysOfDate(other);
  return a && b && *a - stock_host::Weekday(*a) == *b - stock_host::Weekday(*b);
}

void LegalHoliday::SetHolidays(int year, const std::vector<unsigned long>& days) {
  std::set<std::int64_t> set;
  std::string refused;
  for (const unsigned long date : days) {
    const auto day = stock_host::DaysOfDate(date);
    if (day && static_cast<int>(date / 10000) == year) {
      set.insert(*day);
    } else {
      refused += (refused.empty() ? "" : ", ") + std::to_string(date);
    }
  }
  {
    stock_host::Holidays& state = stock_host::State();
    const std::lock_guard lock(state.mutex);
    state.by_year[year] = std::move(set);
  }
  if (!refused.empty()) {
    stock_host::Log(stock_host::Severity::kWarning,
                    "calendar: no dates of the year " + std::to_string(year) + ", left out: " + refused);
  }
}

}  // namespace common

namespace stock {

MarketStatus CheckMarketStatus(std::uint32_t time) {
  const std::int64_t local = std::int64_t{time} + stock_host::kChinaOffset;
  const std::int64_t today = local / stock_host::kDay;
  MarketStatus status = kMarketNotOpened;
  if (stock_host::IsTradingDay(today)) {
    for (const stock_host::PhaseStart& start : stock_host::kPhases) {
      if (local % stock_host::kDay >= start.second) {
        status = start.phase;
      }
    }
  }
  return status;
}

std::int32_t TimeSpanToNextMarketStatus(std::uint32_t time) {
  stock_host::ServerClockModel& clock = stock_host::ServerClock();
  const bool known = clock.Sure(stock_host::Moment::Now()) &&
                     stock_host::KnowsHolidaysOf(static_cast<int>(common::TimeToDate(time) / 10000));
  const double span = std::ceil(static_cast<double>(stock_host::SecondsToNextPhase(time)) / clock.Speed());
  return static_cast<std::int32_t>(
      std::clamp(span, 1.0, known ? std::numeric_limits<std::int32_t>::max() : stock_host::kSpanInDoubt));
}

std::uint32_t GetLastTradingDate(std::uint32_t date) {
  const auto days = stock_host::DaysOfDate(date);
  if (!days) {
    return 0;
  }
  for (int back = 1; back <= stock_host::kLongestSearch; ++back) {
    if (stock_host::IsTradingDay(*days - back)) {
      return stock_host::DateOfDays(*days - back);
    }
  }
  return stock_host::DateOfDays(*days - 1);
}

}  // namespace stock

namespace pattern {

template <>
common::LegalHoliday* CSingleton<common::LegalHoliday>::GetInstance() {
  static common::LegalHoliday instance;
  return &instance;
}

}  // namespace pattern
