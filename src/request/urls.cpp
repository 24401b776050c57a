#include "request/urls.h"

#include <map>
#include <string>
#include <utility>

#include "host/signing.h"
#include "host/singleton.h"
#include "host/text.h"
#include "request/gates.h"
#include "request/vocabulary.h"

namespace request {
namespace {

using Parameters = std::map<std::string, std::string>;

std::string Utf8(const std::wstring& text) {
  return common::ws2s(text, common::kUtf8);
}

std::wstring Widen(std::string_view ascii) {
  return {ascii.begin(), ascii.end()};
}

std::wstring Signed(const wchar_t* path, const Parameters& parameters) {
  return pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(path, parameters);
}

std::string Symbols(const std::vector<std::wstring>& symbols) {
  return Utf8(SymbolList(symbols));
}

std::wstring ForDate(const wchar_t* path, std::uint32_t date) {
  return Signed(path, {{"date", std::to_string(date)}});
}

template <class Character>
std::basic_string<Character> QuotedList(const std::vector<std::basic_string<Character>>& symbols) {
  std::basic_string<Character> text(1, Character{'['});
  for (const auto& symbol : symbols) {
    if (text.size() > 1) {
      text += Character{','};
    }
    text += Character{'"'};
    text += symbol;
    text += Character{'"'};
  }
  text += Character{']'};
  return text;
}

// The parameters that every ranked list has.
Parameters Ranked(std::string_view type_key, std::string_view type, std::string_view field,
                  const Order& order) {
  return {{std::string(type_key), std::string(type)},
          {"sort_key", std::string(field)},
          {"sort_type", std::string(SortDirection(order.direction))}};
}

Parameters Stocks(int stock_type, const Order& order) {
  return Ranked("stock_type", StockType(stock_type), StockSortField(order.field), order);
}

Parameters Plates(int plate_type, const Order& order) {
  return Ranked("bk_type", PlateType(plate_type), PlateSortField(order.field), order);
}

Parameters With(Parameters parameters, Parameters more) {
  parameters.merge(more);
  return parameters;
}

Parameters Span(const Rows& rows) {
  return {{"start", std::to_string(rows.start)}, {"end", std::to_string(rows.end)}};
}

}  // namespace

std::wstring SymbolList(const std::vector<std::wstring>& symbols) {
  return QuotedList(symbols);
}

std::string SymbolList(const std::vector<std::string>& symbols) {
  return QuotedList(symbols);
}

std::wstring StockDetailListUrl(const std::vector<std::wstring>& symbols) {
  return Signed(L"/pc/rt/stock_detail_list", {{"stock_arr", Symbols(symbols)}});
}

std::wstring StockRangeUrl(int stock_type, const Order& order, const Rows& rows) {
  return Signed(L"/pc/rt/get", With(Stocks(stock_type, order), Span(rows)));
}

std::wstring StockPriceListUrl(int stock_type, const Order& order) {
  return Signed(L"/pc/rt/stock_price_list", Stocks(stock_type, order));
}

std::wstring PlateRangeUrl(int plate_type, const Order& order, const Rows& rows) {
  return Signed(L"/pc/rt/get_bk_detail", With(Plates(plate_type, order), Span(rows)));
}

std::wstring PlatePriceListUrl(int plate_type, const Order& order) {
  return Signed(L"/pc/rt/bk_price_list", Plates(plate_type, order));
}

std::wstring PlateStocksUrl(const std::wstring& plate, const Order& order, const Rows& rows) {
  return Signed(L"/pc/rt/get_bk_zone_list",
                With(Ranked("bk_code", Utf8(plate), PlateSortField(order.field), order), Span(rows)));
}

std::wstring StockRankUrl(int stock_type, const Order& order, int count) {
  return Signed(L"/pc/rt/get_stock_rank", With(Stocks(stock_type, order), {{"num", std::to_string(count)}}));
}

std::wstring StockFiveMinuteChangeUrl(int stock_type, const Order& order) {
  return Signed(L"/pc/rt/stock_five_change", Stocks(stock_type, order));
}

std::wstring PlateRankUrl(int plate_type, const Order& order, int count) {
  return Signed(L"/pc/rt/get_bk_rank", With(Plates(plate_type, order), {{"num", std::to_string(count)}}));
}

std::wstring DayMinuteLineUrl(const std::vector<std::wstring>& symbols) {
  return Signed(L"/pc/rt/get_day_time", {{"stock_arr", Symbols(symbols)}});
}

std::wstring HistoryMinuteLineUrl(const std::wstring& symbol, std::uint32_t date) {
  return Signed(L"/pc/rt/get_day_htime", {{"stock", Utf8(symbol)}, {"date", std::to_string(date)}});
}

std::wstring RecentMinuteLinesUrl(const std::wstring& symbol, std::uint32_t date, int days) {
  return Signed(L"/pc/rt/get_choice_htime",
                {{"stock", Utf8(symbol)}, {"date", std::to_string(date)}, {"rn", std::to_string(days)}});
}

std::wstring DayCandleUrl(const std::wstring& symbol, int /*period*/, int /*adjustment*/) {
  return Signed(L"/pc/rt/get_day_kline", {{"stock_arr", Symbols({symbol})}});
}

std::wstring UnusualEventsUrl(std::int64_t time) {
  return Signed(L"/pc/monitor/get_monitor", {{"date", std::to_string(time)}});
}

std::wstring StockInOutUrl(const std::vector<std::wstring>& symbols) {
  return Signed(L"/pc/rt/stock_in_out", {{"stock_arr", Symbols(symbols)}});
}

std::wstring StrengthRatingUrl(std::uint32_t date) {
  return ForDate(L"/pc/rt/stock_min_num", date);
}

std::wstring DistributionUrl(std::uint32_t date) {
  return ForDate(L"/pc/rt/stock_distribute_num", date);
}

std::wstring MoneyEffectUrl(std::uint32_t date) {
  return ForDate(L"/pc/rt/stock_min_average", date);
}

std::wstring MarginTradeUrl() {
  return Signed(L"/pc/rt/stock_trade", {});
}

std::wstring StockPurchaseUrl() {
  return Signed(L"/pc/rt/stock_buy", {});
}

std::wstring MetadataVersionUrl() {
  return Signed(L"/pc/rt/stock_version", {});
}

std::wstring BasicInfoUrl() {
  return Signed(L"/pc/rt/get_basic_info", {});
}

std::wstring PlateListUrl() {
  return Signed(L"/pc/rt/get_bk_list", {});
}

std::wstring IndexListUrl() {
  return Signed(L"/pc/rt/stock_index_list", {});
}

std::wstring StockInPlatesUrl(int plate_type) {
  return Signed(L"/pc/rt/stock_in_bk", {{"category", std::string(PlateType(plate_type))}});
}

std::wstring TradeDateUrl(int year) {
  return Signed(L"/pc/rt/trade_date", {{"date", std::to_string(year)}});
}

std::wstring KLineMetadataUrl() {
  return pattern::CSingleton<UrlHelper>::GetInstance()->StaticRoot() + L"kline.meta.gzip";
}

std::wstring KLinePackageUrl(const wchar_t* symbol, int period, int adjustment, std::string_view version) {
  if (symbol == nullptr || !IsPlainSymbol(symbol) || !IsPlainVersion(version)) {
    return {};
  }
  return pattern::CSingleton<UrlHelper>::GetInstance()->StaticRoot() + L"kline." + symbol + L"." +
         Widen(KLinePeriod(period)) + L"." + Widen(KLineAdjustment(adjustment)) + L"." + Widen(version) +
         L".gzip";
}

std::wstring KLineHistoryUrl(const wchar_t* symbol, int period, int adjustment, std::uint32_t offset,
                             std::uint32_t limit) {
  if (symbol == nullptr || !IsPlainSymbol(symbol)) {
    return {};
  }
  // Concatenated: "%22" must never meet a format.
  return pattern::CSingleton<UrlHelper>::GetInstance()->HistoryRoot() + L"/kql?q={%22foo%22:[%22kline." +
         Widen(KLinePeriod(period)) + L"%22,{%22symbol%22:%22" + symbol +
         L"%22,%22mtime%22:0,%22type%22:%22" + Widen(KLineAdjustment(adjustment)) + L"%22,%22offset%22:" +
         std::to_wstring(offset) + L",%22limit%22:" + std::to_wstring(limit) + L"}]}";
}

}  // namespace request
