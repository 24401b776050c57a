#include "market_server/endpoints/series.h"

namespace market_server::endpoints {

std::optional<model::Period> PeriodNamed(std::string_view word) {
  if (word == "day") return model::Period::kDay;
  if (word == "week") return model::Period::kWeek;
  if (word == "month") return model::Period::kMonth;
  return std::nullopt;
}

std::optional<model::Adjustment> AdjustmentNamed(std::string_view word) {
  if (word == "bfq") return model::Adjustment::kNone;
  if (word == "qfq") return model::Adjustment::kForward;
  if (word == "hfq") return model::Adjustment::kBackward;
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
