#include "cli/format/chart_headings.h"

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/format/words.h"

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
          {"  " + LabelOf("amount") + " " + ShortAmount(amount)}};
}

StyledLine MinuteFigures(std::uint32_t date, const MinutePoint& point, bool average) {
  StyledLine figures = {
      {DateText(date) + " " + MinuteText(point.time) + "  "},
      {Fixed(point.price, 2) + " " + Signed(point.change, 2) + " " + SignedPercent(point.change_rate, 2),
       ToneOf(point.change)}};
  if (average) {
    figures.push_back({"  " + LabelOf("average") + " " + Fixed(point.avg_price, 2)});
  }
  figures.push_back({"  " + LabelOf("volume") + " " + ShortAmount(static_cast<double>(point.volume))});
  return figures;
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
  heading.push_back({"  " + LabelOf("amount") + " " + ShortAmount(candle.amount)});
  return heading;
}

StyledLine CandleFigures(const KLineCandle& candle, int columns) {
  const double change = candle.close - candle.preclose;
  StyledLine figures;
  // With little room the volume goes, then the words, and the year last: a chart shows many.
  for (const int left_out : {0, 1, 2, 3}) {
    const bool short_words = left_out > 1;
    const auto word = [short_words](const char* name) {
      const std::string label = LabelOf(name);
      const std::size_t initial = CurrentLanguage() == Language::kChinese ? 3 : 1;  // bytes
      return short_words ? label.substr(0, initial) : label + " ";
    };
    const auto price = [&](const char* name, double value) { return word(name) + Fixed(value, 2) + " "; };
    const std::string date = DateText(candle.date);
    figures = {
        {(left_out > 2 ? date.substr(5) : date) + (left_out > 1 ? " " : "  ") + price("open", candle.open) +
         price("high", candle.high) + price("low", candle.low) + word("close")},
        {Fixed(candle.close, 2), ToneOf(change)}};
    if (candle.preclose > 0) {
      figures.push_back({" " + SignedPercent(change / candle.preclose * 100, 2), ToneOf(change)});
    }
    if (left_out == 0) {
      figures.push_back({"  " + LabelOf("volume") + " " + ShortAmount(static_cast<double>(candle.volume))});
    }
    if (DisplayWidth(figures) <= columns) {
      break;
    }
  }
  return figures;
}

std::string NoCandlesText(const Security& security) {
  return "there are no candles of " + NameText(security) + ": it has not traded yet, or the server has none";
}

std::string NoPastText(const Security& security, const std::string& reason) {
  return "the candles of " + NameText(security) + " before today could not be loaded: " + reason;
}

}  // namespace cli
