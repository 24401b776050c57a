#include "market_server/model/calendar.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace market_server::model {
namespace {

constexpr std::int64_t kChinaOffset = 8 * 3600;
constexpr std::int64_t kDay = 86400;

/// Days since 1970-01-01 of the proleptic Gregorian calendar, and back (years 0 to 9999).
constexpr std::int64_t DaysFromCivil(int year, int month, int day) {
  const int y = month <= 2 ? year - 1 : year;
  const int era = (y >= 0 ? y : y - 399) / 400;
  const int year_of_era = y - era * 400;
  const int day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return std::int64_t{era} * 146097 + day_of_era - 719468;
}

constexpr Date CivilFromDays(std::int64_t days) {
  const std::int64_t z = days + 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t doe = z - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  const std::int64_t day = doy - (153 * mp + 2) / 5 + 1;
  const std::int64_t month = mp < 10 ? mp + 3 : mp - 9;
  const std::int64_t year = yoe + era * 400 + (month <= 2 ? 1 : 0);
  return static_cast<Date>(year * 10000 + month * 100 + day);
}

constexpr std::int64_t DaysOf(Date date) {
  return DaysFromCivil(static_cast<int>(date / 10000), static_cast<int>(date / 100 % 100),
                       static_cast<int>(date % 100));
}

constexpr Instant kEarliest = -6.0e10;  // about the years 60 to 3870: dates have four digits of year there
constexpr Instant kLatest = 6.0e10;

std::int64_t ChinaSeconds(Instant time) {
  if (!(time > kEarliest)) {  // not a number, too
    time = kEarliest;
  }
  return static_cast<std::int64_t>(std::floor(std::min(time, kLatest))) + kChinaOffset;
}

std::int64_t FloorDiv(std::int64_t a, std::int64_t b) {
  return a >= 0 ? a / b : -((-a + b - 1) / b);
}

/// Weekdays without trading, as month * 100 + day.
struct YearOfHolidays {
  int year;
  std::array<int, 24> days;
};
constexpr std::array kHolidays{
    YearOfHolidays{
        2015, {101, 102, 218, 219, 220, 223, 224, 406, 501, 622, 903, 904, 1001, 1002, 1005, 1006, 1007}},
    YearOfHolidays{
        2016, {101, 208, 209, 210, 211, 212, 404, 502, 609, 610, 915, 916, 1003, 1004, 1005, 1006, 1007}},
    YearOfHolidays{2017,
                   {102, 127, 130, 131, 201, 202, 403, 404, 501, 529, 530, 1002, 1003, 1004, 1005, 1006}},
    YearOfHolidays{
        2018,
        {101, 215, 216, 219, 220, 221, 405, 406, 430, 501, 618, 924, 1001, 1002, 1003, 1004, 1005, 1231}},
    YearOfHolidays{
        2019, {101, 204, 205, 206, 207, 208, 405, 501, 502, 503, 607, 913, 1001, 1002, 1003, 1004, 1007}},
    YearOfHolidays{2020,
                   {101, 124, 127, 128, 129, 130, 131, 406, 501, 504, 505, 625, 626, 1001, 1002, 1005, 1006,
                    1007, 1008}},
    YearOfHolidays{
        2021,
        {101, 211, 212, 215, 216, 217, 405, 503, 504, 505, 614, 920, 921, 1001, 1004, 1005, 1006, 1007}},
    YearOfHolidays{
        2022,
        {103, 131, 201, 202, 203, 204, 404, 405, 502, 503, 504, 603, 912, 1003, 1004, 1005, 1006, 1007}},
    YearOfHolidays{
        2023,
        {102, 123, 124, 125, 126, 127, 405, 501, 502, 503, 622, 623, 929, 1002, 1003, 1004, 1005, 1006}},
    YearOfHolidays{2024, {101, 209, 212, 213, 214, 215,  216,  404,  405,  501,
                          502, 503, 610, 916, 917, 1001, 1002, 1003, 1004, 1007}},
    YearOfHolidays{
        2025,
        {101, 128, 129, 130, 131, 203, 204, 404, 501, 502, 505, 602, 1001, 1002, 1003, 1006, 1007, 1008}},
    YearOfHolidays{
        2026,
        {101, 102, 216, 217, 218, 219, 220, 223, 406, 501, 504, 505, 619, 925, 1001, 1002, 1005, 1006, 1007}},
    YearOfHolidays{
        2027,
        {101, 205, 208, 209, 210, 211, 212, 405, 503, 504, 505, 609, 915, 1001, 1004, 1005, 1006, 1007}},
};
constexpr std::array<int, 11> kFixedHolidays{101, 501, 502, 503, 1001, 1002, 1003, 1004, 1005, 1006, 1007};

std::span<const int> ClosedDays(int year) {
  const auto* found = std::find_if(kHolidays.begin(), kHolidays.end(),
                                   [&](const YearOfHolidays& y) { return y.year == year; });
  if (found == kHolidays.end()) {
    return kFixedHolidays;
  }
  const auto end = std::find(found->days.begin(), found->days.end(), 0);
  return {found->days.begin(), end};
}

std::vector<Date> MakeTradingDays() {
  std::vector<Date> days;
  days.reserve(5300);
  const std::int64_t last = DaysOf(kLastTradingDay);
  for (std::int64_t d = DaysOf(kFirstTradingDay); d <= last; ++d) {
    const Date date = CivilFromDays(d);
    if (IsTradingDay(date)) {
      days.push_back(date);
    }
  }
  return days;
}

}  // namespace

