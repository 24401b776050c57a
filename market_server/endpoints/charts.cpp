// Charts of the quote API: minute lines of today and of past days, and today's candle. Longer series of
// candles are packages (packages.h) and history queries (history.h).
#include <algorithm>
#include <optional>
#include <unordered_set>

#include "market_server/endpoints/dates.h"
#include "market_server/endpoints/endpoints.h"

namespace market_server::endpoints {
namespace {

constexpr std::int64_t kMostDays = 250;

/// One day: {"date", "list"}. Volume and amount run up over the day; the first point carries the previous
/// close.
void Day(JsonWriter& json, const model::MinuteLine& line) {
  json.BeginObject();
  json.Member("date", DateText(line.date));
  json.Key("list");
  json.BeginArray();
  bool first = true;
  for (const model::MinutePoint& point : line.points) {
    json.BeginObject();
    json.Member("min", point.minute);
    json.Member("last", point.last);
    json.Member("vol", point.vol);
    json.Member("amt", point.amt);
    json.Member("qrr", point.qrr);
    if (first) json.Member("preclose", line.preclose);
    json.EndObject();
    first = false;
  }
  json.EndArray();
  json.EndObject();
}

/// The symbols, each once: they become keys.
std::vector<std::string> Distinct(const std::vector<std::string>& symbols) {
  std::vector<std::string> distinct;
  std::unordered_set<std::string_view> seen;
  for (const std::string& symbol : symbols) {
    if (seen.insert(symbol).second) distinct.push_back(symbol);
  }
  return distinct;
}

/// The candle of a day that will be traded and has no price yet; none of other days.
std::optional<model::Candle> BeforeTheFirstPrice(const model::Quote& quote) {
  if (!model::Trades(quote.status)) return std::nullopt;
  model::Candle candle;
  candle.date = quote.date;
  candle.preclose = quote.preclose;
  return candle;
}

}  // namespace

void DayMinutes(const Call& call, JsonWriter& json) {
  const model::Date today = model::SessionDate(call.instant);
  json.Key("data");
  json.BeginObject();
  for (const std::string& symbol : Distinct(call.symbols)) {
    const model::Security* security = call.market.Find(symbol);
    if (security == nullptr) continue;
    json.Key(symbol);
    Day(json, call.market.MinuteLineOf(*security, today, call.instant));
  }
  json.EndObject();
}

void PastDayMinutes(const Call& call, JsonWriter& json) {
  const std::string& symbol = call.Text("stock");
  const model::Security* security = call.market.Find(symbol);
  const model::Date date = SessionDate(call);
  json.Key("data");
  json.BeginObject();
  if (security != nullptr && model::IsTradingDay(date) && date <= model::SessionDate(call.instant)) {
    json.Key(symbol);
    Day(json, call.market.MinuteLineOf(*security, date, call.instant));
  }
  json.EndObject();
}

void ChosenDaysMinutes(const Call& call, JsonWriter& json) {
  const std::string& symbol = call.Text("stock");
  const model::Security* security = call.market.Find(symbol);
  const std::int64_t count = std::clamp<std::int64_t>(call.Number("rn"), 1, kMostDays);
  std::vector<model::Date> days;
  model::Date date = SessionDate(call);
  if (!model::IsTradingDay(date)) date = model::PreviousTradingDay(date);
  while (static_cast<std::int64_t>(days.size()) < count && date >= model::kFirstTradingDay) {
    days.push_back(date);
    date = model::PreviousTradingDay(date);
  }
  std::reverse(days.begin(), days.end());
  json.Key("data");
  json.BeginObject();
  if (security != nullptr) {
    json.Key(symbol);
    json.BeginArray();
    for (const model::Date day : days) {
      const model::MinuteLine line = call.market.MinuteLineOf(*security, day, call.instant);
      if (!line.points.empty()) Day(json, line);
    }
    json.EndArray();
  }
  json.EndObject();
}

void DayCandle(const Call& call, JsonWriter& json) {
  json.Key("data");
  json.BeginObject();
  for (const std::string& symbol : Distinct(call.symbols)) {
    const model::Security* security = call.market.Find(symbol);
    if (security == nullptr) continue;
    auto candle = call.market.DayCandle(*security, call.instant);
    if (!candle) candle = BeforeTheFirstPrice(call.market.QuoteOf(*security, call.instant));
    if (!candle) continue;
    json.Key(symbol);
    json.BeginObject();
    json.Member("date", DateText(candle->date));
    json.Key("list");
    json.BeginObject();
    json.Member("preclose", candle->preclose);
    json.Member("open", candle->open);
    json.Member("high", candle->high);
    json.Member("last", candle->close);
    json.Member("low", candle->low);
    json.Member("vol", candle->vol);
    json.Member("amt", candle->amt);
    json.Member("tr", candle->tr);
    json.EndObject();
    json.EndObject();
  }
  json.EndObject();
}

}  // namespace market_server::endpoints
