// What the services hold at the end of a long day: nothing of views that are gone, nothing of answers that
// mean harm, and no more than one answer may take while one is read.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "json_memory.h"
#include "scripted_host.h"
#include "scripted_ticks.h"

namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20;
constexpr std::size_t kAnswer = 8 * kMebibyte;

template <class Data>
struct Counter final : IUpdate1<Data> {
  void Update(const Data& /*data*/) override { ++count; }
  int count = 0;
};

std::string Filled(const std::string& head, const std::function<std::string(int)>& row,
                   const std::string& tail) {
  std::string text = head;
  for (int number = 0;; ++number) {
    const std::string next = row(number);
    if (text.size() + next.size() + tail.size() > kAnswer) break;
    text += next;
  }
  return text + tail;
}

class Memory : public ::testing::Test {
 protected:
  Memory() { host.SetWatchList({L"sh600000"}); }
  ~Memory() override { DestroyStockMarket(); }

  // What is held more than at the start of `act`, and at most meanwhile.
  struct Taken {
    std::size_t kept, peak;
  };
  static Taken By(const std::function<void()>& act) {
    const std::size_t before = memory::Held();
    memory::StartPeak();
    act();
    const std::size_t after = memory::Held(), peak = memory::Peak();
    return {after > before ? after - before : 0, peak > before ? peak - before : 0};
  }

  ScriptedHost host;
  ScriptedTicks ticks;
  ScriptedSteady steady;  // no polling thread asks by itself, however long a test takes
};

TEST_F(Memory, ofShortLivedViewsEndsWithTheNextStore) {
  std::string board = R"({"data":[)";
  for (int row = 0; row < 50; ++row)
    board +=
        std::string(row == 0 ? "" : ",") + R"({"code":"sh6000)" + std::to_string(10 + row) + R"(","last":1})";
  board += "]}";
  host.Allow(Script("/pc/rt/get").Inline(Answer::Body(board)));
  IStockMarket* const service = GetStockMarket();
  const auto look = [&](std::uint32_t start) {
    Counter<std::vector<StockMarketItem>> view;
    service->Attach(&view);
    service->SetTarget(&view, {1, 4, 2, start, start + 50});
    service->Resume(&view, true);
    service->Detach(&view);
    EXPECT_GE(view.count, 1);
    host.ForgetRequests();
    ticks.Advance(50);
  };
  look(0);
  const Taken taken = By([&] {
    for (std::uint32_t view = 1; view <= 5000; ++view) look(view);
    ticks.Advance(400);
    look(0);
  });
  EXPECT_LT(taken.kept, 2 * kMebibyte);
  EXPECT_LT(taken.peak, 8 * kMebibyte);
}

TEST_F(Memory, ofFlowsOfInventedSymbolsEndsWithTheNextStore) {
  IStockInOut* const service = GetStockInOut();
  Counter<StockInOutItem> view;
  service->Attach(&view);
  service->SetTarget(&view, L"sh600000");
  service->Resume(&view, false);
  const std::string good = R"({"data":{"list":[{"sh600000":{"mtime":1}}]}})";
  std::string answer;  // the script keeps no copy of it
  host.Allow(
      Script("/pc/rt/stock_in_out").Inline([&answer](const Request&) { return Answer::Body(answer); }));
  const auto ask = [&](const std::string& body) {
    answer = body;
    service->Refresh();
    host.ForgetRequests();
    ticks.Advance(400);
  };
  host.AllowLine(L"StockInOut::FetchStockInOutInfo Failed.");
  ask(good);
  for (const int width : {1, 40}) {
    SCOPED_TRACE(width);
    std::size_t peak = 0;
    const Taken taken = By([&] {
      for (int round = 0; round < 10; ++round) {
        const std::string hostile = Filled(
            R"({"data":{"list":[)",
            [&](int number) {
              std::string symbol = std::to_string(round) + "x" + std::to_string(number);
              symbol.resize(std::max<std::size_t>(symbol.size(), static_cast<std::size_t>(width)), 'y');
              return "{\"" + symbol + "\":0},";
            },
            "{}]}}");
        peak = std::max(peak, By([&] { ask(hostile); }).peak);
      }
      ask(good);
    });
    EXPECT_LT(taken.kept, 16 * kMebibyte);
    EXPECT_LT(peak, 96 * kMebibyte + 3 * kAnswer) << "the answer and the script's copies of it included";
  }
  EXPECT_GE(view.count, 3);
  service->Detach(&view);
}

