// One builder per request that the module sends: it turns a service's arguments into the endpoint's
// parameters and returns the finished URL. Services never put URLs together themselves. Thread-safe.
//
// The signed builders return what the host's signer returns; an empty URL means that nothing may be sent.
// Numbers are decimal, in the classic locale whatever the program's; dates are YYYYMMDD. Sort fields, types,
// directions, periods and adjustments are numbers of vocabulary.h.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace request {

/// How a list is ordered: a column and a direction.
struct Order {
  int field = 0;
  int direction = 0;
};

/// Which rows of a list: from `start` to the one before `end`.
struct Rows {
  int start = 0;
  int end = 0;
};

/// The order and the rows of a service's target.
template <class Target>
[[nodiscard]] Order OrderOf(const Target& target) {
  return {static_cast<int>(target.sort_key), static_cast<int>(target.sort_type)};
}
template <class Target>
[[nodiscard]] Rows RowsOf(const Target& target) {
  return {static_cast<int>(target.start), static_cast<int>(target.end)};
}

/// A list of symbols as one parameter: a JSON array of strings without blanks, `["sh000001","sz399001"]`.
[[nodiscard]] std::wstring SymbolList(const std::vector<std::wstring>& symbols);
[[nodiscard]] std::string SymbolList(const std::vector<std::string>& symbols);

// Quotes
[[nodiscard]] std::wstring StockDetailListUrl(const std::vector<std::wstring>& symbols);
[[nodiscard]] std::wstring StockRangeUrl(int stock_type, const Order& order, const Rows& rows);
[[nodiscard]] std::wstring StockPriceListUrl(int stock_type, const Order& order);
[[nodiscard]] std::wstring PlateRangeUrl(int plate_type, const Order& order, const Rows& rows);
[[nodiscard]] std::wstring PlatePriceListUrl(int plate_type, const Order& order);
[[nodiscard]] std::wstring PlateStocksUrl(const std::wstring& plate, const Order& order, const Rows& rows);

// Rankings, of `count` rows
[[nodiscard]] std::wstring StockRankUrl(int stock_type, const Order& order, int count);
[[nodiscard]] std::wstring StockFiveMinuteChangeUrl(int stock_type, const Order& order);
[[nodiscard]] std::wstring PlateRankUrl(int plate_type, const Order& order, int count);

// Charts
[[nodiscard]] std::wstring DayMinuteLineUrl(const std::vector<std::wstring>& symbols);
[[nodiscard]] std::wstring HistoryMinuteLineUrl(const std::wstring& symbol, std::uint32_t date);
[[nodiscard]] std::wstring RecentMinuteLinesUrl(const std::wstring& symbol, std::uint32_t date, int days);
/// Today's candle. Period and adjustment do not reach the request: the server's default applies (kept: hosts
/// pass them).
[[nodiscard]] std::wstring DayCandleUrl(const std::wstring& symbol, int period, int adjustment);

// Analytics
[[nodiscard]] std::wstring UnusualEventsUrl(std::int64_t time);
[[nodiscard]] std::wstring StockInOutUrl(const std::vector<std::wstring>& symbols);
[[nodiscard]] std::wstring StrengthRatingUrl(std::uint32_t date);
[[nodiscard]] std::wstring DistributionUrl(std::uint32_t date);
[[nodiscard]] std::wstring MoneyEffectUrl(std::uint32_t date);
[[nodiscard]] std::wstring MarginTradeUrl();
[[nodiscard]] std::wstring StockPurchaseUrl();

// Reference data
[[nodiscard]] std::wstring MetadataVersionUrl();
[[nodiscard]] std::wstring BasicInfoUrl();
[[nodiscard]] std::wstring PlateListUrl();
[[nodiscard]] std::wstring IndexListUrl();
[[nodiscard]] std::wstring StockInPlatesUrl(int plate_type);
/// Holidays of a year; the year travels in "date".
[[nodiscard]] std::wstring TradeDateUrl(int year);

// Static files and the history query service: not signed

/// The K-line metadata file.
[[nodiscard]] std::wstring KLineMetadataUrl();

/// A K-line package. Empty when the symbol or the version may not stand in a URL (gates.h).
[[nodiscard]] std::wstring KLinePackageUrl(const wchar_t* symbol, int period, int adjustment,
                                           std::string_view version);

/// A query for `limit` candles from `offset`. Empty when the symbol may not stand in a URL.
[[nodiscard]] std::wstring KLineHistoryUrl(const wchar_t* symbol, int period, int adjustment,
                                           std::uint32_t offset, std::uint32_t limit);

}  // namespace request
