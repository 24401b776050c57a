#include "cli/format/chart_headings.h"

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/views/trading_days.h"

namespace cli {

const MinutePoint* LastPoint(const StockMLineData& line) {
  const MinutePoint* last = nullptr;
  for (const MLineDay& day : line.days) {
    last = day.points.empty() ? last : &day.points.back();
  }
  return last;
}

StyledLine MinuteHeading(const StockMLineData& line) {
  const MinutePoint& last = *LastPoint(line);
  double amount = 0;
  for (const MinutePoint& point : line.days.back().points) {
    amount += point.amount;
  }
  const std::string first = line.days.size() > 1 ? DateText(line.days.front().date) + " to " : "";
  return {{first + DateText(line.days.back().date) + " " + MinuteText(last.time) + "  "},
          {Fixed(last.price, 2) + " " + Signed(last.change, 2) + " " + SignedPercent(last.change_rate, 2),
           ToneOf(last.change)},
          {"  amount " + ShortAmount(amount)}};
}

bool HasAverage(const Security& security) {
  return security.type == stock::kSymbolStock;
}

std::string WhyNoPoint(const StockMLineData& line, const Security& security, std::int64_t time) {
  const std::uint32_t date = line.days.empty() ? SessionDate(time) : line.days.back().date;
  const std::string why = WhyNoFigures(date, time);
  return why.empty()
             ? NameText(security) + " did not trade on " + DateText(date) + ": suspended, or not listed then"
             : why;
}

StyledLine CandleHeading(const KLineCandle& candle) {
  const double change = candle.close - candle.preclose;
  StyledLine heading = {{DateText(candle.date) + "  "}, {Fixed(candle.close, 2), ToneOf(change)}};
  if (candle.preclose > 0) {
    heading.push_back({" " + SignedPercent(change / candle.preclose * 100, 2), ToneOf(change)});
  }
  heading.push_back({"  amount " + ShortAmount(candle.amount)});
  return heading;
}

std::string NoCandlesText(const Security& security) {
  return "there are no candles of " + NameText(security) + ": it has not traded yet, or the server has none";
}

std::string NoPastText(const Security& security, const std::string& reason) {
  return "the candles of " + NameText(security) + " before today could not be loaded: " + reason;
}

std::string NameText(const Security& security) {
  return Printable(security.code) + " " + Printable(security.name);
}

}  // namespace cli
