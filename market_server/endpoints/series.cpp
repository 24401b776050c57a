#include "endpoints/series.h"

namespace market_server::endpoints {

std::optional<model::Period> PeriodNamed(std::string_view word) {
  if (word == "day") return model::Period::day;
  if (word == "week") return model::Period::week;
  if (word == "month") return model::Period::month;
  return std::nullopt;
}

std::optional<model::Adjustment> AdjustmentNamed(std::string_view word) {
  if (word == "bfq") return model::Adjustment::none;
  if (word == "qfq") return model::Adjustment::forward;
  if (word == "hfq") return model::Adjustment::backward;
  return std::nullopt;
}

void CandleLine(JsonWriter& json, const model::Candle& candle) {
  json.BeginArray();
  json.Value(candle.date);
  json.Value(candle.preclose);
  json.Value(candle.open);
  json.Value(candle.high);
  json.Value(candle.close);
  json.Value(candle.low);
  json.Value(candle.vol);
  json.Value(candle.amt);
  json.Value(candle.tr);
  json.EndArray();
}

}  // namespace market_server::endpoints
