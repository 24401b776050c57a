// What the services hold at the end of a long day: nothing of views that are gone, nothing of answers that
// mean harm, and no more than one answer may take while one is read.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <list>
#include <string>
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
  for (int number = 0; text.size() + tail.size() + 64 < kAnswer; ++number) text += row(number);
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

}  // namespace
