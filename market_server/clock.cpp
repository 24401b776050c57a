#include "market_server/clock.h"

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "market_server/model/calendar.h"

namespace market_server {
namespace {

constexpr int kAuction = 9 * 3600 + 15 * 60;
constexpr int kOpen = 9 * 3600 + 30 * 60;
constexpr int kUnderWay = 10 * 3600 + 30 * 60;  // charts and counts have something to show
constexpr int kClose = 15 * 3600;

double SteadyNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// Takes a number of one to `digits` digits off the front of `text`.
bool TakeNumber(std::string_view& text, std::size_t digits, std::uint32_t& number) {
  const std::string_view head = text.substr(0, digits);
  const auto [end, error] = std::from_chars(head.data(), head.data() + head.size(), number);
  if (error != std::errc{}) return false;
  text.remove_prefix(static_cast<std::size_t>(end - head.data()));
  return true;
}

bool Take(std::string_view& text, char c) {
  if (text.empty() || text.front() != c) return false;
  text.remove_prefix(1);
  return true;
}

/// "HH:MM" or "HH:MM:SS", all of `text`.
bool ReadTimeOfDay(std::string_view text, int& second) {
  std::uint32_t hours = 0;
  std::uint32_t minutes = 0;
  std::uint32_t seconds = 0;
  if (!TakeNumber(text, 2, hours) || !Take(text, ':') || !TakeNumber(text, 2, minutes)) return false;
  if (Take(text, ':') && !TakeNumber(text, 2, seconds)) return false;
  if (!text.empty() || hours > 23 || minutes > 59 || seconds > 59) return false;
  second = static_cast<int>(hours * 3600 + minutes * 60 + seconds);
  return true;
}

/// "YYYY-MM-DD" or "YYYYMMDD" off the front of `text`.
bool TakeDate(std::string_view& text, std::uint32_t& date) {
  std::string_view rest = text;
  std::uint32_t year = 0;
  std::uint32_t month = 0;
  std::uint32_t day = 0;
  if (rest.size() < 8 || !TakeNumber(rest, 4, year)) return false;
  const bool dashes = Take(rest, '-');
  if (!TakeNumber(rest, 2, month)) return false;
  if (dashes && !Take(rest, '-')) return false;
  if (!TakeNumber(rest, 2, day)) return false;
  date = year * 10000 + month * 100 + day;
  if (!model::IsDate(date)) return false;
  text = rest;
  return true;
}

}  // namespace

double RealNow() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

double ParseClock(std::string_view text, double now) {
  const std::string given(text);
  const auto refuse = [&given]() -> std::runtime_error {
    return std::runtime_error(
        "\"" + given + "\" is no clock: give now, replay, HH:MM[:SS], YYYY-MM-DD[ HH:MM[:SS]] or @SECONDS");
  };
  if (text == "now") return now;
  const model::Date today = model::DateOf(now);
  const int second = model::SecondOfDay(now);
  const bool trading = model::IsTradingDay(today);
  const auto at = [](model::Date date, int time_of_day) {
    return model::InstantOf(date, 0, 0, 0) + time_of_day;
  };
  if (text.empty() && trading && second >= kAuction && second < kClose) return now;
  if (text.empty() || text == "replay") {
    return at(trading && second >= kClose ? today : model::PreviousTradingDay(today),
              text.empty() ? kUnderWay : kOpen);
  }
  if (Take(text, '@')) {
    std::int64_t seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    constexpr std::int64_t kLatest = 253'402'300'799;  // the last second of the year 9999
    if (error != std::errc{} || end != text.data() + text.size() || seconds < 0 || seconds > kLatest) {
      throw refuse();
    }
    return static_cast<double>(seconds);
  }
  int time_of_day = 0;
  if (ReadTimeOfDay(text, time_of_day)) {
    return at(trading ? today : model::PreviousTradingDay(today), time_of_day);
  }
  std::uint32_t date = 0;
  if (!TakeDate(text, date)) throw refuse();
  if (text.empty()) return at(date, kOpen);
  if (!(Take(text, 'T') || Take(text, ' ')) || !ReadTimeOfDay(text, time_of_day)) throw refuse();
  return at(date, time_of_day);
}

std::string HttpDate(double time) {
  using namespace std::chrono;
  static constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const sys_seconds instant{seconds{static_cast<std::int64_t>(std::floor(time))}};
  const sys_days days = floor<std::chrono::days>(instant);
  const year_month_day day{days};
  const auto second = (instant - days).count();
  char text[64];
  std::snprintf(text, sizeof text, "%s, %02u %s %04d %02d:%02d:%02d GMT",
                kWeekdays[weekday{days}.c_encoding()], static_cast<unsigned>(day.day()),
                kMonths[static_cast<unsigned>(day.month()) - 1], static_cast<int>(day.year()),
                static_cast<int>(second / 3600), static_cast<int>(second / 60 % 60),
                static_cast<int>(second % 60));
  return text;
}

ServerClock::ServerClock(std::string_view text, double speed) {
  SetSpeed(speed);
  Set(text);
}

double ServerClock::Now() const {
  const double steady = SteadyNow();
  const std::lock_guard lock(mutex_);
  return base_.server + (steady - base_.real) * base_.speed;
}

double ServerClock::speed() const {
  const std::lock_guard lock(mutex_);
  return base_.speed;
}

void ServerClock::Set(std::string_view text) {
  const double server = ParseClock(text, RealNow());
  const double steady = SteadyNow();
  const std::lock_guard lock(mutex_);
  base_.real = steady;
  base_.server = server;
}

void ServerClock::SetSpeed(double speed) {
  if (!std::isfinite(speed) || speed < 0 || speed > 100'000) {
    throw std::runtime_error("the speed of a clock is a number from 0 to 100000");
  }
  const double steady = SteadyNow();
  const std::lock_guard lock(mutex_);
  base_.server += (steady - base_.real) * base_.speed;
  base_.real = steady;
  base_.speed = speed;
}

}  // namespace market_server
