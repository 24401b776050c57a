// The full quote of one security: the row of the board, plate and watch lists and the record of a single
// quote. A plain value. Short ranked rows have a smaller record of their own in
// ranking/stock_market_summary.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frame/field.h"
#include "host/calendar.h"

/// One quote. Which fields are filled depends on the service that delivers it; what it did not fill is not
/// `present`, an empty text or an empty vector.
///
/// Units are the feed's: prices, amounts and capitalisations in yuan, volumes and numbers of shares in
/// shares, rates in percent (1.5 is 1.5 %). An index has points for yuan in its prices.
///
/// A figure stops being present when it means nothing: during the opening preparation and the call auction,
/// and, as far as it is zero, while the security is not traded (`status` other than 0).
struct StockMarketItem {
  stock::SymbolType symbol_type = stock::kSymbolUnknown;  ///< told for a single quote and for the watch list
  std::wstring code;                                      ///< "sh600000", or the code of a plate
  std::wstring name;

  TickField<double> last;    ///< last price
  TickField<double> change;  ///< change rate
  TickField<double> diff;    ///< price change
  TickField<double> bid1;    ///< best bid price
  TickField<double> ask1;    ///< best ask price
  TickField<double> tr;      ///< turnover rate
  TickField<double> amt;     ///< turnover amount of the day
  /// Volume; compared as a whole number.
  TickField<std::uint64_t> vol;

  PlainField<double> pe;  ///< price/earnings ratio
  PlainField<double> high;
  PlainField<double> low;
  PlainField<double> open;
  PlainField<double> preclose;       ///< previous close
  PlainField<double> amp;            ///< amplitude: highest minus lowest, in percent of `preclose`
  PlainField<double> qrr;            ///< volume ratio
  PlainField<double> cr;             ///< commission ratio
  PlainField<double> mc;             ///< market capitalisation
  PlainField<double> pb;             ///< price/book ratio
  PlainField<std::uint64_t> tso;     ///< total shares
  PlainField<std::uint64_t> shares;  ///< circulating shares
  PlainField<double> cmc;            ///< circulating market capitalisation

  stock::StockStatus status = stock::kStockNormal;  ///< 0: normal trading

  std::vector<BookLevel<float>> bid_prices;           ///< order book, empty or five levels, the best first
  std::vector<BookLevel<float>> ask_prices;           ///< the same of the offers
  std::vector<BookLevel<std::uint32_t>> bid_volumes;  ///< shares wanted at the prices of `bid_prices`
  std::vector<BookLevel<std::uint32_t>> ask_volumes;  ///< shares offered at the prices of `ask_prices`

  // Derived, for a single stock only.
  PlainField<double> limit_up;    ///< `preclose` × 1.1 to two decimals; 0.00000001 too much stays in it
  PlainField<double> limit_down;  ///< `preclose` × 0.9, the same
  PlainField<double> avg_price;   ///< `amt` ÷ `vol`; absent while nothing was traded

  // Of an index or a plate only.
  std::wstring lead;               ///< name of its leading stock
  PlainField<double> lead_change;  ///< change rate of the leading stock
  CountField num_u;                ///< members that are up
  CountField num_z;                ///< members that are unchanged
  CountField num_d;                ///< members that are down

  bool operator==(const StockMarketItem&) const = default;
};
