#include "calendar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "clock.h"
#include "holidays.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "host/singleton.h"
#include "log.h"

namespace stock_host {
namespace {

using std::chrono::days;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using namespace std::chrono_literals;

constexpr auto kChinaOffset = 8h;
constexpr sys_days kFirstDay{1y / 1 / 1};
constexpr sys_days kLastDay{9999y / 12 / 31};
// Longer runs of days without trading do not occur; a calendar that claims one is not searched for ever.
constexpr days kLongestSearch{4000};
constexpr seconds kFirstDoubt = 1min;
constexpr seconds kSpanInDoubt = 2s;
constexpr seconds kSpanInLongDoubt = 1min;

struct PhaseStart {
  seconds clock_time;
  stock::MarketStatus phase;
};
constexpr std::array<PhaseStart, 7> kPhases{{
    {0h, stock::kMarketNotOpened},
    {9h, stock::kMarketPreparing},
    {9h + 15min, stock::kMarketCallAuction},
    {9h + 30min, stock::kMarketMorning},
    {11h + 30min, stock::kMarketLunchBreak},
    {13h, stock::kMarketAfternoon},
    {15h, stock::kMarketClosed},
}};

struct ChinaTime {
  sys_days day;
  seconds clock_time;
};

// A time outside the calendar falls on a day outside, where no sum can overflow.
ChinaTime InChina(std::int64_t time) {
  const sys_seconds clamped(std::clamp(seconds(time), sys_seconds(kFirstDay - days(2)).time_since_epoch(),
                                       sys_seconds(kLastDay + days(2)).time_since_epoch()));
  const sys_seconds local = clamped + kChinaOffset;
  const sys_days day = std::chrono::floor<days>(local);
  return {day, local - day};
}

bool IsTradingDay(sys_days day) {
  return std::chrono::weekday(day).iso_encoding() <= 5 && !TheHolidays().Contain(day);
}

sys_days MondayOf(sys_days day) {
  return day - (std::chrono::weekday(day) - std::chrono::Monday);
}

seconds SpanToNextPhase(const ChinaTime& now) {
  if (IsTradingDay(now.day)) {
    for (const PhaseStart& start : kPhases) {
      if (start.clock_time > now.clock_time) {
        return start.clock_time - now.clock_time;
      }
    }
    return days(1) - now.clock_time;  // closed until midnight, "not opened" from then on
  }
  days ahead{1};
  while (ahead < kLongestSearch && !IsTradingDay(now.day + ahead)) {
    ++ahead;
  }
  return ahead + kPhases[1].clock_time - now.clock_time;
}

}  // namespace

std::optional<sys_days> DayOfDate(std::uint64_t date) {
  const std::uint64_t year = date / 10000;
  if (year < 1 || year > 9999) {
    return std::nullopt;
  }
  const std::chrono::year_month_day civil(std::chrono::year(static_cast<int>(year)),
                                          std::chrono::month(static_cast<unsigned>(date / 100 % 100)),
                                          std::chrono::day(static_cast<unsigned>(date % 100)));
  return civil.ok() ? std::optional(sys_days(civil)) : std::nullopt;
}

std::uint32_t DateOfDay(sys_days day) {
  if (day < kFirstDay || day > kLastDay) {
    return 0;
  }
  const std::chrono::year_month_day civil(day);
  return static_cast<std::uint32_t>(static_cast<int>(civil.year())) * 10000 +
         static_cast<unsigned>(civil.month()) * 100 + static_cast<unsigned>(civil.day());
}

seconds PhaseDoubt::LongestSpan(bool in_doubt, const Moment& now) {
  const std::lock_guard lock(mutex_);
  if (!in_doubt) {
    since_.reset();
    return seconds(std::numeric_limits<std::int32_t>::max());
  }
  since_ = since_.value_or(now.elapsed);
  return now.elapsed - *since_ < kFirstDoubt ? kSpanInDoubt : kSpanInLongDoubt;
}

}  // namespace stock_host

namespace common {

std::uint32_t TimeToDate(std::int64_t time) {
  return stock_host::DateOfDay(stock_host::InChina(time).day);
}

std::int64_t DateToTime(std::uint32_t date, int hour, int minute, int second) {
  using namespace std::chrono;
  const auto day = stock_host::DayOfDate(date);
  if (!day) {
    return 0;
  }
  const sys_seconds midnight = *day - stock_host::kChinaOffset;
  return (midnight + hours(hour) + minutes(minute) + seconds(second)).time_since_epoch().count();
}

bool IsSameWeek(std::uint32_t date, std::uint32_t other) {
  const auto a = stock_host::DayOfDate(date);
  const auto b = stock_host::DayOfDate(other);
  return a && b && stock_host::MondayOf(*a) == stock_host::MondayOf(*b);
}

void LegalHoliday::SetHolidays(int year, const std::vector<unsigned long>& days) {
  stock_host::Holidays::Days holidays;
  std::string refused;
  for (const unsigned long date : days) {
    const auto day = stock_host::DayOfDate(date);
    if (day && static_cast<int>(date / 10000) == year) {
      holidays.insert(*day);
    } else {
      refused += (refused.empty() ? "" : ", ") + std::to_string(date);
    }
  }
  if (year >= 1 && year <= 9999) {
    stock_host::TheHolidays().Set(std::chrono::year(year), std::move(holidays));
  }
  if (!refused.empty()) {
    stock_host::Log(stock_host::Severity::kWarning,
                    "calendar: no dates of the year " + std::to_string(year) + ", left out: " + refused);
  }
}

}  // namespace common

namespace stock {

MarketStatus CheckMarketStatus(std::uint32_t time) {
  const stock_host::ChinaTime now = stock_host::InChina(time);
  MarketStatus status = kMarketNotOpened;
  if (stock_host::IsTradingDay(now.day)) {
    for (const stock_host::PhaseStart& start : stock_host::kPhases) {
      if (now.clock_time >= start.clock_time) {
        status = start.phase;
      }
    }
  }
  return status;
}

std::int32_t TimeSpanToNextMarketStatus(std::uint32_t time) {
  using namespace stock_host;
  const ChinaTime now = InChina(time);
  ServerClockModel& clock = ServerClock();
  const Moment moment = Moment::Now();
  const bool known = clock.Sure(moment) && TheHolidays().Know(std::chrono::year_month_day(now.day).year());
  // A clock that stands still reaches no phase; it may be set or run on at any time.
  const double speed = clock.Speed() > 0 ? clock.Speed() : 1;
  const double span = std::ceil(static_cast<double>(SpanToNextPhase(now).count()) / speed);
  static PhaseDoubt doubt;
  const auto longest = static_cast<double>(doubt.LongestSpan(!known, moment).count());
  return static_cast<std::int32_t>(std::clamp(span, 1.0, longest));
}

std::uint32_t GetLastTradingDate(std::uint32_t date) {
  using namespace stock_host;
  const auto day = DayOfDate(date);
  if (!day) {
    return 0;
  }
  for (std::chrono::days back{1}; back <= kLongestSearch; ++back) {
    if (IsTradingDay(*day - back)) {
      return DateOfDay(*day - back);
    }
  }
  return DateOfDay(*day - std::chrono::days(1));
}

}  // namespace stock

namespace pattern {

template <>
common::LegalHoliday* CSingleton<common::LegalHoliday>::GetInstance() {
  static common::LegalHoliday instance;
  return &instance;
}

}  // namespace pattern
