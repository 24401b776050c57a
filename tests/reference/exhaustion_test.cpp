// The reference data when memory runs out, at every allocation that its operations make in turn: nothing is
// thrown, every start is concluded, and later everything works as if nothing had been.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "answers.h"
#include "failing_memory.h"
#include "reference/reference_data.h"
#include "scripted_ticks.h"

namespace {

class Exhaustion : public ::testing::Test {
 protected:
  Exhaustion() {
    // Whoever waits waits no longer than a look at the clock.
    steady.OnRead([this] { steady.Advance(100'000); });
    answers::Allow(host);
    for (const wchar_t* const line :
         {L"StockCommon::InitLegalHolidays Failed.", L"StockCommon::InitStockInPlates Failed."}) {
      host.AllowLine(line);
    }
  }

  // Runs `step` again and again: each time one allocation later fails, alone or with all that follow. Ends
  // when `step` no longer reaches it.
  template <class Prepare, class Step, class Check>
  void AtEveryAllocation(Prepare prepare, Step step, Check check) {
    int failures = 0;
    for (const bool all_later : {false, true}) {
      for (long number = 0;; ++number) {
        prepare();
        bool thrown = false;
        bool reached = false;
        {
          const FailingMemory memory(number, all_later);
          try {
            step();
          } catch (...) {
            thrown = true;
          }
          reached = FailingMemory::HasFailed();
        }
        ASSERT_FALSE(thrown) << "at allocation " << number;
        check();
        if (HasFailure()) {
          FAIL() << "at allocation " << number << (all_later ? " and later ones" : "");
        }
        if (!reached) {
          break;
        }
        ++failures;
        host.ForgetRequests();
      }
    }
    EXPECT_GT(failures, 0);
    RecordProperty("failures", failures);
  }

  void Renew() {
    service = std::make_unique<reference::CStockCommon>();
    service->Stop();  // no refresh thread: its rounds are run here
  }
  void LookUp() {
    static_cast<void>(service->GetStockList(1));
    static_cast<void>(service->GetPlateList(2));
    static_cast<void>(service->GetIndexList(1));
    static_cast<void>(service->GetPlatesOfStock(symbol, plates));
    static_cast<void>(service->PlatesAtHand());
    static_cast<void>(service->GetKLineMetaInfo(symbol, 1, 1));
  }
  void ExpectAllLists() {
    EXPECT_EQ(service->GetStockList(1).size(), 5U);
    EXPECT_EQ(service->GetPlateList(1).size(), 2U);
    EXPECT_EQ(service->GetIndexList(1).size(), 2U);
    EXPECT_TRUE(service->GetPlatesOfStock(L"sz000001", plates));
  }

  ScriptedHost host;
  ScriptedSteady steady;
  std::unique_ptr<reference::CStockCommon> service;
  const std::wstring symbol = L"a symbol too long for a text without memory of its own";
  std::vector<std::pair<std::wstring, std::wstring>> plates;
};

TEST_F(Exhaustion, failsTheLoadsOfLookUpsAndNothingElse) {
  Renew();
  LookUp();
  AtEveryAllocation([this] { Renew(); }, [this] { LookUp(); }, [this] { ExpectAllLists(); });
}

TEST_F(Exhaustion, failsTheLoadsOfARound) {
  const auto renew = [this] { service = std::make_unique<reference::CStockCommon>(); };
  renew();
  service->FinishRound({1, true});
  AtEveryAllocation(
      renew,
      [this] {
        service->FinishRound({1, true});
      },
      [this] { ExpectAllLists(); });
}

TEST_F(Exhaustion, leavesTheRefreshThreadItsRounds) {
  const auto renew = [this] { service = std::make_unique<reference::CStockCommon>(); };
  bool goes_on = false;
  renew();
  AtEveryAllocation(
      renew, [&] { goes_on = service->RunRound(); },
      [&] {
        EXPECT_TRUE(goes_on);
        ExpectAllLists();
      });
}

TEST_F(Exhaustion, failsAStartWhichIsToldOnce) {
  std::vector<bool> outcomes;
  outcomes.reserve(2);
  const auto start = [&] {
    service->Init([&outcomes](bool ok) { outcomes.push_back(ok); });
    host.RunTasks();
  };
  Renew();
  start();
  AtEveryAllocation(
      [&] {
        Renew();
        outcomes.clear();
      },
      start,
      [&] {
        EXPECT_EQ(outcomes.size(), 1U);
        start();
        EXPECT_EQ(outcomes.size(), 2U) << "the next start is not refused";
        EXPECT_TRUE(outcomes.back());
      });
}

TEST_F(Exhaustion, makesNoServiceAndTriesAgain) {
  IStockCommon* made = nullptr;
  AtEveryAllocation([] { reference::EndStockCommon(); }, [&] { made = reference::TheStockCommon(); },
                    [&] { EXPECT_NE(reference::TheStockCommon(), nullptr); });
  reference::EndStockCommon();
}

}  // namespace
