// The tables after which csm shows records, where those that the feed is read by have not all of it: figures
// that are derived, and the points of minute lines, which the module reads by hand. Constants.
#pragma once

#include "charts/stock_mline.h"
#include "quotes/optional_stock_market.h"
#include "quotes/stock_market_item_table.h"

namespace cli {

/// Figures that no feed sends.
inline constexpr auto kDerivedTable = [] {
  using request::Figure;
  using request::Read;
  return request::TableOf<StockMarketItem>(Read("", "limit_up", &StockMarketItem::limit_up, Figure{}),
                                           Read("", "limit_down", &StockMarketItem::limit_down, Figure{}),
                                           Read("", "avg_price", &StockMarketItem::avg_price, Figure{}));
}();

/// All that a single quote can have.
inline constexpr auto kSingleQuoteTable = request::Join(quotes::kWatchListTable, kDerivedTable);

/// The points of a minute line.
inline constexpr auto kMinutePointTable =
    request::TableOf<MinutePoint>(request::Read("min", "time", &MinutePoint::time, request::Integer{}),
                                  request::Read("last", "price", &MinutePoint::price, request::Number{}),
                                  request::Read("vol", "volume", &MinutePoint::volume, request::Amount{}),
                                  request::Read("amt", "amount", &MinutePoint::amount, request::Number{}),
                                  request::Read("qrr", &MinutePoint::qrr, request::Number{}),
                                  request::Read("change", &MinutePoint::change, request::Number{}),
                                  request::Read("change_rate", &MinutePoint::change_rate, request::Number{}),
                                  request::Read("avg_price", &MinutePoint::avg_price, request::Number{}));

}  // namespace cli
