#include "trading_day.h"

#include <algorithm>
#include <array>

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

// An instant outside is moved to one where no sum can overflow.
sys_seconds InChina(std::int64_t time) {
  return sys_seconds(std::clamp(seconds(time), sys_seconds(kFirstDay - days(2)).time_since_epoch(),
                                sys_seconds(kLastDay + days(2)).time_since_epoch())) +
         kChinaOffset;
}

bool IsTradingDay(sys_days day, const IsHoliday& is_holiday) {
  return std::chrono::weekday(day).iso_encoding() <= 5 && !is_holiday(day);
}

sys_days MondayOf(sys_days day) {
  return day - (std::chrono::weekday(day) - std::chrono::Monday);
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

sys_days DayAt(std::int64_t time) {
  return std::chrono::floor<days>(InChina(time));
}

std::int64_t InstantOf(std::uint32_t date, int hour, int minute, int second) {
  using namespace std::chrono;
  const auto day = DayOfDate(date);
  if (!day) {
    return 0;
  }
  const sys_seconds midnight = *day - kChinaOffset;
  return (midnight + hours(hour) + minutes(minute) + seconds(second)).time_since_epoch().count();
}

bool IsOneWeek(std::uint32_t date, std::uint32_t other) {
  const auto a = DayOfDate(date);
  const auto b = DayOfDate(other);
  return a && b && MondayOf(*a) == MondayOf(*b);
}

stock::MarketStatus PhaseAt(std::int64_t time, const IsHoliday& is_holiday) {
  const sys_days day = DayAt(time);
  stock::MarketStatus status = stock::kMarketNotOpened;
  if (IsTradingDay(day, is_holiday)) {
    for (const PhaseStart& start : kPhases) {
      if (InChina(time) - day >= start.clock_time) {
        status = start.phase;
      }
    }
  }
  return status;
}

seconds SpanToNextPhase(std::int64_t time, const IsHoliday& is_holiday) {
  const sys_days day = DayAt(time);
  const seconds clock_time = InChina(time) - day;
  if (IsTradingDay(day, is_holiday)) {
    for (const PhaseStart& start : kPhases) {
      if (start.clock_time > clock_time) {
        return start.clock_time - clock_time;
      }
    }
    return days(1) - clock_time;  // closed until midnight, "not opened" from then on
  }
  days ahead{1};
  while (ahead < kLongestSearch && !IsTradingDay(day + ahead, is_holiday)) {
    ++ahead;
  }
  return ahead + kPhases[1].clock_time - clock_time;
}

std::uint32_t TradingDateBefore(std::uint32_t date, const IsHoliday& is_holiday) {
  const auto day = DayOfDate(date);
  if (!day) {
    return 0;
  }
  for (days back{1}; back <= kLongestSearch; ++back) {
    if (IsTradingDay(*day - back, is_holiday)) {
      return DateOfDay(*day - back);
    }
  }
  return DateOfDay(*day - days(1));
}

}  // namespace stock_host
