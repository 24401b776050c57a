// The history query "/kql": rows of a candle series, newest last. Pure function of query, market and instant.
#pragma once

#include "answer.h"
#include "http/message.h"
#include "model/market.h"

namespace market_server::endpoints {

inline constexpr std::string_view kHistoryPath = "/kql";

/// Answers {"errno":0,"data":{NAME:{"list":[[nine numbers], ...]}}} to
/// q={"NAME":["kline.day",{"symbol":...,"mtime":0, "type":"bfq","offset":0,"limit":100}]}. `offset` rows are
/// left out at the newest end, then `limit` rows are given, oldest first; the series ends with the last
/// session that is over.
[[nodiscard]] Answer AnswerHistory(const http::Parameters& parameters, const model::Market& market,
                                   model::Instant instant);

}  // namespace market_server::endpoints