template <class Data, class Service, class Key>
void ReadHostile(Service* service, const Key& key) {
  Counter<Data> view;
  service->Attach(&view);
  service->SetTarget(&view, key);
  service->Resume(&view, false);
  service->Refresh();
  service->Detach(&view);
}

TEST_F(Memory, ofRowsWithoutAnythingStaysWithinOneAnswersMeasure) {
  const std::string rows = Filled(R"({"data":[)", [](int) { return "0,"; }, "0]}");
  const std::string listed = Filled(R"({"data":{"list":[)", [](int) { return "0,"; }, "0]}}");
  struct Case {
    const char* path;
    const std::string& body;
    const wchar_t* failed;
    std::function<void()> read;
  };
  const Case cases[] = {
      {"/pc/rt/get", rows, L"StockMarket::FetchStockMarkets Failed.",
       [] {
         ReadHostile<std::vector<StockMarketItem>>(GetStockMarket(), StockRangeRankingTarget{1, 4, 2, 0, 20});
       }},
      {"/pc/rt/get_bk_detail", rows, L"PlateMarket::FetchPlateMarkets Failed.",
       [] {
         ReadHostile<std::vector<StockMarketItem>>(GetPlateMarket(), PlateRangeRankingTarget{1, 4, 2, 0, 20});
       }},
      {"/pc/rt/get_bk_zone_list", rows, L"PlateStockMarket::FetchStockMarkets Failed.",
       [] {
         ReadHostile<PlateStockMarketData>(GetPlateStockMarket(),
                                           PlateStockRankingTarget{L"bk1", 4, 2, 0, 20});
       }},
      {"/pc/rt/get_stock_rank", rows, L"StockRanking::FetchStockRanking Failed.",
       [] {
         ReadHostile<std::vector<StockMarketSummary>>(GetStockRanking(1, false, false),
                                                      RankingTarget{4, 2, 10});
       }},
      {"/pc/rt/get_bk_rank", rows, L"PlateRanking::FetchPlateRanking Failed.",
       [] {
         ReadHostile<std::vector<PlateMarketSummary>>(GetPlateRanking(1, false), RankingTarget{4, 2, 10});
       }},
      {"/pc/rt/stock_detail_list", listed, L"OptionalStockMarket::FetchStockMarkets Failed.",
       [] {
         ReadHostile<std::vector<OptionalMarketItem>>(GetOptionalStockMarket(), SortingTarget{3, 1});
       }},
      {"/pc/monitor/get_monitor", listed, L"StockUnusualEvent::FetchUnusualEvent Failed.",
       [] { ReadHostile<std::list<StockUnusualEventItem>>(GetStockUnusualEvent(), std::uint32_t{0}); }},
      {"/pc/rt/stock_min_num", listed, L"StrengthRating::FetchStrengthRating Failed.",
       [] { ReadHostile<std::vector<StrengthRatingItem>>(GetStrengthRating(), std::uint32_t{0}); }},
      {"/pc/rt/stock_min_average", listed, L"MoneyEffect::FetchMoneyEffect Failed.",
       [] { ReadHostile<std::vector<MoneyEffectItem>>(GetMoneyEffect(), std::uint32_t{0}); }},
      {"/pc/rt/stock_trade", listed, L"CMarginTrade::FetchMarginTradeInfo Failed.",
       [] { GetMarginTrade()->FetchMarginTradeInfo(); }},
      {"/pc/rt/stock_buy", listed, L"CStockPurchase::FetchPurchaseInfo Failed.",
       [] { GetStockPurchase()->FetchPurchaseInfo(); }},
      {"/pc/rt/stock_price_list", rows, L"StockMarket::FetchStockItems Failed.",
       [] { GetStockMarket()->FetchStockItems(1, 1, 1, [](const CodeNameList&) {}); }},
  };
  for (const Case& hostile : cases) {
    SCOPED_TRACE(hostile.path);
    host.AllowLine(hostile.failed);
    host.Expect(Script(hostile.path).Inline(Answer::Body(hostile.body)));
    const Taken taken = By(hostile.read);
    EXPECT_LT(taken.peak, 96 * kMebibyte + 2 * kAnswer) << "the script's copies of the answer included";
    host.ForgetRequests();
    const std::size_t held = memory::Held();
    DestroyStockMarket();
    EXPECT_LT(held - std::min(held, memory::Held()), 64 * kMebibyte);
  }
}

