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

  ScriptedHost host;
  std::wstring url;

 private:
  std::locale before_;
};

// The words of the numbers from 1 on; every other number has the last one.
using Words = std::vector<string>;
const Words kStockFields = {"code",     "name", "last", "change", "diff", "b1p",   "s1p",
                            "tr",       "amt",  "vol",  "pe",     "high", "low",   "open",
                            "preclose", "amp",  "qrr",  "cr",     "mc",   "change"};
const Words kPlateFields = {"code", "name", "last", "change", "diff",        "change", "change",   "tr",
                            "amt",  "vol",  "pe",   "high",   "low",         "open",   "preclose", "amp",
                            "qrr",  "cr",   "mc",   "lead",   "lead_change", "bpin",   "cud",      "change"};
const Words kStockTypes = {"cn_a", "sh_a", "sz_a", "gem", "sme", ""};
const Words kPlateTypes = {"hy", "gn", ""};
const Words kDirections = {"asc", "desc", ""};

// Expects the words of `words` for all their numbers and for others.
template <class WordOf>
void ExpectWords(const Words& words, WordOf word_of) {
  std::vector<int> numbers = {std::numeric_limits<int>::min(), -1, 0, std::numeric_limits<int>::max()};
  for (int number = 1; number <= static_cast<int>(words.size()) + 1; ++number) numbers.push_back(number);
  for (const int number : numbers) {
    const std::size_t place = number < 1 ? words.size() : static_cast<std::size_t>(number) - 1;
    EXPECT_EQ(word_of(number), place < words.size() ? words[place] : words.back()) << number;
  }
}

