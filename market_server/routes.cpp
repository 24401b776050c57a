#include "market_server/routes.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <charconv>

#include "market_server/endpoints/endpoints.h"

namespace market_server {
namespace {

using K = ParameterKind;
using Word = std::string_view;

constexpr Word kStockColumns[] = {"code",     "name", "last", "change", "diff", "b1p", "s1p",
                                  "tr",       "amt",  "vol",  "pe",     "high", "low", "open",
                                  "preclose", "amp",  "qrr",  "cr",     "mc"};
constexpr Word kPlateColumns[] = {"code", "name", "last", "change", "diff",        "tr",       "amt",
                                  "vol",  "pe",   "high", "low",    "open",        "preclose", "amp",
                                  "qrr",  "cr",   "mc",   "lead",   "lead_change", "bpin",     "cud"};
constexpr Word kStockTypes[] = {"cn_a", "sh_a", "sz_a", "gem", "sme"};
constexpr Word kPlateTypes[] = {"hy", "gn"};
constexpr Word kDirections[] = {"asc", "desc"};

constexpr ParameterRule kStockArr{"stock_arr", K::kSymbols};
constexpr ParameterRule kStockType{"stock_type", K::kStockType};
constexpr ParameterRule kStockSort{"sort_key", K::kStockSort};
constexpr ParameterRule kPlateType{"bk_type", K::kPlateType};
constexpr ParameterRule kPlateSort{"sort_key", K::kPlateSort};
constexpr ParameterRule kDirection{"sort_type", K::kDirection};
constexpr ParameterRule kStart{"start", K::kInteger};
constexpr ParameterRule kEnd{"end", K::kInteger};
constexpr ParameterRule kNum{"num", K::kInteger};
constexpr ParameterRule kDate{"date", K::kDate};
constexpr ParameterRule kStock{"stock", K::kSymbol};

const std::vector<Route>& Table() {
  using namespace endpoints;
  // clang-format off
  static const auto& table = *new std::vector<Route>{
    {"/pc/rt/stock_detail_list", {kStockArr}, StockDetailList,
     "Full quotes of the stocks, indices and plates in the list, in its order and as often as they stand there; what is unknown or not yet listed is left out. A plate has the row of /pc/rt/get_bk_detail.",
     R"(stock_arr=["sh000001","sh600000"])"},
    {"/pc/rt/get", {kStockType, kStockSort, kDirection, kStart, kEnd}, StockPage,
     "Full quotes of one page of a board.", "stock_type=cn_a&sort_key=change&sort_type=desc&start=0&end=1"},
    {"/pc/rt/stock_price_list", {kStockType, kStockSort, kDirection}, StockPriceList,
     "Every stock of a board in the order of a column.", "stock_type=gem&sort_key=code&sort_type=asc"},
    {"/pc/rt/get_bk_detail", {kPlateType, kPlateSort, kDirection, kStart, kEnd}, PlatePage,
     "One page of the plates of a kind.", "bk_type=hy&sort_key=change&sort_type=desc&start=0&end=1"},
    {"/pc/rt/bk_price_list", {kPlateType, kPlateSort, kDirection}, PlatePriceList,
     "Every plate of a kind in the order of a column.", "bk_type=hy&sort_key=code&sort_type=asc"},
    {"/pc/rt/get_bk_zone_list", {{"bk_code", K::kSymbol}, kPlateSort, kDirection, kStart, kEnd}, PlateStocks,
     "One page of the stocks of a plate; columns that stocks do not have order by change.",
     "bk_code=bk1001&sort_key=change&sort_type=desc&start=0&end=2"},
    {"/pc/rt/get_stock_rank", {kStockType, kStockSort, kDirection, kNum}, StockRank,
     "The first `num` stocks of a board by a column; none when it is negative.", "stock_type=cn_a&sort_key=change&sort_type=desc&num=2"},
    {"/pc/rt/stock_five_change", {kStockType, kStockSort, kDirection}, StockFiveChange,
     "The first hundred stocks of a board; here \"change\" is that of the last five trading minutes.",
     "stock_type=cn_a&sort_key=change&sort_type=desc"},
    {"/pc/rt/get_bk_rank", {kPlateType, kPlateSort, kDirection, kNum}, PlateRank,
     "The first `num` plates of a kind by a column; none when it is negative.", "bk_type=gn&sort_key=change&sort_type=desc&num=2"},
    {"/pc/rt/get_day_time", {kStockArr}, DayMinutes,
     "The minute line of the session of every symbol, once each, under the symbol as it was asked for; nothing for what is unknown.", R"(stock_arr=["sh600000"])"},
    {"/pc/rt/get_day_htime", {kStock, kDate}, PastDayMinutes,
     "The minute line of one symbol on one trading day; `\"data\": {}` when the symbol is unknown or the day is none or still to come.", "stock=sh600000&date=20240313", Cost::kDays},
    {"/pc/rt/get_choice_htime", {kStock, kDate, {"rn", K::kInteger}}, ChosenDaysMinutes,
     "The minute lines of one symbol on the `rn` trading days that end with the date, oldest first; less than 1 counts as 1, more than 250 as 250. Days on which it did not trade are left out, so that there may be fewer, or an empty array; `\"data\": {}` when the symbol is unknown.",
     "stock=sh600000&date=20240313&rn=2", Cost::kDays},
    {"/pc/rt/get_day_kline", {kStockArr}, DayCandle,
     "The candle of the session of every symbol, once each, not adjusted; zeros beside its `preclose` during the call auction; nothing for what is unknown or suspended.", R"(stock_arr=["sh600000"])"},
    {"/pc/monitor/get_monitor", {{"date", K::kSeconds}}, MarketEvents,
     "The events of the day (UTC+8) of that instant, up to it and to the server's clock, newest first; `time` is a text.", "date=1710468000", Cost::kDays},
    {"/pc/rt/stock_in_out", {kStockArr}, StockFlows,
     "Capital flows in yuan through big and small orders over 1, 5 and 10 days, the session included; zeros for indices and plates. `mtime` is in seconds since 1970-01-01 UTC.", R"(stock_arr=["sh600000"])"},
    {"/pc/rt/stock_min_num", {kDate}, MinuteBreadth,
     "Stocks up and down at each minute of a day.", "date=0", Cost::kDays},
    {"/pc/rt/stock_distribute_num", {kDate}, ChangeDistribution,
     "How many stocks are up, unchanged and down, and ten counts by `change`: at the lower limit, below -7, to -5, to -3, to 0, to 3, to 5, to 7, above 7, at the upper limit. An edge belongs to the bucket next to 0; what stands at its limit is in the first or the last, whatever its limit is. Suspended stocks are not counted.", "date=0", Cost::kDays},
    {"/pc/rt/stock_min_average", {kDate}, MinuteAverage,
     "The average change of all stocks in percent at each minute of a day.", "date=0", Cost::kDays},
    {"/pc/rt/stock_trade", {}, MarginTrade,
     "Margin balances (`bsta`) of the two exchanges in yuan on the 120 trading days before the session, newest first, with the closes of sh000001 and sz399001.", "", Cost::kDays},
    {"/pc/rt/stock_buy", {}, NewShares,
     "New shares, the latest subscription first: those announced by the session and not subscribed for more than 60 trading days ago. Units: see above.", ""},
    {"/pc/rt/stock_version", {}, KLineVersion,
     "The version of the candle packages, eight digits; a greater text is newer.", ""},
    {"/pc/rt/get_basic_info", {}, BasicInfo,
     "All listed stocks by exchange: code, name, pinyin initials, board.", ""},
    {"/pc/rt/get_bk_list", {}, PlateList,
     "All plates; \"t\" is 1 for industries, 3 for concepts, 2 for regions.", ""},
    {"/pc/rt/stock_index_list", {}, IndexList,
     "All indices by exchange.", ""},
    {"/pc/rt/stock_in_bk", {{"category", K::kPlateType}}, StockInPlates,
     "The plates of every stock.", "category=hy"},
    {"/pc/rt/trade_date", {{"date", K::kYear}}, TradeDate,
     "The weekdays of a year on which the exchanges are closed; in years without a list of their own, the fixed holidays alone.", "date=2024"},
  };
  // clang-format on
  return table;
}

bool ReadInteger(std::string_view text, std::int64_t least, std::int64_t most, std::int64_t& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() && number >= least && number <= most;
}

/// Checks one value and puts it into the call; false when it is none of its kind.
bool Accept(const ParameterRule& parameter, const std::string& value, Call& call) {
  const auto word = [&] {
    const auto words = Words(parameter.kind);
    if (!value.empty() && std::find(words.begin(), words.end(), value) == words.end()) return false;
    call.texts[parameter.name] = value;
    return true;
  };
  const auto number = [&](std::int64_t least, std::int64_t most) {
    return ReadInteger(value, least, most, call.numbers[parameter.name]);
  };
  switch (parameter.kind) {
    case K::kSymbols:
      return ReadSymbolList(value, call.symbols);
    case K::kSymbol:
      call.texts[parameter.name] = value;
      return !value.empty();
    case K::kStockSort:
    case K::kPlateSort:
    case K::kStockType:
    case K::kPlateType:
    case K::kDirection:
      return word();
    case K::kInteger:
      return number(INT32_MIN, INT32_MAX);
    case K::kDate: {
      if (!number(0, 99991231)) return false;
      const auto date = static_cast<model::Date>(call.numbers[parameter.name]);
      return date == 0 || model::IsDate(date);
    }
    case K::kYear: {
      if (!number(1900, 99991231)) return false;
      std::int64_t& year = call.numbers[parameter.name];
      if (year > 9999) {
        if (!model::IsDate(static_cast<model::Date>(year))) return false;
        year /= 10000;
      }
      return true;
    }
    case K::kSeconds:
      return number(0, 253'402'300'799);
  }
  return false;
}

}  // namespace

std::span<const Word> Words(ParameterKind kind) {
  switch (kind) {
    case K::kStockSort:
      return kStockColumns;
    case K::kPlateSort:
      return kPlateColumns;
    case K::kStockType:
      return kStockTypes;
    case K::kPlateType:
      return kPlateTypes;
    case K::kDirection:
      return kDirections;
    default:
      return {};
  }
}

bool ReadSymbolList(const std::string& text, std::vector<std::string>& symbols) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  if (document.HasParseError() || !document.IsArray()) return false;
  for (const auto& element : document.GetArray()) {
    if (!element.IsString()) return false;
    symbols.emplace_back(element.GetString(), element.GetStringLength());
  }
  return true;
}

std::span<const Route> Routes() {
  return Table();
}

const Route* FindRoute(std::string_view path) {
  const auto& table = Table();
  const auto route = std::find_if(table.begin(), table.end(),
                                  [path](const Route& candidate) { return candidate.path == path; });
  return route == table.end() ? nullptr : &*route;
}

const std::string& ReadOnce(const http::Parameters& parameters, std::string_view name) {
  const std::string* found = nullptr;
  for (const auto& [key, value] : parameters) {
    if (key != name) continue;
    if (found != nullptr) throw ApiError(Error::kRepeatedParameter, std::string(name));
    found = &value;
  }
  if (found == nullptr) throw ApiError(Error::kMissingParameter, std::string(name));
  return *found;
}

Answer AnswerRoute(const Route& route, const http::Parameters& parameters, const model::Market& market,
                   model::Instant instant) {
  Call call{market, instant};
  for (const ParameterRule& parameter : route.parameters) {
    if (!Accept(parameter, ReadOnce(parameters, parameter.name), call)) {
      throw ApiError(Error::kBadParameter, std::string(parameter.name));
    }
  }
  if (call.symbols.size() > kMostSymbols) throw ApiError(Error::kTooManySymbols, {});
  Answer answer;
  JsonWriter json(answer.body);
  json.BeginObject();
  json.Member("errno", 0);
  route.encode(call, json);
  json.EndObject();
  return answer;
}

}  // namespace market_server
