// Analytics: events, capital flows, breadth, distribution, average change, margin balances and new shares.
#include <algorithm>

#include "market_server/endpoints/dates.h"
#include "market_server/endpoints/endpoints.h"

namespace market_server::endpoints {
namespace {

constexpr std::size_t kMarginDays = 120;

template <class Rows, class Write>
void DataList(JsonWriter& json, const Rows& rows, Write&& write) {
  json.Key("data");
  json.BeginObject();
  json.Key("list");
  json.BeginArray();
  for (const auto& row : rows) {
    json.BeginObject();
    write(row);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
}

}  // namespace

void MarketEvents(const Call& call, JsonWriter& json) {
  const auto until = static_cast<model::Instant>(call.Number("date"));
  const model::Instant seen = std::min(until, call.instant);
  DataList(json, call.market.Events(model::DateOf(until), seen), [&json](const model::MarketEvent& event) {
    json.Member("time", ClockText(event.time));
    json.Member("content", event.content);
  });
}

void StockFlows(const Call& call, JsonWriter& json) {
  std::vector<std::pair<std::string, model::Flows>> rows;
  for (const std::string& symbol : call.symbols) {
    const model::Security* security = call.market.Find(symbol);
    if (security != nullptr) rows.emplace_back(symbol, call.market.FlowsOf(*security, call.instant));
  }
  using Amount = std::uint64_t model::FlowAmounts::*;
  const auto periods = [&json](std::string_view size, const model::Flows& flows, Amount amount) {
    json.Key(size);
    json.BeginObject();
    json.Member("d1", flows.d1.*amount);
    json.Member("d5", flows.d5.*amount);
    json.Member("d10", flows.d10.*amount);
    json.EndObject();
  };
  DataList(json, rows, [&](const std::pair<std::string, model::Flows>& row) {
    const model::Flows& flows = row.second;
    json.Key(row.first);
    json.BeginObject();
    json.Member("mtime", static_cast<std::int64_t>(flows.time));
    json.Key("in");
    json.BeginObject();
    periods("big", flows, &model::FlowAmounts::big_in);
    periods("small", flows, &model::FlowAmounts::small_in);
    json.EndObject();
    json.Key("out");
    json.BeginObject();
    periods("big", flows, &model::FlowAmounts::big_out);
    periods("small", flows, &model::FlowAmounts::small_out);
    json.EndObject();
    json.EndObject();
  });
}

void MinuteBreadth(const Call& call, JsonWriter& json) {
  DataList(json, call.market.BreadthOn(SessionDate(call), call.instant), [&json](const model::Breadth& row) {
    json.Member("min", row.minute);
    json.Member("up", row.up);
    json.Member("down", row.down);
  });
}

void ChangeDistribution(const Call& call, JsonWriter& json) {
  const model::Distribution distribution = call.market.DistributionOn(SessionDate(call), call.instant);
  json.Key("data");
  json.BeginObject();
  json.Member("up", distribution.up);
  json.Member("nochange", distribution.unchanged);
  json.Member("down", distribution.down);
  json.Key("list");
  json.BeginArray();
  for (const std::int32_t count : distribution.buckets) json.Value(count);
  json.EndArray();
  json.EndObject();
}

void MinuteAverage(const Call& call, JsonWriter& json) {
  DataList(json, call.market.BreadthOn(SessionDate(call), call.instant), [&json](const model::Breadth& row) {
    json.Member("time", row.minute);
    json.Member("average", row.average);
  });
}

void MarginTrade(const Call& call, JsonWriter& json) {
  const auto side = [&json](std::string_view exchange, model::Date date, double close,
                            std::uint64_t balance) {
    json.Key(exchange);
    json.BeginObject();
    json.Member("date", date);
    json.Member("close", close);
    json.Key("meta");
    json.BeginObject();
    json.Member("bsta", balance);
    json.EndObject();
    json.EndObject();
  };
  DataList(json, call.market.Margin(call.instant, kMarginDays), [&side](const model::MarginDay& day) {
    side("sh", day.date, day.sh_close, day.sh_balance);
    side("sz", day.date, day.sz_close, day.sz_balance);
  });
}

void NewShares(const Call& call, JsonWriter& json) {
  DataList(json, call.market.NewShares(call.instant), [&json](const model::NewShare& share) {
    json.Member("code", share.security->code);
    json.Member("name", share.security->name);
    json.Member("publish_time", DateText(share.publish));
    json.Member("publish_online_time", DateText(share.publish_online));
    json.Member("buy_code", share.buy_code);
    json.Member("publish_num", share.publish_num);
    json.Member("publish_online_num", share.publish_online_num);
    json.Member("publish_price", share.publish_price);
    json.Member("pe", share.pe);
    json.Member("buy_limit", share.buy_limit);
    json.Member("total_price", share.total_price);
    json.Member("chance", share.chance);
  });
}

}  // namespace market_server::endpoints
