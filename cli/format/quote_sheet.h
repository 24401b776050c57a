// One quote as people know it from a terminal: the price large and alone, the figures, and beside them the
// order book of a stock (offers above, bids below) or the members of an index. Pure functions.
#pragma once

#include <vector>

#include "cli/format/table.h"
#include "quotes/stock_market_item.h"

namespace cli {

/// The sheet, line by line.
[[nodiscard]] std::vector<StyledLine> QuoteSheet(const StockMarketItem& quote);

/// The same in one column: price, then book or members, then the other figures.
[[nodiscard]] std::vector<StyledLine> NarrowQuoteSheet(const StockMarketItem& quote);

/// The same as tables without titles, cell by cell: name and figure, or of a level name, price and volume.
struct QuoteTables {
  Table prices;
  Table trade;
  Table beside;  ///< the order book, or the members of an index or a plate
};
[[nodiscard]] QuoteTables QuoteTablesOf(const StockMarketItem& quote);

/// Price, difference and change, with blanks between them.
[[nodiscard]] StyledLine PriceLine(const StockMarketItem& quote);

/// "suspended" and the like; empty for normal trading.
[[nodiscard]] std::string StatusText(stock::StockStatus status);

/// `quote` of a stock with the limits of its board: a fifth on the growth and the STAR board, a twentieth for
/// a stock under special treatment elsewhere, none on its first days. A limit that the day's own prices lie
/// beyond is not known.
[[nodiscard]] StockMarketItem WithLimitsOfBoard(StockMarketItem quote);

}  // namespace cli
