#include "cli/views/trading_days.h"

#include "cli/format/china_time.h"
#include "host/calendar.h"
#include "host/clock.h"

namespace cli {
namespace {

constexpr std::int64_t kDay = 86400;

std::int64_t Noon(std::uint32_t date) {
  return common::DateToTime(date, 12, 0, 0);
}

}  // namespace

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
