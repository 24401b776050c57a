// Every builder: path, parameters, fallbacks, and what the signer makes of them.
#include "request/urls.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <locale>

#include "scripted_host.h"

namespace {

using std::string;

// Numbers as a program might write them that has set its locale for people: "1.2.3.4,5".
class HostilePunctuation : public std::numpunct<char> {
 protected:
  char do_thousands_sep() const override { return '.'; }
  char do_decimal_point() const override { return ','; }
  string do_grouping() const override { return "\1"; }
};

class HostileWidePunctuation : public std::numpunct<wchar_t> {
 protected:
  wchar_t do_thousands_sep() const override { return L'.'; }
  wchar_t do_decimal_point() const override { return L','; }
  string do_grouping() const override { return "\1"; }
};

class Urls : public ::testing::Test {
 protected:
  // All builders work below a global locale that groups digits.
  Urls()
      : before_(std::locale::global(std::locale(std::locale(std::locale::classic(), new HostilePunctuation),
                                                new HostileWidePunctuation))) {}
  ~Urls() override { std::locale::global(before_); }

  // The one signing that `build` made.
  template <class Build>
  Signing SigningOf(Build build) {
    const std::size_t before = host.Signings().size();
    url = build();
    const std::vector<Signing> all = host.Signings();
    EXPECT_EQ(all.size(), before + 1);
    return all.empty() ? Signing() : all.back();
  }

  template <class Build>
  void ExpectSigned(Build build, const std::wstring& path, const NameValues& parameters) {
    const Signing signing = SigningOf(build);
    EXPECT_EQ(signing.path, path);
    EXPECT_EQ(signing.parameters, parameters) << "of " << string(path.begin(), path.end());
  }

  ScriptedHost host;
  std::wstring url;

