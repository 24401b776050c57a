// What all seven services of quotes and rankings have in common, and where they differ: whom they tell, what
// they keep, which answers count, how often they ask.
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

constexpr int kAtPhases = 0;

std::string Row(const char* code_key, int figure) {
  return std::string(R"({")") + code_key + R"(":"sh600000","last":)" + std::to_string(figure) +
         R"(,"change":)" + std::to_string(figure) + "}";
}

std::string DataArray(const std::string& row) {
  return R"({"errno":0,"data":[)" + row + "]}";
}

std::string DataList(const std::string& row) {
  return R"({"errno":0,"data":{"list":[)" + row + "]}}";
}

// One service each: how it is made, two keys of it, an answer that carries a figure, the figure in what is
// told.
struct OfBoard {
  using Key = StockRangeRankingTarget;
  using Data = std::vector<StockMarketItem>;
  static constexpr const char* kPath = "/pc/rt/get";
  static constexpr const wchar_t* kName = L"StockMarket::FetchStockMarkets";
  static constexpr int kInterval = 3;
  static constexpr bool kByKey = true;
  static IStockMarket* Make() { return quotes::MakeStockMarket(); }
  static Key Target(int number) { return {1, 4, 2, 0, static_cast<std::uint32_t>(number)}; }
  static std::string Body(int figure) { return DataArray(Row("code", figure)); }
  static double Figure(const Data& data) { return data.at(0).last.value; }
};

struct OfSingleStock {
  using Key = std::wstring;
  using Data = StockMarketItem;
  static constexpr const char* kPath = "/pc/rt/stock_detail_list";
  static constexpr const wchar_t* kName = L"SingleStockMarket::FetchStockMarket";
  static constexpr int kInterval = 3;
  static constexpr bool kByKey = true;
  static ISingleStockMarket* Make() { return quotes::MakeSingleStockMarket(); }
  static Key Target(int number) { return L"sh60000" + std::to_wstring(number); }
  static std::string Body(int figure) { return DataList(Row("code", figure)); }
  static double Figure(const Data& data) { return data.last.value; }
};

struct OfWatchList {
  using Key = SortingTarget;
  using Data = std::vector<OptionalMarketItem>;
  static constexpr const char* kPath = "/pc/rt/stock_detail_list";
  static constexpr const wchar_t* kName = L"OptionalStockMarket::FetchStockMarkets";
  static constexpr int kInterval = 3;
  static constexpr bool kByKey = false;
  static IOptionalStockMarket* Make() { return quotes::MakeOptionalStockMarket(); }
  static Key Target(int number) { return {static_cast<std::uint32_t>(number), 1}; }
  static std::string Body(int figure) { return DataList(Row("code", figure)); }
  static double Figure(const Data& data) { return data.at(0).last.value; }
};

struct OfPlates {
  using Key = PlateRangeRankingTarget;
  using Data = std::vector<StockMarketItem>;
  static constexpr const char* kPath = "/pc/rt/get_bk_detail";
  static constexpr const wchar_t* kName = L"PlateMarket::FetchPlateMarkets";
  static constexpr int kInterval = 3;
  static constexpr bool kByKey = true;
  static IPlateMarket* Make() { return quotes::MakePlateMarket(); }
  static Key Target(int number) { return {1, 4, 2, 0, static_cast<std::uint32_t>(number)}; }
  static std::string Body(int figure) { return DataArray(Row("bk", figure)); }
  static double Figure(const Data& data) { return data.at(0).last.value; }
};

struct OfPlateStocks {
  using Key = PlateStockRankingTarget;
  using Data = PlateStockMarketData;
  static constexpr const char* kPath = "/pc/rt/get_bk_zone_list";
  static constexpr const wchar_t* kName = L"PlateStockMarket::FetchStockMarkets";
  static constexpr int kInterval = 3;
  static constexpr bool kByKey = true;
  static IPlateStockMarket* Make() { return quotes::MakePlateStockMarket(); }
  static Key Target(int number) { return {L"bk1001", 4, 2, 0, static_cast<std::uint32_t>(number)}; }
  static std::string Body(int figure) { return DataArray(Row("code", figure)); }
  static double Figure(const Data& data) { return data.stocks.at(0).last.value; }
};

struct OfStockRanking {
  using Key = RankingTarget;
  using Data = std::vector<StockMarketSummary>;
  static constexpr const char* kPath = "/pc/rt/get_stock_rank";
  static constexpr const wchar_t* kName = L"StockRanking::FetchStockRanking";
  static constexpr int kInterval = kAtPhases;
  static constexpr bool kByKey = true;
  static IStockRanking* Make() { return ranking::MakeStockRanking(1, false); }
  static Key Target(int number) { return {4, 2, number}; }
  static std::string Body(int figure) { return DataArray(Row("code", figure)); }
  static double Figure(const Data& data) { return data.at(0).last.value; }
};

struct OfPlateRanking {
  using Key = RankingTarget;
  using Data = std::vector<PlateMarketSummary>;
  static constexpr const char* kPath = "/pc/rt/get_bk_rank";
  static constexpr const wchar_t* kName = L"PlateRanking::FetchPlateRanking";
  static constexpr int kInterval = kAtPhases;
  static constexpr bool kByKey = true;
  static IPlateRanking* Make() { return ranking::MakePlateRanking(1); }
  static Key Target(int number) { return {4, 2, number}; }
  static std::string Body(int figure) { return DataArray(Row("bk", figure)); }
  static double Figure(const Data& data) { return data.at(0).change; }
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

  static std::vector<double> Figures(const Observer& observer) {
    std::vector<double> figures;
    for (const auto& data : observer.Updates()) figures.push_back(Of::Figure(data));
    return figures;
  }

  ScriptedHost host;
  ScriptedTicks ticks;
  std::unique_ptr<std::remove_pointer_t<decltype(Of::Make())>> service;
};

using Services = ::testing::Types<OfBoard, OfSingleStock, OfWatchList, OfPlates, OfPlateStocks,
                                  OfStockRanking, OfPlateRanking>;
TYPED_TEST_SUITE(PolledService, Services);

TYPED_TEST(PolledService, asksAsOftenAsItIsMadeTo) {
  if (TypeParam::kInterval != kAtPhases) {
    EXPECT_EQ(this->service->GetInterval(), TypeParam::kInterval);
    EXPECT_TRUE(this->host.SpanCalls().empty()) << "the phase is no matter of this service";
    return;
  }
  this->host.SetSpan(3601);
  EXPECT_EQ(this->service->GetInterval(), 3600);
  this->host.SetSpan(3600);
  EXPECT_EQ(this->service->GetInterval(), 3600);
  this->host.SetSpan(7);
  EXPECT_EQ(this->service->GetInterval(), 7);
}

TYPED_TEST(PolledService, sendsNothingWithoutAnAddress) {
  typename TestFixture::Observer view;
  this->Show(view, 5);
  this->host.SignNothing(true);
  this->service->Refresh();
  EXPECT_EQ(this->host.Signings().size(), 1U);
  EXPECT_EQ(this->host.RequestCount(), 0U);
  this->service->Detach(&view);
}

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
  this->host.Complete(0, Answer::Body(TypeParam::Body(1)));
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
  this->RefreshWith(Answer::Body(TypeParam::Body(1)), TypeParam::kByKey ? 2 : 1);
  for (auto* const view : {&first, &second, &elsewhere}) EXPECT_EQ(view->Count(), 1U);
  for (auto* const view : {&first, &second, &elsewhere}) this->service->Detach(view);
}

