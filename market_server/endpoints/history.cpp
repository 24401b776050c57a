#include "market_server/endpoints/history.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "market_server/endpoints/series.h"
#include "market_server/json_writer.h"
#include "market_server/routes.h"

namespace market_server::endpoints {
namespace {

using rapidjson::Value;

constexpr std::string_view kSeries = "kline.";
constexpr std::size_t kMostQueries = 10;

struct Query {
  std::string name;
  const model::Security* security = nullptr;  // null: unknown symbol, no rows
  model::Period period = model::Period::kDay;
  model::Adjustment adjustment = model::Adjustment::kNone;
  std::uint64_t offset = 0;
  std::uint64_t limit = 0;
};

std::string_view Text(const Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

/// Reads ["kline.day", {...}]; false when it is none.
bool Read(const Value& value, const model::Market& market, Query& query) {
  if (!value.IsArray() || value.Size() != 2 || !value[0].IsString() || !value[1].IsObject()) return false;
  const std::string_view series = Text(value[0]);
  const Value& terms = value[1];
  const auto text = [&terms](const char* name) -> std::string_view {
    const auto member = terms.FindMember(name);
    return member != terms.MemberEnd() && member->value.IsString() ? Text(member->value) : std::string_view{};
  };
  const auto number = [&terms](const char* name, std::uint64_t& out) {
    const auto member = terms.FindMember(name);
    if (member == terms.MemberEnd() || !member->value.IsUint64()) return false;
    out = member->value.GetUint64();
    return true;
  };
  if (!series.starts_with(kSeries)) return false;
  const auto period = PeriodNamed(series.substr(kSeries.size()));
  const auto adjustment = AdjustmentNamed(text("type"));
  if (!period || !adjustment || text("symbol").empty()) return false;
  query.period = *period;
  query.adjustment = *adjustment;
  query.security = market.Find(text("symbol"));
  return number("offset", query.offset) && number("limit", query.limit);
}

/// The last day of the series: today once its session is over, else the trading day before.
model::Date LastDay(model::Instant instant) {
  const model::Date session = model::SessionDate(instant);
  const bool over = instant >= model::InstantOf(session, 15, 0, 0);
  return over ? session : model::PreviousTradingDay(session);
}

}  // namespace

Answer AnswerHistory(const http::Parameters& parameters, const model::Market& market,
                     model::Instant instant) {
  const std::string& q = ReadOnce(parameters, "q");
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(q.data(), q.size());
  if (document.HasParseError() || !document.IsObject() || document.MemberCount() > kMostQueries) {
    throw ApiError(Error::kBadParameter, "q");
  }
  std::vector<Query> queries;
  for (const auto& member : std::as_const(document).GetObject()) {
    Query query;
    query.name = Text(member.name);
    if (!Read(member.value, market, query)) throw ApiError(Error::kBadParameter, "q");
    queries.push_back(std::move(query));
  }
  Answer answer;
  JsonWriter json(answer.body);
  json.BeginObject();
  json.Member("errno", 0);
  json.Key("data");
  json.BeginObject();
  for (const Query& query : queries) {
    std::vector<model::Candle> candles;
    if (query.security != nullptr) {
      candles = market.Candles(*query.security, query.period, query.adjustment, LastDay(instant));
    }
    const std::size_t end = candles.size() - std::min<std::uint64_t>(query.offset, candles.size());
    const std::size_t begin = end - std::min<std::uint64_t>(query.limit, end);
    json.Key(query.name);
    json.BeginObject();
    json.Key("list");
    json.BeginArray();
    for (std::size_t i = begin; i < end; ++i) CandleLine(json, candles[i]);
    json.EndArray();
    json.EndObject();
  }
  json.EndObject();
  json.EndObject();
  return answer;
}

}  // namespace market_server::endpoints
