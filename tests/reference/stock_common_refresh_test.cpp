// The refresh of the reference data: what its thread does after a wait, without the thread.
#include <gtest/gtest.h>

#include <boost/thread/thread_only.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "answers.h"
#include "reference/stock_common_service.h"

namespace {

using reference::RefreshRound;

class StockCommonRefresh : public ::testing::Test {
 protected:
  std::vector<std::string> Paths() const {
    std::vector<std::string> paths;
    for (const Request& request : host.Requests()) {
      paths.push_back(request.path);
    }
    return paths;
  }

  ScriptedHost host;
  std::unique_ptr<reference::CStockCommon> service = std::make_unique<reference::CStockCommon>();
};

TEST_F(StockCommonRefresh, loadsEverythingInOrderAfterAMorningRound) {
  answers::Allow(host);
  service->FinishRound({1, true});
  EXPECT_EQ(Paths(),
            (std::vector<std::string>{answers::kBasicInfoPath, answers::kPlateListPath,
                                      answers::kIndexListPath, answers::kHolidayPath, answers::kInPlatesPath,
                                      answers::kVersionPath, answers::kMetadataPath}));
}

TEST_F(StockCommonRefresh, checksTheMetadataAfterAnyRound) {
  answers::Allow(host);
  service->FinishRound({1, false});
  EXPECT_EQ(Paths(), (std::vector<std::string>{answers::kVersionPath, answers::kMetadataPath}));
  EXPECT_EQ(service->GetKLineMetaInfo(L"sh600000", 1, 1), (KLineMetaInfo{L"20240315", 100}));
}

TEST_F(StockCommonRefresh, goesOnAfterALoadThatFails) {
  for (const char* const path : {answers::kBasicInfoPath, answers::kPlateListPath, answers::kIndexListPath,
                                 answers::kInPlatesPath, answers::kVersionPath}) {
    host.Expect(Script(path).Inline(Answer::Failed()));
  }
  host.Expect(Script(answers::kHolidayPath).Inline(Answer::Body(answers::kHolidays)));
  service->FinishRound({1, true});
  EXPECT_EQ(host.RequestCount(), 6U);
}

// No memory, or a host that throws: the thread lives on, the next round asks again.
TEST_F(StockCommonRefresh, goesOnAfterAHostThatThrows) {
  const auto fail = [](const Request&) -> Answer { throw std::runtime_error("no socket"); };
  for (const char* const path : {answers::kBasicInfoPath, answers::kPlateListPath, answers::kIndexListPath,
                                 answers::kHolidayPath, answers::kInPlatesPath, answers::kVersionPath}) {
    host.Expect(Script(path).Inline(fail));
  }
  host.ExpectFailureLine(L"StockCommon::InitLegalHolidays Failed.");
  service->FinishRound({1, true});
  EXPECT_EQ(host.RequestCount(), 6U);
  answers::Allow(host);
  service->FinishRound({1, true});
  EXPECT_EQ(service->GetStockList(1).size(), 5U);
}

TEST_F(StockCommonRefresh, replacesAnIndexListOfAnotherCountAndKeepsTheOther) {
  answers::Allow(host, answers::kIndexListPath);
  host.Expect(Script(answers::kIndexListPath).Inline(Answer::Body(answers::kIndexList)));
  service->FinishRound({1, true});
  host.Expect(Script(answers::kIndexListPath)
                  .Inline(Answer::Body(R"({"data":{"sz":[{"c":"x"}],"sh":[{"c":"y"}],"bj":[{"c":"z"}]}})")));
  service->FinishRound({1, true});
  ASSERT_EQ(service->GetIndexList(1).size(), 1U);
  EXPECT_EQ(service->GetIndexList(1).at(0).code, L"y");
  EXPECT_EQ(service->GetIndexList(2).at(0).code, L"sz399001") << "one as before: taken for unchanged";
}

TEST_F(StockCommonRefresh, dropsListsThatTheServerNoLongerHas) {
  answers::Allow(host, answers::kInPlatesPath);
  host.Expect(Script(answers::kInPlatesPath).Inline(Answer::Body(answers::kInPlates)));
  service->FinishRound({1, true});
  host.Expect(Script(answers::kInPlatesPath).Inline(Answer::Body(R"({"errno":0,"data":{}})")));
  service->FinishRound({1, true});
  // Nothing is held, so the look-up asks itself.
  host.Expect(Script(answers::kInPlatesPath).Inline(Answer::Body(answers::kInPlates)));
  std::vector<std::pair<std::wstring, std::wstring>> plates;
  EXPECT_TRUE(service->GetPlatesOfStock(L"sh600000", plates));
  EXPECT_EQ(host.RequestsTo(answers::kInPlatesPath).size(), 3U);
}

TEST_F(StockCommonRefresh, takesMetadataWithAnEmptyVersion) {
  host.Expect(Script(answers::kVersionPath).Inline(Answer::Body(answers::kVersion)));
  host.Expect(
      Script(answers::kMetadataPath).Inline(Answer::Body(Gzip("version:\nsh600000:{\"d\":{\"b\":3}}\n"))));
  service->FinishRound({1, false});
  EXPECT_EQ(service->GetKLineMetaInfo(L"sh600000", 1, 1), (KLineMetaInfo{L"", 3}))
      << "no stored version is older than none";
}

TEST_F(StockCommonRefresh, stampsTheStockListOfTheMorning) {
  answers::Allow(host);
  host.SetTime(20240315, 9, 14, 0);
  service->FinishRound({1, true});
  host.SetTime(20240315, 15, 0, 0);
  static_cast<void>(service->GetStockList(1));
  EXPECT_EQ(host.RequestsTo(answers::kBasicInfoPath).size(), 1U);
}

TEST_F(StockCommonRefresh, asksForTheHolidaysOfTheNewYear) {
  answers::Allow(host);
  host.SetTime(20250102, 9, 14, 0);
  service->FinishRound({1, true});
  EXPECT_EQ(host.RequestsTo(answers::kHolidayPath).at(0).parameters, (NameValues{{"date", "2025"}}));
}

TEST_F(StockCommonRefresh, replacesMembershipAndPlatesByEveryLoad) {
  answers::Allow(host, answers::kInPlatesPath);
  host.Expect(Script(answers::kInPlatesPath).Inline(Answer::Body(answers::kInPlates)));
  service->FinishRound({1, true});
  host.Expect(Script(answers::kInPlatesPath)
                  .Inline(Answer::Body(R"({"data":{"sh600009":[["bk9","九"]],"sz000001":[["bk8","八"]]}})")));
  service->FinishRound({1, true});
  std::vector<std::pair<std::wstring, std::wstring>> plates;
  EXPECT_FALSE(service->GetPlatesOfStock(L"sh600000", plates));
  EXPECT_TRUE(service->GetPlatesOfStock(L"sz000001", plates));
  EXPECT_EQ(plates.at(0).first, L"bk8");
}

TEST_F(StockCommonRefresh, replacesPlatesOfEqualCount) {
  host.Expect(
      Script(answers::kPlateListPath).Inline(Answer::Body(R"({"bk_lists":[{"bk":"a","n":"old","t":1}]})")));
  const auto& old = service->GetPlateList(1);
  answers::Allow(host, answers::kPlateListPath);
  host.Expect(
      Script(answers::kPlateListPath).Inline(Answer::Body(R"({"bk_lists":[{"bk":"a","n":"new","t":1}]})")));
  service->FinishRound({1, true});
  EXPECT_EQ(service->GetPlateList(1).at(0).name, L"new");
  EXPECT_EQ(old.at(0).name, L"old") << "what was handed out stays as it was";
}

TEST_F(StockCommonRefresh, takesVersionAndCountsOfTheNewMetadataTogether) {
  host.Expect(Script(answers::kVersionPath).Inline(Answer::Body(R"({"version":"1"})")));
  host.Expect(
      Script(answers::kMetadataPath).Inline(Answer::Body(Gzip("version:1\nsh600000:{\"d\":{\"b\":1}}\n"))));
  service->FinishRound({1, false});
  EXPECT_EQ(service->GetKLineMetaInfo(L"sh600000", 1, 1), (KLineMetaInfo{L"1", 1}));
  host.Expect(Script(answers::kVersionPath).Inline(Answer::Body(R"({"version":"2"})")));
  host.Expect(
      Script(answers::kMetadataPath).Inline(Answer::Body(Gzip("version:2\nsh600000:{\"d\":{\"b\":2}}\n"))));
  service->FinishRound({1, false});
  EXPECT_EQ(service->GetKLineMetaInfo(L"sh600000", 1, 1), (KLineMetaInfo{L"2", 2}));
}

TEST_F(StockCommonRefresh, keepsTheMetadataWhenTheNewFileCannotBeRead) {
  host.Expect(Script(answers::kVersionPath).Inline(Answer::Body(R"({"version":"1"})")));
  host.Expect(
      Script(answers::kMetadataPath).Inline(Answer::Body(Gzip("version:1\nsh600000:{\"d\":{\"b\":1}}\n"))));
  service->FinishRound({1, false});
  host.Expect(Script(answers::kVersionPath).Inline(Answer::Body(R"({"version":"2"})")));
  host.Expect(Script(answers::kMetadataPath).Inline(Answer::Body("torn")));
  service->FinishRound({1, false});
  EXPECT_EQ(service->GetKLineMetaInfo(L"sh600000", 1, 1), (KLineMetaInfo{L"1", 1}));
}

// --- The end ---

// Runs one round on a thread and begins the end of the service while its first request is on the wire.
std::size_t RequestsOfARoundThatIsStopped(ScriptedHost& host, reference::CStockCommon& service,
                                          bool reload_lists, const Answer& answer) {
  std::thread thread([&] { service.FinishRound({1, reload_lists}); });
  const std::size_t held = host.AwaitRequest(0).number;
  service.Stop();
  host.Complete(held, answer);
  thread.join();
  return host.RequestCount();
}

TEST_F(StockCommonRefresh, endsBetweenTwoLoads) {
  host.Expect(Script(answers::kBasicInfoPath).Held());
  EXPECT_EQ(RequestsOfARoundThatIsStopped(host, *service, true, Answer::Failed()), 1U);
}

TEST_F(StockCommonRefresh, endsBeforeTheDownload) {
  host.Expect(Script(answers::kVersionPath).Held());
  EXPECT_EQ(RequestsOfARoundThatIsStopped(host, *service, false, Answer::Body(answers::kVersion)), 1U);
}

TEST_F(StockCommonRefresh, endsAtOnceInItsWait) {
  answers::Allow(host);
  for (int round = 0; round < 200; ++round) {
    service->Init({});
    host.RunTasks();
    ASSERT_TRUE(service->HasRefreshThread());
    service = std::make_unique<reference::CStockCommon>();
  }
}

// The host's thread that ends the service may itself be interrupted: the end is not cut short.
TEST_F(StockCommonRefresh, isEndedByAnInterruptedThread) {
  answers::Allow(host);
  service->Init({});
  host.RunTasks();
  bool interrupted_before_the_end = true;
  boost::thread thread([&] {
    boost::this_thread::disable_interruption uninterrupted;
    while (!boost::this_thread::interruption_requested()) {
      boost::this_thread::yield();
    }
    const boost::this_thread::restore_interruption interrupted(uninterrupted);
    service.reset();
    interrupted_before_the_end = false;
  });
  thread.interrupt();
  thread.join();
  EXPECT_FALSE(interrupted_before_the_end);
}

}  // namespace
