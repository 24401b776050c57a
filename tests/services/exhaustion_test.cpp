// Every service when memory runs out, and when a function of the host throws: at every allocation and at
// every call of a whole session in turn. Nothing crashes and nothing is thrown; a fetch that could not be
// made, read or told has left its failure line; and the next session works.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "failing_memory.h"
#include "scripted_host.h"

namespace {

// A view that takes no memory.
template <class Data>
struct Counter final : IUpdate1<Data> {
  void Update(const Data& /*data*/) override { ++count; }
  int count = 0;
};

struct Subject {
  const char* name;
  std::wstring failed;  // its failure line; empty for the one that asks nobody
  std::function<bool()> make;
  /// A session of a view of its own: how often it was told.
  std::function<int()> session;
  bool tells_failures = false;
};

void PrintTo(const Subject& subject, std::ostream* stream) {
  *stream << subject.name;
}

// A view that attaches, sets its key, is resumed, asks again, is hidden and shown again and goes. Its round
// is the polling thread's.
template <class Data, class Service, class Key>
Subject Polled(const char* name, std::wstring failed, Service* (*get)(), Key key) {
  return {name, std::move(failed), [get] { return get() != nullptr; },
          [get, key] {
            Service* const service = get();
            if (service == nullptr) return 0;
            Counter<Data> view;
            service->Attach(&view);
            service->SetTarget(&view, key);
            service->Resume(&view, true);
            service->OnTimer();
            service->Suspend(&view);
            service->Resume(&view, true);
            service->RemoveTarget(&view);
            service->Detach(&view);
            return view.count;
          }};
}

template <class Data, class Service>
Subject OnceAsked(const char* name, std::wstring failed, Service* (*get)(), void (Service::*fetch)()) {
  return {name, std::move(failed), [get] { return get() != nullptr; },
          [get, fetch] {
            Service* const service = get();
            if (service == nullptr) return 0;
            Counter<Data> view;
            service->Attach(&view);
            (service->*fetch)();
            service->Detach(&view);
            return view.count;
          }};
}

std::vector<Subject> Subjects() {
  using Text = std::wstring;
  const Text symbol = L"sh600000";
  std::vector<Subject> all = {
      Polled<std::vector<IndexMarketSummary>>("IndexQuotes", L"IndexMarket::FetchIndexMarkets Failed.",
                                              &GetIndexMarket, Text()),
      Polled<std::vector<StockMarketItem>>("StockQuotes", L"StockMarket::FetchStockMarkets Failed.",
                                           &GetStockMarket, StockRangeRankingTarget{1, 4, 2, 0, 50}),
      Polled<StockMarketItem>("SingleStock", L"SingleStockMarket::FetchStockMarket Failed.",
                              &GetSingleStockMarket, symbol),
      Polled<std::vector<OptionalMarketItem>>("OptionalStocks",
                                              L"OptionalStockMarket::FetchStockMarkets Failed.",
                                              &GetOptionalStockMarket, SortingTarget{3, 1}),
      Polled<std::vector<StockMarketItem>>("PlateQuotes", L"PlateMarket::FetchPlateMarkets Failed.",
                                           &GetPlateMarket, PlateRangeRankingTarget{1, 4, 2, 0, 50}),
      Polled<PlateStockMarketData>("PlateStocks", L"PlateStockMarket::FetchStockMarkets Failed.",
                                   &GetPlateStockMarket, PlateStockRankingTarget{L"bk0001", 4, 2, 0, 50}),
      Polled<std::vector<StockMarketSummary>, IStockRanking>(
          "StockRanking", L"StockRanking::FetchStockRanking Failed.",
          +[] { return GetStockRanking(1, false, false); }, RankingTarget{4, 2, 10}),
      Polled<std::vector<PlateMarketSummary>, IPlateRanking>(
          "PlateRanking", L"PlateRanking::FetchPlateRanking Failed.",
          +[] { return GetPlateRanking(1, false); }, RankingTarget{4, 2, 10}),
      Polled<StockMLineData>("MinuteLine", L"StockMLine::FetchMLine Failed.", &GetStockMLine, symbol),
      Polled<StockKLineData>("KLine", L"StockKLine::FetchKLine Failed.", &GetStockKLine, symbol),
      Polled<StockInOutItem>("InOut", L"StockInOut::FetchStockInOutInfo Failed.", &GetStockInOut, symbol),
      Polled<std::vector<StrengthRatingItem>>("StrengthRating",
                                              L"StrengthRating::FetchStrengthRating Failed.",
                                              &GetStrengthRating, std::uint32_t{0}),
      Polled<DistributionItem>("Distribution", L"StockDistribution::FetchDistribution Failed.",
                               &GetStockDistribution, std::uint32_t{0}),
      Polled<std::vector<MoneyEffectItem>>("MoneyEffect", L"MoneyEffect::FetchMoneyEffect Failed.",
                                           &GetMoneyEffect, std::uint32_t{0}),
      Polled<StockMarketState>("MarketState", {}, &GetStockMarketState, Text(L"CN")),
      OnceAsked<std::list<MarginTradeItem>>("MarginTrade", L"CMarginTrade::FetchMarginTradeInfo Failed.",
                                            &GetMarginTrade, &IMarginTrade::FetchMarginTradeInfo),
      OnceAsked<std::list<StockPurchaseItem>>("StockPurchase", L"CStockPurchase::FetchPurchaseInfo Failed.",
                                              &GetStockPurchase, &IStockPurchase::FetchPurchaseInfo),
  };
  all.push_back(Polled<std::list<StockUnusualEventItem>>("UnusualEvents",
                                                         L"StockUnusualEvent::FetchUnusualEvent Failed.",
                                                         &GetStockUnusualEvent, std::uint32_t{0}));
  all.back().tells_failures = true;
  return all;
}

class Exhaustion : public ::testing::TestWithParam<Subject> {
 protected:
  Exhaustion() {
    host.SetTaskMode(ScriptedHost::TaskMode::kInline);
    host.SetWatchList({L"sh600000"});
    const auto answer = [this](const char* path, const char* body) {
      host.Allow(Script(path).Inline(Answer::Body(body)));
    };
    const char* const row =
        R"({"data":[{"code":"sh600000 with a long code","name":"甲","last":1,"vol":2,"b1p":3}]})";
    const char* const listed =
        R"({"data":{"list":[{"code":"sh600000","name":"a name that needs memory","last":1,"vol":2,"s5v":3,"up":1}]}})";
    for (const char* const path : {"/pc/rt/get", "/pc/rt/get_bk_detail", "/pc/rt/get_bk_zone_list",
                                   "/pc/rt/get_stock_rank", "/pc/rt/get_bk_rank"})
      answer(path, row);
    for (const char* const path : {"/pc/rt/stock_detail_list", "/pc/rt/stock_min_num",
                                   "/pc/rt/stock_min_average", "/pc/rt/stock_buy", "/pc/monitor/get_monitor"})
      answer(path, listed);
    answer("/pc/rt/stock_distribute_num", R"({"data":{"up":1,"list":[1,2,3]}})");
    answer("/pc/rt/stock_trade", R"({"data":{"list":[{"sh":{"date":1}},{}]}})");
    answer("/pc/rt/stock_in_out", R"({"data":{"list":[{"sh600000":{"mtime":1}}]}})");
    answer("/pc/rt/get_day_time",
           R"({"data":{"sh600000":{"date":"20240315","list":[{"min":931,"last":1},{"min":932}]}}})");
    answer("/pc/rt/get_day_kline", R"({"data":{"sh600000":{"date":"20240315","list":{"open":1,"last":2}}}})");
    answer("/kql", "{}");
    for (const Subject& subject : Subjects()) {
      if (!subject.failed.empty()) host.AllowLine(subject.failed);
    }
    // The one fetch whose failure writes a second line: an empty text is no JSON.
    host.AllowLine(L"StockInOut::FetchStockInOutInfo Json Parse Error Code: 5");
  }
  ~Exhaustion() override { DestroyStockMarket(); }