 private:
  std::locale before_;
};

const std::vector<std::pair<int, string>> kStockFields = {{1, "code"},
                                                          {2, "name"},
                                                          {3, "last"},
                                                          {4, "change"},
                                                          {5, "diff"},
                                                          {6, "b1p"},
                                                          {7, "s1p"},
                                                          {8, "tr"},
                                                          {9, "amt"},
                                                          {10, "vol"},
                                                          {11, "pe"},
                                                          {12, "high"},
                                                          {13, "low"},
                                                          {14, "open"},
                                                          {15, "preclose"},
                                                          {16, "amp"},
                                                          {17, "qrr"},
                                                          {18, "cr"},
                                                          {19, "mc"},
                                                          {20, "change"},
                                                          {0, "change"},
                                                          {-1, "change"},
                                                          {2147483647, "change"}};

const std::vector<std::pair<int, string>> kPlateFields = {
    {1, "code"},   {2, "name"},    {3, "last"},
    {4, "change"}, {5, "diff"},    {6, "change"},
    {7, "change"}, {8, "tr"},      {9, "amt"},
    {10, "vol"},   {11, "pe"},     {12, "high"},
    {13, "low"},   {14, "open"},   {15, "preclose"},
    {16, "amp"},   {17, "qrr"},    {18, "cr"},
    {19, "mc"},    {20, "lead"},   {21, "lead_change"},
    {22, "bpin"},  {23, "cud"},    {24, "change"},
    {0, "change"}, {-1, "change"}, {-2147483647 - 1, "change"}};

const std::vector<std::pair<int, string>> kStockTypes = {{1, "cn_a"}, {2, "sh_a"}, {3, "sz_a"}, {4, "gem"},
                                                         {5, "sme"},  {6, ""},     {0, ""},     {-1, ""}};
const std::vector<std::pair<int, string>> kPlateTypes = {{1, "hy"}, {2, "gn"}, {3, ""}, {0, ""}, {-1, ""}};
const std::vector<std::pair<int, string>> kDirections = {{1, "asc"}, {2, "desc"}, {3, ""}, {0, ""}, {-1, ""}};

TEST_F(Urls, stockDetailList) {
  ExpectSigned(
      [] {
        return request::StockDetailListUrl({L"sh000001", L"sz399001", L"sz399006"});
      },
      L"/pc/rt/stock_detail_list", {{"stock_arr", R"(["sh000001","sz399001","sz399006"])"}});
}

TEST_F(Urls, areWhatTheSignerReturns) {
  EXPECT_EQ(request::StockRangeUrl(1, {4, 2}, {0, 50}),
            L"http://api.test/pc/rt/get?end=50&sort_key=change&sort_type=desc&start=0&stock_type=cn_a");
  EXPECT_EQ(request::MarginTradeUrl(), L"http://api.test/pc/rt/stock_trade");
}

TEST_F(Urls, areEmptyWhenTheSignerReturnsNothing) {
  host.SignNothing(true);
  EXPECT_EQ(request::StockDetailListUrl({L"sh000001"}), L"");
  EXPECT_EQ(request::MarginTradeUrl(), L"");
}

TEST_F(Urls, stockRange) {
  ExpectSigned(
      [] {
        return request::StockRangeUrl(2, {9, 1}, {100, 1234567});
      },
      L"/pc/rt/get",
      {{"stock_type", "sh_a"},
       {"sort_key", "amt"},
       {"sort_type", "asc"},
       {"start", "100"},
       {"end", "1234567"}});
}

TEST_F(Urls, stockRangeWritesNegativeNumbersWithAMinus) {
  const Signing signing = SigningOf([] { return request::StockRangeUrl(1, {1, 1}, {-1, -2147483647 - 1}); });
  EXPECT_EQ(signing.parameters.at("start"), "-1");
  EXPECT_EQ(signing.parameters.at("end"), "-2147483648");
}

TEST_F(Urls, stockPriceList) {
  ExpectSigned(
      [] {
        return request::StockPriceListUrl(5, {19, 2});
      },
      L"/pc/rt/stock_price_list", {{"stock_type", "sme"}, {"sort_key", "mc"}, {"sort_type", "desc"}});
}

TEST_F(Urls, plateRange) {
  ExpectSigned(
      [] {
        return request::PlateRangeUrl(1, {20, 2}, {0, 20240315});
      },
      L"/pc/rt/get_bk_detail",
      {{"bk_type", "hy"}, {"sort_key", "lead"}, {"sort_type", "desc"}, {"start", "0"}, {"end", "20240315"}});
}

TEST_F(Urls, platePriceList) {
  ExpectSigned(
      [] {
        return request::PlatePriceListUrl(2, {23, 1});
      },
      L"/pc/rt/bk_price_list", {{"bk_type", "gn"}, {"sort_key", "cud"}, {"sort_type", "asc"}});
}

TEST_F(Urls, plateStocks) {
  ExpectSigned(
      [] {
        return request::PlateStocksUrl(L"bk\x4E2D", {21, 2}, {10, 20});
      },
      L"/pc/rt/get_bk_zone_list",
      {{"bk_code", "bk\xE4\xB8\xAD"},
       {"sort_key", "lead_change"},
       {"sort_type", "desc"},
       {"start", "10"},
       {"end", "20"}});
}

TEST_F(Urls, stockRank) {
  ExpectSigned(
      [] {
        return request::StockRankUrl(4, {6, 2}, 1000);
      },
      L"/pc/rt/get_stock_rank",
      {{"stock_type", "gem"}, {"sort_key", "b1p"}, {"sort_type", "desc"}, {"num", "1000"}});
}

TEST_F(Urls, stockFiveMinuteChange) {
  ExpectSigned(
      [] {
        return request::StockFiveMinuteChangeUrl(3, {7, 1});
      },
      L"/pc/rt/stock_five_change", {{"stock_type", "sz_a"}, {"sort_key", "s1p"}, {"sort_type", "asc"}});
}

TEST_F(Urls, plateRank) {
  ExpectSigned(
      [] {
        return request::PlateRankUrl(2, {22, 2}, 10);
      },
      L"/pc/rt/get_bk_rank", {{"bk_type", "gn"}, {"sort_key", "bpin"}, {"sort_type", "desc"}, {"num", "10"}});
}

TEST_F(Urls, dayMinuteLine) {
  ExpectSigned([] { return request::DayMinuteLineUrl({L"sh600000"}); }, L"/pc/rt/get_day_time",
               {{"stock_arr", R"(["sh600000"])"}});
}

TEST_F(Urls, historyMinuteLine) {
  ExpectSigned([] { return request::HistoryMinuteLineUrl(L"sh600000", 20240315); }, L"/pc/rt/get_day_htime",
               {{"stock", "sh600000"}, {"date", "20240315"}});
}

TEST_F(Urls, recentMinuteLines) {
  ExpectSigned([] { return request::RecentMinuteLinesUrl(L"sz000001", 20240315, 1005); },
               L"/pc/rt/get_choice_htime", {{"stock", "sz000001"}, {"date", "20240315"}, {"rn", "1005"}});
}

TEST_F(Urls, dayCandleSendsNeitherPeriodNorAdjustment) {
  for (int number = -1; number <= 4; ++number) {
    ExpectSigned([&] { return request::DayCandleUrl(L"sh600000", number, number); }, L"/pc/rt/get_day_kline",
                 {{"stock_arr", R"(["sh600000"])"}});
  }
}

TEST_F(Urls, unusualEventsTakeA64BitNumber) {
  ExpectSigned([] { return request::UnusualEventsUrl(std::numeric_limits<std::int64_t>::max()); },
               L"/pc/monitor/get_monitor", {{"date", "9223372036854775807"}});
  ExpectSigned([] { return request::UnusualEventsUrl(-20240315); }, L"/pc/monitor/get_monitor",
               {{"date", "-20240315"}});
}

TEST_F(Urls, stockInOut) {
  ExpectSigned(
      [] {
        return request::StockInOutUrl({L"sh600000", L"sz000001"});
      },
      L"/pc/rt/stock_in_out", {{"stock_arr", R"(["sh600000","sz000001"])"}});
}

TEST_F(Urls, datedAnalytics) {
  ExpectSigned([] { return request::StrengthRatingUrl(20240315); }, L"/pc/rt/stock_min_num",
               {{"date", "20240315"}});
  ExpectSigned([] { return request::DistributionUrl(20240315); }, L"/pc/rt/stock_distribute_num",
               {{"date", "20240315"}});
  ExpectSigned([] { return request::MoneyEffectUrl(20240315); }, L"/pc/rt/stock_min_average",
               {{"date", "20240315"}});
}

TEST_F(Urls, datesAreUnsignedDecimal) {
  ExpectSigned([] { return request::StrengthRatingUrl(0); }, L"/pc/rt/stock_min_num", {{"date", "0"}});
  ExpectSigned([] { return request::DistributionUrl(4294967295U); }, L"/pc/rt/stock_distribute_num",
               {{"date", "4294967295"}});
}

TEST_F(Urls, requestsWithoutParameters) {
  ExpectSigned([] { return request::MarginTradeUrl(); }, L"/pc/rt/stock_trade", {});
  ExpectSigned([] { return request::StockPurchaseUrl(); }, L"/pc/rt/stock_buy", {});
  ExpectSigned([] { return request::MetadataVersionUrl(); }, L"/pc/rt/stock_version", {});
  ExpectSigned([] { return request::BasicInfoUrl(); }, L"/pc/rt/get_basic_info", {});
  ExpectSigned([] { return request::PlateListUrl(); }, L"/pc/rt/get_bk_list", {});
  ExpectSigned([] { return request::IndexListUrl(); }, L"/pc/rt/stock_index_list", {});
}

TEST_F(Urls, stockInPlates) {
  for (const auto& [number, word] : kPlateTypes) {
    ExpectSigned([&, type = number] { return request::StockInPlatesUrl(type); }, L"/pc/rt/stock_in_bk",
                 {{"category", word}});
  }
}

TEST_F(Urls, tradeDateCarriesTheNumberInDate) {
  ExpectSigned([] { return request::TradeDateUrl(2024); }, L"/pc/rt/trade_date", {{"date", "2024"}});
}

// The lists that have an order: how each is asked for, and what its kind is called in the request.
struct OrderedList {
  std::function<std::wstring(int kind, const request::Order&)> url;
  std::string kind_key;  // empty for the stocks of one plate
  bool of_stocks;
};

const std::vector<OrderedList> kOrderedLists = {
    {[](int kind, const auto& order) {
       return request::StockRangeUrl(kind, order, {0, 1});
     },
     "stock_type", true},
    {[](int kind, const auto& order) { return request::StockPriceListUrl(kind, order); }, "stock_type", true},
    {[](int kind, const auto& order) { return request::StockRankUrl(kind, order, 1); }, "stock_type", true},
    {[](int kind, const auto& order) { return request::StockFiveMinuteChangeUrl(kind, order); }, "stock_type",
     true},
    {[](int kind, const auto& order) {
       return request::PlateRangeUrl(kind, order, {0, 1});
     },
     "bk_type", false},
    {[](int kind, const auto& order) { return request::PlatePriceListUrl(kind, order); }, "bk_type", false},
    {[](int kind, const auto& order) { return request::PlateRankUrl(kind, order, 1); }, "bk_type", false},
    {[](int, const auto& order) {
       return request::PlateStocksUrl(L"bk", order, {0, 1});
     },
     "", false}};

TEST_F(Urls, everyFieldDirectionAndKindHasItsWordInEveryList) {
  for (const OrderedList& list : kOrderedLists) {
    const auto word_of = [&](const std::string& key, int kind, const request::Order& order) {
      return SigningOf([&] { return list.url(kind, order); }).parameters.at(key);
    };
    for (const auto& [field, word] : list.of_stocks ? kStockFields : kPlateFields) {
      EXPECT_EQ(word_of("sort_key", 1, {field, 1}), word);
    }
    for (const auto& [direction, word] : kDirections) {
      EXPECT_EQ(word_of("sort_type", 1, {1, direction}), word);
    }
    if (list.kind_key.empty()) continue;
    for (const auto& [kind, word] : list.of_stocks ? kStockTypes : kPlateTypes) {
      EXPECT_EQ(word_of(list.kind_key, kind, {1, 1}), word);
    }
  }
}

// --- symbol lists
// -----------------------------------------------------------------------------------------------

TEST_F(Urls, symbolListOfNothingIsTwoBrackets) {
  EXPECT_EQ(request::SymbolList(std::vector<std::wstring>{}), L"[]");
  EXPECT_EQ(request::SymbolList(std::vector<string>{}), "[]");
}

TEST_F(Urls, symbolListOfOneIsTwelveCharacters) {
  EXPECT_EQ(request::SymbolList(std::vector<string>{"sh000001"}).size(), 12u);
  EXPECT_EQ(request::SymbolList(std::vector<string>{"sh000001"}), "[\"sh000001\"]");
  EXPECT_EQ(request::SymbolList(std::vector<std::wstring>{L"sh000001"}), L"[\"sh000001\"]");
}

TEST_F(Urls, symbolListKeepsOrderAndHasNoBlanks) {
  EXPECT_EQ(request::SymbolList(std::vector<std::wstring>{L"sz399001", L"sh000001", L"sz399001"}),
            L"[\"sz399001\",\"sh000001\",\"sz399001\"]");
  EXPECT_EQ(request::SymbolList(std::vector<string>{"sz399001", "sh000001"}), "[\"sz399001\",\"sh000001\"]");
}

TEST_F(Urls, symbolListSeparatesEmptySymbolsToo) {
  EXPECT_EQ(request::SymbolList(std::vector<std::wstring>{L"", L""}), L"[\"\",\"\"]");
}

TEST_F(Urls, symbolListReachesTheSignerInUtf8) {
  EXPECT_EQ(SigningOf([] { return request::StockInOutUrl({L"\x4E2D"}); }).parameters.at("stock_arr"),
            "[\"\xE4\xB8\xAD\"]");
}

// --- static files and history
// -----------------------------------------------------------------------------------

TEST_F(Urls, klineMetadataIsAStaticFile) {
  EXPECT_EQ(request::KLineMetadataUrl(), L"http://static.test/kline.meta.gzip");
  EXPECT_TRUE(host.Signings().empty());
}

TEST_F(Urls, klinePackageNamesSymbolPeriodAdjustmentAndVersion) {
  EXPECT_EQ(request::KLinePackageUrl(L"sh600000", 2, 3, "20240315.1"),
            L"http://static.test/kline.sh600000.week.hfq.20240315.1.gzip");
  EXPECT_TRUE(host.Signings().empty());
}

TEST_F(Urls, klinePackageFallsBackToDayAndUnadjusted) {
  const std::vector<std::pair<int, std::wstring>> periods = {
      {1, L"day"}, {2, L"week"}, {3, L"month"}, {7, L"day"}, {4, L"day"}, {0, L"day"}, {-1, L"day"}};
  const std::vector<std::pair<int, std::wstring>> adjustments = {{1, L"bfq"}, {2, L"qfq"}, {3, L"hfq"},
                                                                 {4, L"bfq"}, {0, L"bfq"}, {-1, L"bfq"}};
  for (const auto& [period, period_word] : periods) {
    for (const auto& [adjustment, adjustment_word] : adjustments) {
      EXPECT_EQ(request::KLinePackageUrl(L"sz000001", period, adjustment, "v"),
                L"http://static.test/kline.sz000001." + period_word + L"." + adjustment_word + L".v.gzip");
    }
  }
}

TEST_F(Urls, klinePackageIsRefusedForWhatMayNotStandInAUrl) {
  for (const wchar_t* symbol :
       {L"", L"600000", L"sh60000", L"sh6000000", L"../../et", L"sh60000/", L"bk600000"}) {
    EXPECT_EQ(request::KLinePackageUrl(symbol, 1, 1, "v"), L"");
    EXPECT_EQ(request::KLineHistoryUrl(symbol, 1, 1, 0, 1), L"");
  }
  EXPECT_EQ(request::KLinePackageUrl(nullptr, 1, 1, "v"), L"");
  EXPECT_EQ(request::KLineHistoryUrl(nullptr, 1, 1, 0, 1), L"");
  EXPECT_EQ(request::KLinePackageUrl(L"sh600000", 1, 1, ""), L"");
  EXPECT_EQ(request::KLinePackageUrl(L"sh600000", 1, 1, "../x"), L"");
}

TEST_F(Urls, klineHistoryIsOneLongQuery) {
  EXPECT_EQ(
      request::KLineHistoryUrl(L"sh600000", 1, 2, 1000, 4294967295U),
      L"http://history.test/kql?q={%22foo%22:[%22kline.day%22,{%22symbol%22:%22sh600000%22,%22mtime%22:0,"
      L"%22type%22:%22qfq%22,%22offset%22:1000,%22limit%22:4294967295}]}");
  EXPECT_TRUE(host.Signings().empty());
}

TEST_F(Urls, klineHistoryFallsBackToDayAndUnadjusted) {
  const auto series = [](int period) { return request::KLineHistoryUrl(L"sh600000", period, 1, 0, 1); };
  const auto type = [](int adjustment) { return request::KLineHistoryUrl(L"sh600000", 1, adjustment, 0, 1); };
  EXPECT_NE(series(2).find(L"[%22kline.week%22,"), std::wstring::npos);
  EXPECT_NE(series(3).find(L"[%22kline.month%22,"), std::wstring::npos);
  for (const int period : {7, 4, 0, -1}) EXPECT_EQ(series(period), series(1)) << period;
  EXPECT_NE(type(3).find(L"%22type%22:%22hfq%22"), std::wstring::npos);
  for (const int adjustment : {4, 0, -1}) EXPECT_EQ(type(adjustment), type(1)) << adjustment;
  EXPECT_NE(type(0).find(L"%22type%22:%22bfq%22"), std::wstring::npos);
}

}  // namespace
