// The history query "/kql": rows of a candle series, newest last. Pure function of query, market and instant.
#pragma once

#include "market_server/answer.h"
#include "market_server/http/message.h"
#include "market_server/model/market.h"

namespace market_server::endpoints {

inline constexpr std::string_view kHistoryPath = "/kql";

/// Answers {"errno":0,"data":{NAME:{"list":[[nine numbers], ...]}}} to
/// q={"NAME":["kline.day",{"symbol":...,"mtime":0, "type":"bfq","offset":0,"limit":100}]}. `offset` rows are
/// left out at the newest end, then `limit` rows are given, oldest first; the series ends with the last
/// session that is over.
[[nodiscard]] Answer AnswerHistory(const http::Parameters& parameters, const model::Market& market,
                                   model::Instant instant);

}  // namespace market_server::endpoints