// What is asked for when the lists are looked up, and how large an answer's list became.
struct ListCase {
  const char* path;
  std::function<std::size_t()> read;
};
const ListCase kStocks = {"/pc/rt/get_basic_info", [] { return GetStockCommon()->GetStockList(0).size(); }};
const ListCase kPlates = {"/pc/rt/get_bk_list", [] { return GetStockCommon()->GetPlateList(0).size(); }};
const ListCase kIndices = {"/pc/rt/stock_index_list",
                           [] { return GetStockCommon()->GetIndexList(0).size(); }};
const ListCase kPlatesOfStock = {"/pc/rt/stock_in_bk", [] {
                                   std::vector<std::pair<std::wstring, std::wstring>> plates;
                                   GetStockCommon()->GetPlatesOfStock(L"sh600000", plates);
                                   return plates.size();
                                 }};

// The lists took as much as the server liked: 872 MiB for eight.
TEST_F(Memory, ofReferenceListsStaysWithinOneAnswersMeasure) {
  const std::string text(kAnswer - 64 * 1024, 'x');
  struct Case {
    const ListCase& list;
    std::string front, row, back;
  };
  const Case cases[] = {
      {kStocks, R"({"sh":[)", "0,", "0]}"},
      {kStocks, R"({"sh":[)", R"({"b":"GEM"},)", "0]}"},
      {kStocks, R"({"sh":[)", R"({"c":"abcdefgh"},)", "0]}"},
      {kStocks, R"({"sz":[)", R"({"c":"abcdefgh","b":"SME"},)", "0]}"},
      {kStocks, R"({"sh":[{"c":")", text, R"("}]})"},
      {kStocks, R"({"sh":[{"b":")", text, R"("}]})"},
      {kPlates, R"({"bk_lists":[)", R"({"t":1},)", "0]}"},
      {kPlates, R"({"bk_lists":[)", R"({"t":3,"n":"abcdefgh"},)", "0]}"},
      {kIndices, R"({"data":{"sh":[)", "0,", "0]}}"},
      {kPlatesOfStock, R"({"data":{"sh600000":[)", "0,", "0]}}"},
      {kPlatesOfStock, R"({"data":{"sh600000":[)", R"(["abcdefgh","abcdefgh"],)", "0]}}"},
      {kPlatesOfStock, R"({"data":{)", R"("sh600000":0,)", R"("sh600000":[[]]}})"},
      {kPlatesOfStock, R"({"data":{"sh600000":[[")", text, R"("]]}})"},
  };
  for (const Case& hostile : cases) {
    SCOPED_TRACE(hostile.list.path + (" " + hostile.front) + hostile.row.substr(0, 40));
    GetStockCommon();
    {
      const std::string body = Filled(
                                   hostile.front, [&](int) { return hostile.row; }, hostile.back)
                                   .substr(0, kAnswer);
      host.Expect(Script(hostile.list.path).Inline(Answer::Body(body)));
    }
    const Taken taken = By([&] { hostile.list.read(); });
    EXPECT_LT(taken.peak, 96 * kMebibyte) << taken.peak / kMebibyte << " MiB";
    host.ForgetRequests();
    DestroyStockMarket();
  }
}

