// Top lists of plates: what is asked for, and that every row of the answer comes.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ranking/plate_ranking.h"
#include "recording_observer.h"
#include "scripted_host.h"
#include "services.h"
#include "sleeping_threads.h"

namespace {

using Rows = std::vector<PlateMarketSummary>;

constexpr const char* kPath = "/pc/rt/get_bk_rank";

class PlateRanking : public ::testing::Test {
 protected:
  void Show(const RankingTarget& target) {
    service->Attach(&view);
    service->SetTarget(&view, target);
    service->Resume(&view, false);
  }
  void TearDown() override { service->Detach(&view); }

  PlateRanking() { AwaitSleepingThreads(); }

  ScriptedHost host;
  RecordingObserver<Rows> view;
  std::unique_ptr<IPlateRanking> service{ranking::MakePlateRanking(1)};
};

TEST_F(PlateRanking, asksForAFallBackColumnInTheGap) {
  Show({6, 2, 10});
  host.Expect(Script(kPath)
                  .With({{"bk_type", "hy"}, {"sort_key", "change"}, {"sort_type", "desc"}, {"num", "10"}})
                  .Setting(30)
                  .Inline(Answer::Body(R"({"data":[]})")));
  service->Refresh();
  EXPECT_TRUE(view.Last().empty());
}

TEST_F(PlateRanking, ofAnUnknownKindSendsAnEmptyValue) {
  service.reset(ranking::MakePlateRanking(3));
  AwaitSleepingThreads();
  Show({23, 1, -1});
  host.Expect(Script(kPath)
                  .With({{"bk_type", ""}, {"sort_key", "cud"}, {"sort_type", "asc"}, {"num", "-1"}})
                  .Inline(Answer::Body(R"({"data":[]})")));
  service->Refresh();
}

TEST_F(PlateRanking, deliversEveryRowOfTheAnswer) {
  Show({4, 2, 10});
  std::string rows = "{}";
  for (int row = 1; row < 30; ++row) rows += ",{}";
  host.Expect(Script(kPath).Inline(Answer::Body(R"({"data":[)" + rows + "]}")));
  service->Refresh();
  EXPECT_EQ(view.Last().size(), 30U);
}

TEST_F(PlateRanking, readsEveryField) {
  Show({4, 2, 10});
  host.Expect(Script(kPath).Inline(Answer::Body(
      R"({"errno":0,"data":[{"bk":"bk1001","name":"银行","change":1.5,"bpin":2.25,"cud":-3,"lead":"甲","lead_change":9.9},)"
      R"({"bk":"bk1002","cud":1.5,"change":null}]})")));
  service->Refresh();
  EXPECT_EQ(view.Last(),
            (Rows{{L"bk1001", L"银行", 1.5, 2.25, -3, L"甲", 9.9}, {L"bk1002", L"", 0, 0, 0, L"", 0}}));
}

TEST_F(PlateRanking, skipsTargetsWithoutColumn) {
  Show({0, 2, 10});
  service->Refresh();
  EXPECT_EQ(host.RequestCount(), 0U);
}

}  // namespace