  void ExpectANextSessionThatWorks() { EXPECT_GE(GetParam().session(), 1) << "afterwards"; }
  std::size_t FailureLines() {
    const auto log = host.Log();
    return static_cast<std::size_t>(std::count_if(
        log.begin(), log.end(), [](const LogLine& line) { return line.text == GetParam().failed; }));
  }

  ScriptedHost host;
};

constexpr long kMost = 100'000;

TEST_P(Exhaustion, ofMemoryAtEveryAllocationOfASession) {
  for (const bool all_later : {false, true}) {
    bool failed = true;
    for (long number = 0; failed && number < kMost; ++number) {
      SCOPED_TRACE("allocation " + std::to_string(number) + (all_later ? " and all later ones" : ""));
      ASSERT_TRUE(GetParam().make());
      bool thrown = false;
      {
        const FailingMemory memory(number, all_later);
        try {
          GetParam().session();
        } catch (...) {
          thrown = true;
        }
        failed = FailingMemory::HasFailed();
      }
      ASSERT_FALSE(thrown);
      ExpectANextSessionThatWorks();
      if (HasFailure()) return;
      host.ForgetRequests();
    }
    EXPECT_FALSE(failed);
  }
}

TEST_P(Exhaustion, ofMemoryAtEveryAllocationOfAnAccessor) {
  bool failed = true;
  for (long number = 0; failed && number < kMost; ++number) {
    SCOPED_TRACE("allocation " + std::to_string(number));
    DestroyStockMarket();
    bool thrown = false, made = false;
    {
      const FailingMemory memory(number, false);
      try {
        made = GetParam().make();
      } catch (...) {
        thrown = true;
      }
      failed = FailingMemory::HasFailed();
    }
    ASSERT_FALSE(thrown);
    if (!made) DestroyStockMarket();  // a ranking remembers that it could not be made
    ExpectANextSessionThatWorks();
    if (HasFailure()) return;
  }
  EXPECT_FALSE(failed);
}

TEST_P(Exhaustion, ofTheHostAtEveryCallOfASession) {
  ASSERT_TRUE(GetParam().make());
  const int usual = GetParam().session();
  bool failed = true;
  for (long number = 0; failed && number < kMost; ++number) {
    const std::size_t lines = FailureLines();
    int told = 0;
    bool thrown = false;
    std::string by;
    {
      const ThrowingCall call(number);
      try {
        told = GetParam().session();
      } catch (...) {
        thrown = true;
      }
      failed = ThrowingCall::ThrownBy() != nullptr;
      if (failed) by = ThrowingCall::ThrownBy();
    }
    SCOPED_TRACE("call " + std::to_string(number) + ", of " + by);
    ASSERT_FALSE(thrown);
    // A fetch less was told, and a line says so; a line that cannot be written is lost.
    if (failed && told < usual && !GetParam().failed.empty() &&
        by.find("WriteProgramLog") == std::string::npos) {
      EXPECT_GT(FailureLines(), lines);
    }
    if (GetParam().tells_failures) {
      EXPECT_EQ(told, usual) << "a failure is told as well";
    }
    ExpectANextSessionThatWorks();
    if (HasFailure()) return;
    host.ForgetRequests();
  }
  EXPECT_FALSE(failed);
}

INSTANTIATE_TEST_SUITE_P(Services, Exhaustion, ::testing::ValuesIn(Subjects()),
                         [](const auto& subject) { return std::string(subject.param.name); });

}  // namespace
