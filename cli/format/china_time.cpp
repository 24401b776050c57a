#include "cli/format/china_time.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ctime>

#include "host/clock.h"

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

constexpr std::int64_t kDay = 86400;

std::int64_t Noon(std::uint32_t date) {
  return common::DateToTime(date, 12, 0, 0);
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

std::string ClockDifference(double seconds) {
  constexpr std::int64_t kShort = 120;
  const std::int64_t whole = std::llround(std::abs(seconds));
  if (whole < kShort) {
    return std::to_string(whole) + " s";
  }
  const std::int64_t minutes = (whole + 30) / 60;
  const std::string hours = minutes < 60 ? "" : std::to_string(minutes / 60) + " h";
  const std::string rest = minutes % 60 == 0 ? "" : std::to_string(minutes % 60) + " min";
  return hours + (hours.empty() || rest.empty() ? "" : " ") + rest;
}

bool IsWeekend(std::uint32_t date) {
  // Two days after a Saturday, or one after a Sunday, another week has begun.
  return !common::IsSameWeek(date, common::TimeToDate(Noon(date) + kDay)) ||
         !common::IsSameWeek(date, common::TimeToDate(Noon(date) + 2 * kDay));
}

bool IsTradingDay(std::uint32_t date) {
  return stock::GetLastTradingDate(common::TimeToDate(Noon(date) + kDay)) == date;
}

std::uint32_t SessionDate(std::int64_t now) {
  const stock::MarketStatus phase = stock::CheckMarketStatus(static_cast<std::uint32_t>(now));
  const std::uint32_t today = common::TimeToDate(now);
  return phase >= stock::kMarketCallAuction ? today : stock::GetLastTradingDate(today);
}

std::string WhyNoFigures(std::uint32_t date, std::int64_t now) {
  const std::uint32_t today = common::TimeToDate(now);
  if (date > today) {
    return DateText(date) + " has not come yet: it is " + DateAndTime(now);
  }
  if (!IsTradingDay(date)) {
    return DateText(date) + (IsWeekend(date) ? " lies in a weekend" : " is a holiday") +
           "; the trading day before it is " + DateText(stock::GetLastTradingDate(date));
  }
  if (date == today && stock::CheckMarketStatus(static_cast<std::uint32_t>(now)) < stock::kMarketMorning) {
    return "trading begins at 09:30; it is " + ClockTime(now);
  }
  return {};
}

std::string NoFiguresText(std::uint32_t date, std::int64_t now) {
  const std::string why = WhyNoFigures(date, now);
  return why.empty() ? "the server has no figures of " + DateText(date) : why;
}

}  // namespace cli
