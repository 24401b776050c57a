// Reference data: the lists of stocks, plates and indices, who belongs to what, the holidays, and the version
// of the candle packages.
#include "market_server/endpoints/dates.h"
#include "market_server/endpoints/endpoints.h"

namespace market_server::endpoints {
namespace {

constexpr int kIndustry = 1;
constexpr int kConcept = 3;

bool Shanghai(const model::Security& security) {
  return security.code.starts_with("sh");
}

void StockEntry(JsonWriter& json, const model::Security& stock) {
  json.BeginObject();
  json.Member("c", stock.code);
  json.Member("n", stock.name);
  json.Member("py", stock.pinyin);
  json.Member("b", stock.board_text);
  json.EndObject();
}

void IndexEntry(JsonWriter& json, const model::Security& index) {
  json.BeginObject();
  json.Member("n", index.name);
  json.Member("c", index.code);
  json.Member("py", index.pinyin);
  json.EndObject();
}

}  // namespace

void KLineVersion(const Call& call, JsonWriter& json) {
  json.Member("version", call.market.KLineVersionAt(call.instant));
}

void BasicInfo(const Call& call, JsonWriter& json) {
  const auto stocks = call.market.Stocks(call.instant);
  for (const bool shanghai : {true, false}) {
    json.Key(shanghai ? "sh" : "sz");
    json.BeginArray();
    for (const model::Security* stock : stocks) {
      if (Shanghai(*stock) == shanghai) StockEntry(json, *stock);
    }
    json.EndArray();
  }
}

void PlateList(const Call& call, JsonWriter& json) {
  json.Key("bk_lists");
  json.BeginArray();
  for (const model::Security& plate : call.market.plates()) {
    json.BeginObject();
    json.Member("n", plate.name);
    json.Member("bk", plate.code);
    json.Member("py", plate.pinyin);
    json.Member("t", plate.plate_kind);
    json.EndObject();
  }
  json.EndArray();
}

void IndexList(const Call& call, JsonWriter& json) {
  json.Key("data");
  json.BeginObject();
  for (const bool shanghai : {true, false}) {
    json.Key(shanghai ? "sh" : "sz");
    json.BeginArray();
    for (const model::Security& index : call.market.indices()) {
      if (Shanghai(index) == shanghai) IndexEntry(json, index);
    }
    json.EndArray();
  }
  json.EndObject();
}

void StockInPlates(const Call& call, JsonWriter& json) {
  const std::string& category = call.Text("category");
  json.Key("data");
  json.BeginObject();
  for (const model::Security* stock : call.market.Stocks(call.instant)) {
    json.Key(stock->code);
    json.BeginArray();
    for (const int kind : {kIndustry, kConcept}) {
      const bool chosen = category.empty() || category == (kind == kIndustry ? "hy" : "gn");
      if (!chosen) continue;
      for (const model::Security* plate : call.market.PlatesOf(*stock, kind)) {
        json.BeginArray();
        json.Value(plate->code);
        json.Value(plate->name);
        json.EndArray();
      }
    }
    json.EndArray();
  }
  json.EndObject();
}

void TradeDate(const Call& call, JsonWriter& json) {
  json.Key("data");
  json.BeginObject();
  json.Key("list");
  json.BeginArray();
  for (const model::Date date : model::Holidays(static_cast<int>(call.Number("date")))) {
    json.Value(DateText(date));
  }
  json.EndArray();
  json.EndObject();
}

}  // namespace market_server::endpoints