TEST_F(Memory, isMoreThanEnoughForTheListsOfARealMarket) {
  constexpr int kStockCount = 6000, kPlateCount = 1000, kPlatesOfEach = 20;
  const auto rows = [](int count, const std::function<std::string(int)>& row) {
    std::string text;
    for (int number = 0; number < count; ++number) text += (number == 0 ? "" : ",") + row(number);
    return text;
  };
  const std::string names = R"("n":"股票名称","py":"GPMC")";
  const auto digits = [](int number) { return std::to_string(100'000 + number); };
  const std::string stocks =
      R"({"sh":[)" +
      rows(kStockCount, [&](int n) { return R"({"c":"sh)" + digits(n) + R"(","b":"GEM",)" + names + "}"; }) +
      "]}";
  const std::string plates =
      R"({"bk_lists":[)" +
      rows(kPlateCount, [&](int n) { return R"({"bk":"bk)" + digits(n) + R"(","t":1,)" + names + "}"; }) +
      "]}";
  const std::string of_each =
      "[" + rows(kPlatesOfEach, [&](int n) { return R"(["bk)" + digits(n) + R"(","行业板块"])"; }) + "]";
  const std::string of_stocks =
      R"({"data":{)" +
      rows(kStockCount, [&](int n) { return R"("sh)" + digits(500'000 + n) + "\":" + of_each; }) + "}}";
  host.Expect(Script(kStocks.path).Inline(Answer::Body(stocks)));
  host.Expect(Script(kPlates.path).Inline(Answer::Body(plates)));
  host.Expect(Script(kPlatesOfStock.path).Inline(Answer::Body(of_stocks)));
  EXPECT_EQ(kStocks.read(), 6000U);
  EXPECT_EQ(GetStockCommon()->GetStockList(4).size(), 6000U);
  EXPECT_EQ(kPlates.read(), 1000U);
  EXPECT_EQ(kPlatesOfStock.read(), 20U);
}

// A board of many small rows failed although it takes far less than an answer may.
TEST_F(Memory, ofManySmallRowsIsTaken) {
  constexpr std::size_t kRows = 45'000;
  std::string body = R"({"data":[)";
  for (std::size_t row = 0; row < kRows; ++row)
    body += std::string(row == 0 ? "" : ",") + R"({"code":"sh600000"})";
  body += "]}";
  struct Board final : IUpdate1<std::vector<StockMarketItem>> {
    void Update(const std::vector<StockMarketItem>& data) override { rows = data.size(); }
    std::size_t rows = 0;
  } board;
  IStockMarket* const service = GetStockMarket();
  service->Attach(&board);
  service->SetTarget(&board, StockRangeRankingTarget{1, 4, 2, 0, 20});
  host.Expect(Script("/pc/rt/get").Inline(Answer::Body(body)));
  const Taken taken = By([&] { service->Resume(&board, true); });
  EXPECT_EQ(board.rows, kRows);
  EXPECT_LT(taken.peak, 96 * kMebibyte);
  service->Detach(&board);
}

// Rows take all that they may, and then a text comes that takes the most.
TEST_F(Memory, ofATextBehindManyRowsIsJudgedBeforeItIsTaken) {
  for (int rows = 50'000; rows < 90'000; rows += 2'000) {
    SCOPED_TRACE(rows);
    std::string body = R"({"data":[)";
    for (int row = 0; row < rows; ++row) body += "0,";
    body += R"({"name":")" + std::string(kAnswer - body.size() - 100, 'x') + "\"}]}";
    host.AllowLine(L"StockMarket::FetchStockMarkets Failed.");
    host.Expect(Script("/pc/rt/get").Inline(Answer::Body(std::move(body))));
    const Taken taken = By([] {
      ReadHostile<std::vector<StockMarketItem>>(GetStockMarket(), StockRangeRankingTarget{1, 4, 2, 0, 20});
    });
    EXPECT_LT(taken.peak, 96 * kMebibyte) << taken.peak / kMebibyte << " MiB";
    host.ForgetRequests();
    DestroyStockMarket();
  }
}

// Each order was a copy, of which the texts did not count.
TEST_F(Memory, ofLongTextsInManyOrdersIsLimited) {
  std::string body =
      R"({"data":{"list":[{"code":"sh600000","name":")" + std::string(5'000'000, 'x') + "\"}]}}";
  host.AllowLine(L"OptionalStockMarket::FetchStockMarkets Failed.");
  host.Allow(Script("/pc/rt/stock_in_bk").Inline(Answer::Failed()));
  host.Expect(Script("/pc/rt/stock_detail_list").Inline(Answer::Body(std::move(body))));
  IOptionalStockMarket* const service = GetOptionalStockMarket();
  std::vector<Counter<std::vector<OptionalMarketItem>>> views(15);
  const Taken taken = By([&] {
    std::uint32_t column = 3;
    for (auto& view : views) {
      service->Attach(&view);
      service->SetTarget(&view, SortingTarget{column++, 1});
      service->Resume(&view, false);
    }
    service->Refresh();
  });
  EXPECT_LT(taken.peak, 96 * kMebibyte) << taken.peak / kMebibyte << " MiB";
  for (auto& view : views) service->Detach(&view);
}

}  // namespace