Date DateOf(Instant time) {
  return CivilFromDays(FloorDiv(ChinaSeconds(time), kDay));
}

int SecondOfDay(Instant time) {
  const std::int64_t seconds = ChinaSeconds(time);
  return static_cast<int>(seconds - FloorDiv(seconds, kDay) * kDay);
}

Instant InstantOf(Date date, int hour, int minute, int second) {
  return static_cast<Instant>(DaysOf(date) * kDay + hour * 3600 + minute * 60 + second - kChinaOffset);
}

bool IsDate(Date date) {
  const Date month = date / 100 % 100;
  const Date day = date % 100;
  return date <= 99991231 && month >= 1 && month <= 12 && day >= 1 && day <= 31 &&
         CivilFromDays(DaysOf(date)) == date;
}

int Weekday(Date date) {
  const std::int64_t days = DaysOf(date) + 4;  // 1970-01-01 was a Thursday
  return static_cast<int>(days - FloorDiv(days, 7) * 7);
}

bool IsTradingDay(Date date) {
  if (!IsDate(date)) {
    return false;
  }
  const int day = Weekday(date);
  if (day == 0 || day == 6) {
    return false;
  }
  const auto closed = ClosedDays(static_cast<int>(date / 10000));
  return std::find(closed.begin(), closed.end(), static_cast<int>(date % 10000)) == closed.end();
}

std::vector<Date> Holidays(int year) {
  std::vector<Date> days;
  if (year < 1 || year > 9999) {
    return days;
  }
  for (const int day : ClosedDays(year)) {
    const Date date = static_cast<Date>(year * 10000 + day);
    if (Weekday(date) != 0 && Weekday(date) != 6) {
      days.push_back(date);
    }
  }
  return days;
}

Date PreviousTradingDay(Date date) {
  std::int64_t d = DaysOf(date) - 1;
  while (!IsTradingDay(CivilFromDays(d))) {
    --d;
  }
  return CivilFromDays(d);
}

Date NextTradingDay(Date date) {
  std::int64_t d = DaysOf(date) + 1;
  while (!IsTradingDay(CivilFromDays(d))) {
    ++d;
  }
  return CivilFromDays(d);
}

Phase PhaseAt(Instant time) {
  const int second = SecondOfDay(time);
  if (second < 9 * 3600 || !IsTradingDay(DateOf(time))) {
    return Phase::kClosed;
  }
  if (second < 9 * 3600 + 15 * 60) {
    return Phase::kPreparing;
  }
  if (second < 9 * 3600 + 30 * 60) {
    return Phase::kCallAuction;
  }
  if (second < 11 * 3600 + 30 * 60) {
    return Phase::kMorning;
  }
  if (second < 13 * 3600) {
    return Phase::kLunch;
  }
  return second < 15 * 3600 ? Phase::kAfternoon : Phase::kAfterClose;
}

Date SessionDate(Instant time) {
  const Date today = DateOf(time);
  if (today < kFirstTradingDay) {
    return kFirstTradingDay;
  }
  if (today > kLastTradingDay) {
    return TradingDays().back();
  }
  const bool begun = IsTradingDay(today) && SecondOfDay(time) >= 9 * 3600 + 15 * 60;
  return begun ? today : std::max(PreviousTradingDay(today), kFirstTradingDay);
}

bool IsOpen(Instant time) {
  const Phase phase = PhaseAt(time);
  return phase == Phase::kCallAuction || phase == Phase::kMorning || phase == Phase::kAfternoon;
}

std::span<const Date> TradingDays() {
  static const std::vector<Date>& days = *new std::vector<Date>(MakeTradingDays());
  return days;
}

int DayNumber(Date date) {
  const auto days = TradingDays();
  const auto found = std::lower_bound(days.begin(), days.end(), date);
  return found != days.end() && *found == date ? static_cast<int>(found - days.begin()) : -1;
}

}  // namespace market_server::model
