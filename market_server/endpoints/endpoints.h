// The encoders of all endpoints, one file per group below this folder. Each writes the members of its answer
// that follow "errno"; each is a pure function of the call.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "market_server/json_writer.h"
#include "market_server/model/market.h"
#include "market_server/routes.h"

namespace market_server::endpoints {

// quotes.cpp
void StockDetailList(const Call& call, JsonWriter& json);
void StockPage(const Call& call, JsonWriter& json);
void StockPriceList(const Call& call, JsonWriter& json);
void PlatePage(const Call& call, JsonWriter& json);
void PlatePriceList(const Call& call, JsonWriter& json);
void PlateStocks(const Call& call, JsonWriter& json);

// rankings.cpp
void StockRank(const Call& call, JsonWriter& json);
void StockFiveChange(const Call& call, JsonWriter& json);
void PlateRank(const Call& call, JsonWriter& json);

// charts.cpp
void DayMinutes(const Call& call, JsonWriter& json);
void PastDayMinutes(const Call& call, JsonWriter& json);
void ChosenDaysMinutes(const Call& call, JsonWriter& json);
void DayCandle(const Call& call, JsonWriter& json);

// analytics.cpp
void MarketEvents(const Call& call, JsonWriter& json);
void StockFlows(const Call& call, JsonWriter& json);
void MinuteBreadth(const Call& call, JsonWriter& json);
void ChangeDistribution(const Call& call, JsonWriter& json);
void MinuteAverage(const Call& call, JsonWriter& json);
void MarginTrade(const Call& call, JsonWriter& json);
void NewShares(const Call& call, JsonWriter& json);

// reference.cpp
void KLineVersion(const Call& call, JsonWriter& json);
void BasicInfo(const Call& call, JsonWriter& json);
void PlateList(const Call& call, JsonWriter& json);
void IndexList(const Call& call, JsonWriter& json);
void StockInPlates(const Call& call, JsonWriter& json);
void TradeDate(const Call& call, JsonWriter& json);

}  // namespace market_server::endpoints
