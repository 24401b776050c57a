#include "calendar.h"

#include <algorithm>
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
#include "trading_day.h"

namespace stock_host {
namespace {

using std::chrono::seconds;
using namespace std::chrono_literals;

constexpr seconds kFirstDoubt = 1min;
constexpr seconds kSpanInDoubt = 2s;
constexpr seconds kSpanInLongDoubt = 1min;

bool IsKnownHoliday(std::chrono::sys_days day) {
  return TheHolidays().Contain(day);
}

}  // namespace

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
  return stock_host::DateOfDay(stock_host::DayAt(time));
}

std::int64_t DateToTime(std::uint32_t date, int hour, int minute, int second) {
  return stock_host::InstantOf(date, hour, minute, second);
}

bool IsSameWeek(std::uint32_t date, std::uint32_t other) {
  return stock_host::IsOneWeek(date, other);
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
  return stock_host::PhaseAt(time, stock_host::IsKnownHoliday);
}

std::int32_t TimeSpanToNextMarketStatus(std::uint32_t time) {
  using namespace stock_host;
  ServerClockModel& clock = ServerClock();
  const Moment moment = Moment::Now();
  const bool known =
      clock.Sure(moment) && TheHolidays().Know(std::chrono::year_month_day(DayAt(time)).year());
  // A clock that stands still reaches no phase; it may be set or run on at any time.
  const double speed = clock.Speed() > 0 ? clock.Speed() : 1;
  const double span = std::ceil(static_cast<double>(SpanToNextPhase(time, IsKnownHoliday).count()) / speed);
  static PhaseDoubt doubt;
  const auto longest = static_cast<double>(doubt.LongestSpan(!known, moment).count());
  return static_cast<std::int32_t>(std::clamp(span, 1.0, longest));
}

std::uint32_t GetLastTradingDate(std::uint32_t date) {
  return stock_host::TradingDateBefore(date, stock_host::IsKnownHoliday);
}

}  // namespace stock

namespace pattern {

template <>
common::LegalHoliday* CSingleton<common::LegalHoliday>::GetInstance() {
  static common::LegalHoliday instance;
  return &instance;
}

}  // namespace pattern