TEST_F(Urls, haveTheirPathsAndParameters) {
  const NameValues today = {{"date", "20240315"}};
  struct Case {
    std::function<std::wstring()> url;
    const wchar_t* path;
    NameValues parameters;
  };
  using namespace request;
  const std::vector<Case> cases = {
      {[] {
         return StockDetailListUrl({L"sh000001", L"sz399001"});
       },
       L"/pc/rt/stock_detail_list",
       {{"stock_arr", R"(["sh000001","sz399001"])"}}},
      {[] {
         return StockRangeUrl(2, {9, 1}, {100, 1234567});
       },
       L"/pc/rt/get",
       {{"stock_type", "sh_a"},
        {"sort_key", "amt"},
        {"sort_type", "asc"},
        {"start", "100"},
        {"end", "1234567"}}},
      {[] {
         return StockPriceListUrl(5, {19, 2});
       },
       L"/pc/rt/stock_price_list",
       {{"stock_type", "sme"}, {"sort_key", "mc"}, {"sort_type", "desc"}}},
      {[] {
         return PlateRangeUrl(1, {20, 2}, {0, 20240315});
       },
       L"/pc/rt/get_bk_detail",
       {{"bk_type", "hy"}, {"sort_key", "lead"}, {"sort_type", "desc"}, {"start", "0"}, {"end", "20240315"}}},
      {[] {
         return PlatePriceListUrl(2, {23, 1});
       },
       L"/pc/rt/bk_price_list",
       {{"bk_type", "gn"}, {"sort_key", "cud"}, {"sort_type", "asc"}}},
      {[] {
         return PlateStocksUrl(L"bk\x4E2D", {21, 2}, {10, 20});
       },
       L"/pc/rt/get_bk_zone_list",
       {{"bk_code", "bk\xE4\xB8\xAD"},
        {"sort_key", "lead_change"},
        {"sort_type", "desc"},
        {"start", "10"},
        {"end", "20"}}},
      {[] {
         return StockRankUrl(4, {6, 2}, 1000);
       },
       L"/pc/rt/get_stock_rank",
       {{"stock_type", "gem"}, {"sort_key", "b1p"}, {"sort_type", "desc"}, {"num", "1000"}}},
      {[] {
         return StockFiveMinuteChangeUrl(3, {7, 1});
       },
       L"/pc/rt/stock_five_change",
       {{"stock_type", "sz_a"}, {"sort_key", "s1p"}, {"sort_type", "asc"}}},
      {[] {
         return PlateRankUrl(2, {22, 2}, 10);
       },
       L"/pc/rt/get_bk_rank",
       {{"bk_type", "gn"}, {"sort_key", "bpin"}, {"sort_type", "desc"}, {"num", "10"}}},
      {[] { return DayMinuteLineUrl({L"sh600000"}); },
       L"/pc/rt/get_day_time",
       {{"stock_arr", R"(["sh600000"])"}}},
      {[] { return HistoryMinuteLineUrl(L"sh600000", 20240315); },
       L"/pc/rt/get_day_htime",
       {{"stock", "sh600000"}, {"date", "20240315"}}},
      {[] { return RecentMinuteLinesUrl(L"sz000001", 20240315, 1005); },
       L"/pc/rt/get_choice_htime",
       {{"stock", "sz000001"}, {"date", "20240315"}, {"rn", "1005"}}},
      {[] { return DayCandleUrl(L"sh600000", -1, -1); },
       L"/pc/rt/get_day_kline",
       {{"stock_arr", R"(["sh600000"])"}}},
      {[] { return DayCandleUrl(L"sh600000", 3, 2); },
       L"/pc/rt/get_day_kline",
       {{"stock_arr", R"(["sh600000"])"}}},
      {[] { return UnusualEventsUrl(std::numeric_limits<std::int64_t>::max()); },
       L"/pc/monitor/get_monitor",
       {{"date", "9223372036854775807"}}},
      {[] { return UnusualEventsUrl(-20240315); }, L"/pc/monitor/get_monitor", {{"date", "-20240315"}}},
      {[] {
         return StockInOutUrl({L"sh600000", L"\x4E2D"});
       },
       L"/pc/rt/stock_in_out",
       {{"stock_arr", "[\"sh600000\",\"\xE4\xB8\xAD\"]"}}},
      {[] { return StrengthRatingUrl(20240315); }, L"/pc/rt/stock_min_num", today},
      {[] { return StrengthRatingUrl(0); }, L"/pc/rt/stock_min_num", {{"date", "0"}}},
      {[] { return DistributionUrl(20240315); }, L"/pc/rt/stock_distribute_num", today},
      {[] { return DistributionUrl(4294967295U); }, L"/pc/rt/stock_distribute_num", {{"date", "4294967295"}}},
      {[] { return MoneyEffectUrl(20240315); }, L"/pc/rt/stock_min_average", today},
      {[] { return TradeDateUrl(2024); }, L"/pc/rt/trade_date", {{"date", "2024"}}},
      {&MarginTradeUrl, L"/pc/rt/stock_trade", {}},
      {&StockPurchaseUrl, L"/pc/rt/stock_buy", {}},
      {&MetadataVersionUrl, L"/pc/rt/stock_version", {}},
      {&BasicInfoUrl, L"/pc/rt/get_basic_info", {}},
      {&PlateListUrl, L"/pc/rt/get_bk_list", {}},
      {&IndexListUrl, L"/pc/rt/stock_index_list", {}}};
  for (const Case& one : cases) {
    const Signing signing = SigningOf(one.url);
    EXPECT_EQ(signing.path, one.path);
    EXPECT_EQ(signing.parameters, one.parameters) << testing::PrintToString(signing.path);
  }
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

TEST_F(Urls, stockRangeWritesNegativeNumbersWithAMinus) {
  const Signing signing = SigningOf([] { return request::StockRangeUrl(1, {1, 1}, {-1, -2147483647 - 1}); });
  EXPECT_EQ(signing.parameters.at("start"), "-1");
  EXPECT_EQ(signing.parameters.at("end"), "-2147483648");
}

TEST_F(Urls, stockInPlates) {
  ExpectWords(kPlateTypes, [&](int number) {
    const Signing signing = SigningOf([&] { return request::StockInPlatesUrl(number); });
    EXPECT_EQ(signing.path, L"/pc/rt/stock_in_bk");
    return signing.parameters.at("category");
  });
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
    ExpectWords(list.of_stocks ? kStockFields : kPlateFields, [&](int field) {
      return word_of("sort_key", 1, {field, 1});
    });
    ExpectWords(kDirections, [&](int direction) { return word_of("sort_type", 1, {1, direction}); });
    if (list.kind_key.empty()) continue;
    ExpectWords(list.of_stocks ? kStockTypes : kPlateTypes, [&](int kind) {
      return word_of(list.kind_key, kind, {1, 1});
    });
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
