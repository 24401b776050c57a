// Which key of the feed fills which member of a new issue.
#pragma once

#include "analytics/stock_purchase.h"
#include "json/record_table.h"

namespace analytics {

inline constexpr auto kStockPurchaseTable = request::TableOf<StockPurchaseItem>(
    request::Read("code", &StockPurchaseItem::code, request::Text{}),
    request::Read("name", &StockPurchaseItem::name, request::Text{}),
    request::Read("publish_time", &StockPurchaseItem::publish_time, request::Text{}),
    request::Read("publish_online_time", &StockPurchaseItem::publish_online_time, request::Text{}),
    request::Read("buy_code", &StockPurchaseItem::buy_code, request::Text{}),
    request::Read("publish_num", &StockPurchaseItem::publish_num, request::Number{}),
    request::Read("publish_online_num", &StockPurchaseItem::publish_online_num, request::Number{}),
    request::Read("publish_price", &StockPurchaseItem::publish_price, request::Number{}),
    request::Read("pe", &StockPurchaseItem::pe, request::Number{}),
    request::Read("buy_limit", &StockPurchaseItem::buy_limit, request::Number{}),
    request::Read("total_price", &StockPurchaseItem::total_price, request::Number{}),
    request::Read("chance", &StockPurchaseItem::chance, request::Number{}));

}  // namespace analytics
