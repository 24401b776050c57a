// Host contract: the trading calendar, the phases of a trading day and the kinds of securities.
// Every function may be called from any thread and does not block.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/export.h"

namespace common {

/// The host's calendar of legal holidays. The one instance of the process comes from
/// `pattern::CSingleton<common::LegalHoliday>::GetInstance()`.
class STOCK_HOST_API LegalHoliday {
 public:
  /// Replaces the holidays of `year` (for example 2024) by `days` (YYYYMMDD each). Callable from any thread;
  /// the calendar does its own locking.
  void SetHolidays(int year, const std::vector<unsigned long>& days);
};

}  // namespace common

namespace stock {

/// Phase of the trading day. The module tests the numbers.
enum MarketStatus : int {
  kMarketUnknown = 0,
  kMarketNotOpened = 1,    ///< no trading day, or before 09:00: the last trading day is closed
  kMarketPreparing = 2,    ///< from 09:00
  kMarketCallAuction = 3,  ///< from 09:15
  kMarketMorning = 4,      ///< from 09:30
  kMarketLunchBreak = 5,   ///< from 11:30
  kMarketAfternoon = 6,    ///< from 13:00
  kMarketClosed = 7,       ///< from 15:00
};

/// Trading status of a security: 0 is normal trading, 1 to 7 are the kinds of interruption.
enum StockStatus : int {
  kStockNormal = 0,
};

/// Kind of security that a symbol names.
enum SymbolType : int {
  kSymbolUnknown = 0,
  kSymbolIndex = 1,
  kSymbolStock = 2,
  kSymbolPlate = 3,
  kSymbolOther = 4,
};

/// The phase of the market at `time`: seconds since 1970-01-01 00:00 UTC, low 32 bits.
STOCK_HOST_API MarketStatus CheckMarketStatus(std::uint32_t time);

/// Seconds from `time` to the next change of phase, across nights, weekends and holidays, at least 1. A few
/// seconds at most while the host does not know the server's clock or the holidays of that year, a minute
/// when they stay unknown: the phase that it would then tell may be another one at any moment.
STOCK_HOST_API std::int32_t TimeSpanToNextMarketStatus(std::uint32_t time);

/// The last trading date strictly before `date` (both YYYYMMDD).
STOCK_HOST_API std::uint32_t GetLastTradingDate(std::uint32_t date);

/// The kind of `symbol`, such as "sh000001"; `kSymbolUnknown` for null and for a text that is no symbol.
STOCK_HOST_API SymbolType CheckSymbol(const wchar_t* symbol);

/// The trading status that the status text of a quote stands for; 0 for an empty or unknown text.
STOCK_HOST_API StockStatus ConvertStockStatus(const std::wstring& text);

}  // namespace stock
