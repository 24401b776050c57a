// What the services have to tell of the simulated market's own figures: made from the model's records,
// without the feed in between.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "market_server/model/market.h"

namespace expected {

/// UTF-8 as the services tell it.
[[nodiscard]] std::wstring Wide(const std::string& text);

/// The row of a stock on a board and in the watch list: figures and book as they are.
[[nodiscard]] StockMarketItem StockRow(const market_server::model::Quote& quote);

/// The row of an index in the watch list: figures and members.
[[nodiscard]] StockMarketItem IndexRow(const market_server::model::Quote& quote);

/// The row of a plate on a board.
[[nodiscard]] StockMarketItem PlateRow(const market_server::model::Quote& quote);

/// A stock on a board while the market trades: zeros of one that is not traded are hidden.
[[nodiscard]] StockMarketItem TradedRow(const market_server::model::Quote& quote);

/// A short row, its change replaced by `change`.
[[nodiscard]] StockMarketSummary Summary(const market_server::model::Quote& quote, double change);
[[nodiscard]] PlateMarketSummary PlateSummary(const market_server::model::Quote& quote);

/// -1, 0, +1: how a figure moved, by more than 0.001; how a whole number moved.
[[nodiscard]] int Direction(double before, double now);
[[nodiscard]] int WholeDirection(std::uint64_t before, std::uint64_t now);

/// Sets the directions of the tick fields of a row against the row of the same security before.
void SetDirections(StockMarketItem& now, const StockMarketItem& before);

/// The same for the levels of the book that are there in both.
void SetBookDirections(StockMarketItem& now, const StockMarketItem& before);

/// Sets the trends of a short row: how its figures moved, however little.
void SetTrends(StockMarketSummary& now, const StockMarketSummary& before);

}  // namespace expected