TYPED_TEST(PolledService, tellsAnEmptyPayloadUnlessItIsASingleQuote) {
  typename TestFixture::Observer view;
  this->Show(view, 5);
  for (const char* body : {R"({"errno":0,"data":{}})", R"({"errno":0})", R"({"data":[]})", "[]"}) {
    this->RefreshWith(Answer::Body(body));
  }
  constexpr bool kSingle = std::is_same_v<TypeParam, OfSingleStock>;
  EXPECT_EQ(view.Count(), kSingle ? 0U : 4U);
  this->service->Detach(&view);
}

TYPED_TEST(PolledService, keepsWhatItHasAfterAFailure) {
  typename TestFixture::Observer view;
  typename TestFixture::Observer late;
  this->Show(view, 5);
  this->RefreshWith(Answer::Body(TypeParam::Body(1)));
  const std::wstring name = TypeParam::kName;
  this->host.ExpectFailureLine(name + L" Failed.");
  this->host.ExpectCodeLine(name + L" Response Error Code: %d", 1001);
  this->host.ExpectCodeLine(name + L" Json Parse Error Code: %d", 5);
  for (const Answer& failure : {Answer::Failed(TypeParam::Body(2)), Answer::Body(R"({"errno":1001})"),
                                Answer::Body("?"), Answer::Null()}) {
    this->RefreshWith(failure);
  }
  EXPECT_EQ(view.Count(), 1U);
  this->ticks.Advance(300);
  this->service->Attach(&late);
  this->service->SetTarget(&late, TypeParam::Target(5));
  if (!TypeParam::kByKey) {
    // Orders are made from each answer, nothing is kept for a key.
    this->host.Expect(Script(TypeParam::kPath).Held());
    this->service->Resume(&late, true);
    EXPECT_EQ(late.Count(), 0U);
  } else {
    this->service->Resume(&late, true);
    EXPECT_EQ(TestFixture::Figures(late), std::vector<double>{1});
  }
  this->service->Detach(&view);
  this->service->Detach(&late);
}

TYPED_TEST(PolledService, neverTellsAnOlderAnswerAfterANewerOne) {
  typename TestFixture::Observer view;
  this->Show(view, 5);
  this->host.Expect(Script(TypeParam::kPath).Times(2).Held());
  this->service->Refresh();
  this->service->Refresh();
  this->host.Complete(1, Answer::Body(TypeParam::Body(2)));
  this->host.Complete(0, Answer::Body(TypeParam::Body(1)));
  const auto told = TestFixture::Figures(view);
  EXPECT_EQ(told, std::vector<double>{2});
  this->service->Detach(&view);
}

TYPED_TEST(PolledService, isGoneWhenAnAnswerComesLate) {
  typename TestFixture::Observer view;
  this->Show(view, 5);
  this->host.Expect(Script(TypeParam::kPath).Held());
  this->service->Refresh();
  this->service.reset();
  this->host.Complete(0, Answer::Body(TypeParam::Body(1)));
  EXPECT_EQ(view.Count(), 0U);
}

}  // namespace
