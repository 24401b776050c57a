#include "fetches.h"

#include <algorithm>

#include "answers.h"

namespace {

using Kind = Request::Kind;

Lines Named(const std::wstring& name) {
  return {name + L" Failed.", name + L" Response Error Code: %d", name + L" Json Parse Error Code: %d"};
}

Lines Load(const std::wstring& response, const std::wstring& parse) {
  return {{}, response + L" Response Error Code: %d", parse + L" Json Parse Error Code: %d"};
}

// A list of one or two rows, in each of the two places where lists stand.
constexpr const char* kQuote =
    R"({"code":"sh600000","name":"甲","last":10.5,"vol":7,"change":1.5,"b1p":10.4})";

std::string InData(const std::string& rows) {
  return R"({"data":[)" + rows + "]}";
}
std::string InList(const std::string& rows) {
  return R"({"data":{"list":[)" + rows + "]}}";
}

const std::string kMinuteLine =
    R"({"data":{"sh600000":{"date":"2024-03-15","list":[{"min":930,"last":10,"vol":5,"amt":50,"preclose":9.9}]}}})";
const std::string kDay =
    R"({"data":{"sh600000":{"date":"2024-03-15","list":{"preclose":1,"open":2,"high":4,"last":3,"low":1,"vol":7}}}})";
const std::string kFlows =
    R"({"sh600000":{"mtime":17,"in":{"big":{"d1":1,"d5":2,"d10":3}},"out":{"small":{"d1":4}}}})";
const std::string kMargins =
    R"({"sh":{"date":20240315,"close":3054.9,"meta":{"bsta":70}},"sz":{"close":9612,"meta":{"bsta":30}}},)"
    R"({"sh":{"meta":{"bsta":60}},"sz":{"meta":{"bsta":20}}})";

// The reference data tells nobody; what it holds is what can be looked up.
bool HoldsStocks(AllServices& all) {
  return all.stock_common->GetStockList(1).size() == 5 && all.stock_common->GetStockList(4).size() == 1;
}
bool HoldsPlates(AllServices& all) {
  return all.stock_common->GetPlateList(1).size() == 2 && all.stock_common->GetPlateList(2).size() == 1;
}
bool HoldsIndices(AllServices& all) {
  return all.stock_common->GetIndexList(1).size() == 2 && all.stock_common->GetIndexList(2).size() == 1;
}
bool HoldsMembership(AllServices& all) {
  std::vector<std::pair<std::wstring, std::wstring>> plates;
  return all.stock_common->GetPlatesOfStock(L"sz000001", plates) && plates.size() == 2;
}
bool HoldsMetadata(AllServices& all) {
  return all.stock_common->GetKLineMetaInfo(L"sh600000", 1, 1) == KLineMetaInfo{L"20240315", 100};
}
bool HoldsHolidays(AllServices& all) {
  return all.host.HolidayCalls().back().days == std::vector<unsigned long>{20240101};
}

void LoadReferenceData(AllServices& all) {
  all.LoadReferenceData();
}

FetchCase ReferenceLoad(const char* name, const Lines& lines, const char* path, const char* good,
                        std::vector<std::string> payload, char type, bool (*keeps)(AllServices&)) {
  return {.name = name,
          .lines = lines,
          .path = path,
          .kind = Kind::kSync,
          .setting = 8,
          .good = good,
          .payload = std::move(payload),
          .type = type,
          .fetch = LoadReferenceData,
          .keeps = keeps,
          .audience = 0};
}

// A polled service: its view refreshes, and a late one is served from the cache.
template <class Subject>
FetchCase Polled(const char* name, const wchar_t* lines, const char* path, int setting, std::string good,
                 std::vector<std::string> payload, char type, Subject AllServices::*subject) {
  return {.name = name,
          .lines = Named(lines),
          .path = path,
          .kind = Kind::kAsync,
          .setting = setting,
          .good = std::move(good),
          .payload = std::move(payload),
          .type = type,
          .fetch = [subject](AllServices& all) { (all.*subject).Refresh(); },
          .keeps = [subject](AllServices& all) { return (all.*subject).KeepsTheLast(); },
          .showing = [subject](AllServices& all,
                               const std::function<void()>& act) { (all.*subject).While(act); }};
}

// A request of its own, with a call-back.
FetchCase Direct(const char* name, const wchar_t* lines, const char* path, Kind kind, int setting,
                 std::string good, std::vector<std::string> payload, char type,
                 std::function<void(AllServices&)> fetch) {
  return {.name = name,
          .lines = Named(lines),
          .path = path,
          .kind = kind,
          .setting = setting,
          .good = std::move(good),
          .payload = std::move(payload),
          .type = type,
          .fetch =
              [fetch = std::move(fetch)](AllServices& all) {
                fetch(all);
                all.host.RunTasks();
              },
          .keeps = {},
          .direct = true,
          .showing = [](AllServices&, const std::function<void()>& act) { act(); }};
}

auto Counted(AllServices& all) {
  return [&all](const auto&) { ++all.calls; };
}

std::vector<FetchCase> Quotes() {
  FetchCase index = Polled("IndexQuotes", L"IndexMarket::FetchIndexMarkets", "/pc/rt/stock_detail_list", 3,
                           InList(kQuote), {"data", "list"}, '[', &AllServices::index_market);
  index.keeps = [](AllServices& all) { return all.index_market.AttachTellsTheLast(); };
  index.audience = 2;
  index.latest_only = true;
  FetchCase stocks = Polled("StockQuotes", L"StockMarket::FetchStockMarkets", "/pc/rt/get", 30,
                            InData(kQuote), {"data"}, '[', &AllServices::stock_market);
  FetchCase stock_items = Direct("StockItems", L"StockMarket::FetchStockItems", "/pc/rt/stock_price_list",
                                 Kind::kAsync, 30, InData(kQuote), {"data"}, '[', [](AllServices& all) {
                                   all.stock_market.service->FetchStockItems(4, 2, 1, Counted(all));
                                 });
  stock_items.latest_only = true;
  FetchCase single = Polled("SingleStock", L"SingleStockMarket::FetchStockMarket", "/pc/rt/stock_detail_list",
                            30, InList(kQuote), {"data", "list"}, '[', &AllServices::single_stock);
  single.told_by_nothing = false;
  FetchCase optional =
      Polled("OptionalStocks", L"OptionalStockMarket::FetchStockMarkets", "/pc/rt/stock_detail_list", 30,
             InList(kQuote), {"data", "list"}, '[', &AllServices::optional_stocks);
  // What it holds is what it lists.
  optional.keeps = [](AllServices& all) {
    CodeNameList list;
    all.optional_stocks.service->FetchStockItems(3, 1, [&list](const CodeNameList& got) { list = got; });
    all.host.RunTasks();
    return list == CodeNameList{{L"sh600000", L"甲"}};
  };
  FetchCase plates = Polled("PlateQuotes", L"PlateMarket::FetchPlateMarkets", "/pc/rt/get_bk_detail", 30,
                            InData(R"({"bk":"bk1","last":1})"), {"data"}, '[', &AllServices::plate_market);
  FetchCase plate_items = Direct("PlateItems", L"PlateMarket::FetchPlateItems", "/pc/rt/bk_price_list",
                                 Kind::kAsync, 30, InData(kQuote), {"data"}, '[', [](AllServices& all) {
                                   all.plate_market.service->FetchPlateItems(4, 2, 1, Counted(all));
                                 });
  plate_items.latest_only = true;
  FetchCase members = Polled("PlateStocks", L"PlateStockMarket::FetchStockMarkets", "/pc/rt/get_bk_zone_list",
                             30, R"({"total_num":3,"data":[{"code":"sh600000","last":1}]})", {"data"}, '[',
                             &AllServices::plate_stocks);
  members.latest_only = true;
  return {index, stocks, stock_items, single, optional, plates, plate_items, members};
}

std::vector<FetchCase> Rankings() {
  return {Polled("StockRanking", L"StockRanking::FetchStockRanking", "/pc/rt/get_stock_rank", 30,
                 InData(kQuote), {"data"}, '[', &AllServices::stock_ranking),
          Polled("FiveMinuteRanking", L"StockRanking::FetchStockRanking", "/pc/rt/stock_five_change", 30,
                 InData(kQuote), {"data"}, '[', &AllServices::five_minute_ranking),
          Polled("PlateRanking", L"PlateRanking::FetchPlateRanking", "/pc/rt/get_bk_rank", 30,
                 InData(R"({"bk":"bk1","change":1})"), {"data"}, '[', &AllServices::plate_ranking)};
}

std::vector<FetchCase> Charts() {
  std::vector<FetchCase> lines = {
      Polled("MinuteLine", L"StockMLine::FetchMLine", "/pc/rt/get_day_time", 30, kMinuteLine, {"data"}, '{',
             &AllServices::minute_line),
      Direct("OneMinuteLine", L"StockMLine::FetchMLine", "/pc/rt/get_day_time", Kind::kSync, 8, kMinuteLine,
             {"data"}, '{',
             [](AllServices& all) {
               all.minute_line.service->FetchMLine(AllServices::kSymbol, 0, Counted(all));
             }),
      Direct("PastMinuteLine", L"StockMLine::FetchHistoryMLine", "/pc/rt/get_day_htime", Kind::kAsync, 30,
             kMinuteLine, {"data"}, '{',
             [](AllServices& all) {
               all.minute_line.service->FetchHistoryMLine(AllServices::kSymbol, 20240314, 0, Counted(all));
             }),
      Direct("PastMinuteLines", L"StockMLine::FetchHistoryMLine", "/pc/rt/get_choice_htime", Kind::kSync, 8,
             kMinuteLine, {"data"}, '{', [](AllServices& all) {
               all.minute_line.service->FetchHistoryMLine(AllServices::kSymbol, 20240314, 3, Counted(all));
             })};
  for (FetchCase& line : lines) line.told_by_nothing = line.told_by_null_entries = false;
  // A candle that is missing is no failure: the history is told without it.
  FetchCase kline = Polled("KLine", L"StockKLine::FetchKLine", "/pc/rt/get_day_kline", 30, kDay, {"data"},
                           '{', &AllServices::kline);
  lines.push_back(std::move(kline));
  return lines;
}

std::vector<FetchCase> Analytics() {
  FetchCase events =
      Polled("UnusualEvents", L"StockUnusualEvent::FetchUnusualEvent", "/pc/monitor/get_monitor", 30,
             InList(R"({"time":"09:31","content":"x"})"), {"data", "list"}, '[', &AllServices::events);
  events.keeps = {};
  events.told_by_failure = true;
  FetchCase past_events =
      Direct("PastEvents", L"StockUnusualEvent::FetchUnusualEvent", "/pc/monitor/get_monitor", Kind::kAsync,
             30, InList(R"({"time":"09:31","content":"x"})"), {"data", "list"}, '[',
             [](AllServices& all) { all.events.service->FetchUnusualEvent(20240314, Counted(all)); });
  past_events.told_by_failure = true;
  FetchCase in_out = Polled("InOut", L"StockInOut::FetchStockInOutInfo", "/pc/rt/stock_in_out", 30,
                            InList(kFlows), {"data", "list"}, '[', &AllServices::in_out);
  in_out.parses_all = true;
  in_out.told_by_nothing = false;
  in_out.told_by_null_entries = false;
  FetchCase margin = Direct("MarginTrade", L"CMarginTrade::FetchMarginTradeInfo", "/pc/rt/stock_trade",
                            Kind::kAsync, 30, InList(kMargins), {"data", "list"}, '[',
                            [](AllServices& all) { all.margin.service->FetchMarginTradeInfo(); });
  FetchCase purchase =
      Direct("StockPurchase", L"CStockPurchase::FetchPurchaseInfo", "/pc/rt/stock_buy", Kind::kAsync, 30,
             InList(R"({"code":"1","publish_price":2.5})"), {"data", "list"}, '[',
             [](AllServices& all) { all.purchase.service->FetchPurchaseInfo(); });
  margin.direct = purchase.direct = false;  // every view is told
  return {events,
          past_events,
          in_out,
          Polled("StrengthRating", L"StrengthRating::FetchStrengthRating", "/pc/rt/stock_min_num", 3,
                 InList(R"({"min":930,"up":2,"down":1})"), {"data", "list"}, '[', &AllServices::strength),
          Polled("Distribution", L"StockDistribution::FetchDistribution", "/pc/rt/stock_distribute_num", 3,
                 R"({"data":{"up":7,"nochange":2,"down":5,"list":[10,30,40,20]}})", {"data", "list"}, '[',
                 &AllServices::distribution),
          Polled("MoneyEffect", L"MoneyEffect::FetchMoneyEffect", "/pc/rt/stock_min_average", 3,
                 InList(R"({"time":930,"average":0.5})"), {"data", "list"}, '[', &AllServices::money_effect),
          margin,
          purchase};
}

std::vector<FetchCase> ReferenceData() {
  const Lines membership = Load(L"StockCommon::InitStockInPlates", L"StockCommon::InitStockInPlates");
  FetchCase holidays =
      Direct("LegalHolidays", L"StockCommon::InitLegalHolidays", answers::kHolidayPath, Kind::kAsync, 8,
             R"({"data":{"list":["2024-01-01"]}})", {"data", "list"}, '[', LoadReferenceData);
  holidays.keeps = HoldsHolidays;
  holidays.direct = false;  // the calendar takes the newest
  holidays.null_line = L"StockCommon::InitLegalHolidays Elements Without Date: %d";
  holidays.told_by_null_entries = false;
  return {holidays,
          ReferenceLoad("BaseInfo", Load(L"StockCommon::InitBaseInfo", L"StockCommon::InitBaseInfoItems"),
                        answers::kBasicInfoPath, answers::kBasicInfo, {"sh"}, '[', HoldsStocks),
          ReferenceLoad("PlateList", Load(L"StockCommon::InitPlateItem", L"StockCommon::InitPlateItemList"),
                        answers::kPlateListPath, answers::kPlateList, {"bk_lists"}, '[', HoldsPlates),
          ReferenceLoad("IndexList", Load(L"StockCommon::InitIndexItem", L"StockCommon::InitIndexItemList"),
                        answers::kIndexListPath, answers::kIndexList, {"data", "sh"}, '[', HoldsIndices),
          ReferenceLoad("StockInPlates", membership, answers::kInPlatesPath, answers::kInPlates, {"data"},
                        '{', HoldsMembership),
          ReferenceLoad("MetadataVersion", membership, answers::kVersionPath, answers::kVersion, {"version"},
                        '"', HoldsMetadata)};
}

}  // namespace

const std::vector<FetchCase>& AllFetches() {
  static const std::vector<FetchCase> fetches = [] {
    std::vector<FetchCase> all;
    for (const auto& group : {Quotes(), Rankings(), Charts(), Analytics(), ReferenceData()}) {
      all.insert(all.end(), group.begin(), group.end());
    }
    return all;
  }();
  return fetches;
}

const FetchCase& FetchNamed(const std::string& name) {
  return *std::find_if(AllFetches().begin(), AllFetches().end(),
                       [&name](const FetchCase& fetch) { return fetch.name == name; });
}
