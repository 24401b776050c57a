// The seven services of quotes and rankings with several keys at once: one request for each, and views are
// told of theirs.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "quotes/optional_stock_market.h"
#include "quotes/plate_market.h"
#include "quotes/plate_stock_market.h"
#include "quotes/single_stock_market.h"
#include "quotes/stock_market.h"
#include "ranking/plate_ranking.h"
#include "ranking/stock_ranking.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "scripted_ticks.h"
#include "services.h"
#include "sleeping_threads.h"

namespace {

std::string DataArray(const std::string& row) {
  return R"({"errno":0,"data":[)" + row + "]}";
}

std::string DataList(const std::string& row) {
  return R"({"errno":0,"data":{"list":[)" + row + "]}}";
}

// One service each: how it is made, its keys, an answer.
struct OfBoard {
  using Key = StockRangeRankingTarget;
  using Data = std::vector<StockMarketItem>;
  static constexpr const char* kPath = "/pc/rt/get";
  static constexpr bool kByKey = true;
  static IStockMarket* Make() { return quotes::MakeStockMarket(); }
  static Key Target(int number) { return {1, 4, 2, 0, static_cast<std::uint32_t>(number)}; }
  static std::string Body() { return DataArray(R"({"code":"sh600000","last":1})"); }
};

struct OfSingleStock {
  using Key = std::wstring;
  using Data = StockMarketItem;
  static constexpr const char* kPath = "/pc/rt/stock_detail_list";
  static constexpr bool kByKey = true;
  static ISingleStockMarket* Make() { return quotes::MakeSingleStockMarket(); }
  static Key Target(int number) { return L"sh60000" + std::to_wstring(number); }
  static std::string Body() { return DataList(R"({"code":"sh600000","last":1})"); }
};

struct OfWatchList {
  using Key = SortingTarget;
  using Data = std::vector<OptionalMarketItem>;
  static constexpr const char* kPath = "/pc/rt/stock_detail_list";
  static constexpr bool kByKey = false;
  static IOptionalStockMarket* Make() { return quotes::MakeOptionalStockMarket(); }
  static Key Target(int number) { return {static_cast<std::uint32_t>(number), 1}; }
  static std::string Body() { return DataList(R"({"code":"sh600000","last":1})"); }
};

struct OfPlates {
  using Key = PlateRangeRankingTarget;
  using Data = std::vector<StockMarketItem>;
  static constexpr const char* kPath = "/pc/rt/get_bk_detail";
  static constexpr bool kByKey = true;
  static IPlateMarket* Make() { return quotes::MakePlateMarket(); }
  static Key Target(int number) { return {1, 4, 2, 0, static_cast<std::uint32_t>(number)}; }
  static std::string Body() { return DataArray(R"({"bk":"sh600000","last":1})"); }
};

struct OfPlateStocks {
  using Key = PlateStockRankingTarget;
  using Data = PlateStockMarketData;
  static constexpr const char* kPath = "/pc/rt/get_bk_zone_list";
  static constexpr bool kByKey = true;
  static IPlateStockMarket* Make() { return quotes::MakePlateStockMarket(); }
  static Key Target(int number) { return {L"bk1001", 4, 2, 0, static_cast<std::uint32_t>(number)}; }
  static std::string Body() { return DataArray(R"({"code":"sh600000","last":1})"); }
};

struct OfStockRanking {
  using Key = RankingTarget;
  using Data = std::vector<StockMarketSummary>;
  static constexpr const char* kPath = "/pc/rt/get_stock_rank";
  static constexpr bool kByKey = true;
  static IStockRanking* Make() { return ranking::MakeStockRanking(1, false); }
  static Key Target(int number) { return {4, 2, number}; }
  static std::string Body() { return DataArray(R"({"code":"sh600000","last":1})"); }
};

struct OfPlateRanking {
  using Key = RankingTarget;
  using Data = std::vector<PlateMarketSummary>;
  static constexpr const char* kPath = "/pc/rt/get_bk_rank";
  static constexpr bool kByKey = true;
  static IPlateRanking* Make() { return ranking::MakePlateRanking(1); }
  static Key Target(int number) { return {4, 2, number}; }
  static std::string Body() { return DataArray(R"({"bk":"sh600000","last":1})"); }
};

template <class Of>
class PolledService : public ::testing::Test {
 protected:
  using Observer = RecordingObserver<typename Of::Data>;

  PolledService() {
    host.SetWatchList({L"sh600000"});
    service.reset(Of::Make());
    AwaitSleepingThreads();
  }

  void Show(Observer& observer, int target) {
    service->Attach(&observer);
    service->SetTarget(&observer, Of::Target(target));
    service->Resume(&observer, false);
  }

  void RefreshWith(const Answer& answer, std::size_t requests = 1) {
    host.Expect(Script(Of::kPath).Setting(30).Times(requests).Inline(answer));
    service->Refresh();
  }

  ScriptedHost host;
  ScriptedTicks ticks;
  std::unique_ptr<std::remove_pointer_t<decltype(Of::Make())>> service;
};

using Services = ::testing::Types<OfBoard, OfSingleStock, OfWatchList, OfPlates, OfPlateStocks,
                                  OfStockRanking, OfPlateRanking>;
TYPED_TEST_SUITE(PolledService, Services);

TYPED_TEST(PolledService, tellsActiveViewsOfTheKey) {
  typename TestFixture::Observer first;
  typename TestFixture::Observer second;
  typename TestFixture::Observer suspended;
  typename TestFixture::Observer elsewhere;
  for (auto* const view : {&first, &second, &suspended}) this->Show(*view, 5);
  this->service->Suspend(&suspended);
  this->host.Expect(Script(TypeParam::kPath).Held());
  this->service->Refresh();
  this->Show(elsewhere, 6);
  this->host.Complete(0, Answer::Body(TypeParam::Body()));
  EXPECT_EQ(first.Count(), 1U);
  EXPECT_EQ(second.Count(), 1U);
  EXPECT_EQ(suspended.Count(), 0U);
  EXPECT_EQ(elsewhere.Count(), TypeParam::kByKey ? 0U : 1U);
  for (auto* const view : {&first, &second, &suspended, &elsewhere}) this->service->Detach(view);
}

TYPED_TEST(PolledService, asksOncePerKey) {
  typename TestFixture::Observer first;
  typename TestFixture::Observer second;
  typename TestFixture::Observer elsewhere;
  this->Show(first, 5);
  this->Show(second, 5);
  this->Show(elsewhere, 6);
  this->RefreshWith(Answer::Body(TypeParam::Body()), TypeParam::kByKey ? 2 : 1);
  for (auto* const view : {&first, &second, &elsewhere}) EXPECT_EQ(view->Count(), 1U);
  for (auto* const view : {&first, &second, &elsewhere}) this->service->Detach(view);
}

}  // namespace
