// Margin balances: from the newest day first to the oldest change first, told to all attached observers.
#include <gtest/gtest.h>

#include <limits>
#include <list>
#include <memory>
#include <string>

#include "analytics/margin_trade.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "services.h"

namespace {

using Days = std::list<MarginTradeItem>;

constexpr const char* kPath = "/pc/rt/stock_trade";

std::string Day(int date, const char* sh, const char* sz) {
  return R"({"sh":{"date":)" + std::to_string(date) + R"(,"close":3054.99,"meta":{"bsta":)" + sh +
         R"(}},"sz":{"close":-9612.75,"meta":{"bsta":)" + sz + "}}}";
}

class MarginTrade : public ::testing::Test {
 protected:
  void SetUp() override { service->Attach(&view); }
  void TearDown() override { service->Detach(&view); }
  void Fetch(const std::string& list) {
    host.Expect(Script(kPath).With({}).Setting(30).Inline(
        Answer::Body(R"({"errno":0,"data":{"list":[)" + list + "]}}")));
    service->FetchMarginTradeInfo();
  }

  ScriptedHost host;
  RecordingObserver<Days> view;
  std::unique_ptr<IMarginTrade> service{analytics::MakeMarginTrade()};
};

TEST_F(MarginTrade, runsFromTheOldestChangeToTheNewest) {
  Fetch(Day(20240315, "70", "30") + "," + Day(20240314, "100", "50") + "," + Day(20240313, "60", "20"));
  EXPECT_EQ(view.Last(), (Days{{20240314, 3054, -9612, 150, 70}, {20240315, 3054, -9612, 100, -50}}));
}

TEST_F(MarginTrade, ofOneDayIsAnEmptyList) {
  Fetch(Day(20240315, "1", "1"));
  EXPECT_TRUE(view.Last().empty());
}

TEST_F(MarginTrade, ofNoDayIsAnEmptyList) {
  Fetch("");
  EXPECT_TRUE(view.Last().empty());
}

TEST_F(MarginTrade, readsWhatIsMissingAsZero) {
  Fetch("{}," + Day(20240314, "5", "5"));
  EXPECT_EQ(view.Last(), (Days{{0, 0, 0, 0, -10}}));
}

TEST_F(MarginTrade, keepsTheWholeRangeOfABalance) {
  Fetch(Day(20240315, "1e19", "0") + "," + Day(20240314, "0", "0"));
  EXPECT_EQ(view.Last().front().balance, 10'000'000'000'000'000'000U);
}

TEST_F(MarginTrade, deliversNothingInAttach) {
  Fetch("");
  RecordingObserver<Days> late;
  service->Attach(&late);
  EXPECT_EQ(late.Count(), 0U);
  service->Detach(&late);
}

TEST_F(MarginTrade, mayGoBeforeItsAnswer) {
  host.Expect(Script(kPath).Held());
  service->FetchMarginTradeInfo();
  service->Detach(&view);
  service.reset(analytics::MakeMarginTrade());
  host.Complete(0, Answer::Body(R"({"errno":9})"));
  EXPECT_EQ(view.Count(), 0U);
}

TEST_F(MarginTrade, truncatesTowardZeroWithinItsRange) {
  Fetch(R"({"sh":{"date":20240315.9,"close":1e12},"sz":{"close":-0.9}},{})");
  EXPECT_EQ(view.Last(), (Days{{20240315, std::numeric_limits<std::int32_t>::min(), 0, 0, 0}}));
}

TEST_F(MarginTrade, addsAndSubtractsModuloTwoToThe64) {
  Fetch(Day(20240315, "-5", "2") + "," + Day(20240314, "1e19", "1e19"));
  const std::uint64_t before = 10'000'000'000'000'000'000U * 2;
  const std::uint64_t now = std::uint64_t{0} - 3;
  EXPECT_EQ(view.Last(), (Days{{20240315, 3054, -9612, now, static_cast<std::int64_t>(now - before)}}));
}

TEST_F(MarginTrade, countsAnElementThatIsNoObjectAsADay) {
  Fetch("7," + Day(20240314, "5", "5") + ",null");
  EXPECT_EQ(view.Last(), (Days{{20240314, 3054, -9612, 10, 10}, {0, 0, 0, 0, -10}}));
}

TEST_F(MarginTrade, tellsWhatIsStoredAndNothingAfterAFailure) {
  Fetch(Day(20240315, "1", "1") + "," + Day(20240314, "1", "1"));
  host.ExpectFailureLine(L"CMarginTrade::FetchMarginTradeInfo Failed.");
  host.Expect(Script(kPath).Inline(Answer::Failed(R"({"data":{"list":[]}})")));
  service->FetchMarginTradeInfo();
  EXPECT_EQ(view.Count(), 1U);
}

TEST_F(MarginTrade, tellsNobodyWhoLeftBeforeTheAnswer) {
  host.Expect(Script(kPath).Held());
  service->FetchMarginTradeInfo();
  service->Detach(&view);
  host.Complete(0, Answer::Body(R"({"data":{"list":[]}})"));
  EXPECT_EQ(view.Count(), 0U);
}

}  // namespace
