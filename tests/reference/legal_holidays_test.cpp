// The holidays of a year, from the request to the host's calendar.
#include "reference/legal_holidays.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "answers.h"
#include "frame/gate.h"
#include "frame/stoppable_wait.h"
#include "scripted_ticks.h"

namespace {

constexpr const wchar_t* kNoDateLine = L"StockCommon::InitLegalHolidays Elements Without Date: %d";

class LegalHolidays : public ::testing::Test {
 protected:
  // One request, answered at once.
  void Ask(const Answer& answer) {
    host.Expect(Script(answers::kHolidayPath).Inline(answer));
    holidays.Ask();
  }
  void AskForList(const std::string& list) {
    Ask(Answer::Body(R"({"errno":0,"data":{"list":)" + list + "}}"));
  }
  std::vector<unsigned long> Days() {
    const auto calls = host.HolidayCalls();
    EXPECT_EQ(calls.size(), 1U);
    return calls.empty() ? std::vector<unsigned long>() : calls[0].days;
  }

  ScriptedHost host;
  frame::CompletionGate gate;
  reference::LegalHolidays holidays{gate};
};

TEST_F(LegalHolidays, areAskedForTheYearOfTheServersDate) {
  host.SetTime(20251231, 23, 59, 59);
  AskForList("[]");
  const Request request = host.Requests().at(0);
  EXPECT_EQ(request.kind, Request::Kind::kAsync);
  EXPECT_EQ(request.parameters, (NameValues{{"date", "2025"}}));
  EXPECT_EQ(request.setting, 8);
  EXPECT_EQ(host.HolidayCalls().at(0).year, 2025);
}

TEST_F(LegalHolidays, reachTheCalendarInTheOrderOfTheAnswer) {
  AskForList(R"(["20240501","20240101"])");
  EXPECT_EQ(Days(), (std::vector<unsigned long>{20240501, 20240101}));
}

TEST_F(LegalHolidays, areReadFromTheDigitsOfAnyForm) {
  AskForList(R"(["2024-01-01","2024/02/10","2024年05月01日"," 2024.10.01 "])");
  EXPECT_EQ(Days(), (std::vector<unsigned long>{20240101, 20240210, 20240501, 20241001}));
}

TEST_F(LegalHolidays, belongToTheYearThatWasAskedFor) {
  host.SetTime(20241231, 23, 59, 59);
  host.Expect(Script(answers::kHolidayPath).Held());
  holidays.Ask();
  host.SetTime(20250101, 0, 0, 1);
  host.Complete(0, Answer::Body(answers::kHolidays));
  EXPECT_EQ(host.HolidayCalls().at(0).year, 2024);
}

// An older answer that came late used to replace a newer one.
TEST_F(LegalHolidays, areNotReplacedByTheAnswerToAnOlderRequest) {
  host.Expect(Script(answers::kHolidayPath).Times(3));
  holidays.Ask();
  holidays.Ask();
  host.SetTime(20250101, 0, 0, 1);
  holidays.Ask();
  host.Complete(2, Answer::Body(R"({"data":{"list":["20250101"]}})"));
  host.Complete(1, Answer::Body(R"({"data":{"list":["20240501"]}})"));
  host.Complete(0, Answer::Body(R"({"data":{"list":["20240102"]}})"));
  ASSERT_EQ(host.HolidayCalls().size(), 2U);
  EXPECT_EQ(host.HolidayCalls()[0].year, 2025);
  EXPECT_EQ(host.HolidayCalls()[1].year, 2024) << "a list of one year does not keep out that of another";
  EXPECT_EQ(host.HolidayCalls()[1].days, (std::vector<unsigned long>{20240501}));
}

TEST_F(LegalHolidays, thatAreDamagedKeepNoOlderAnswerOut) {
  host.Expect(Script(answers::kHolidayPath).Times(2));
  host.ExpectCodeLine(kNoDateLine, 1);
  holidays.Ask();
  holidays.Ask();
  host.Complete(1, Answer::Body(R"({"data":{"list":["x"]}})"));
  host.Complete(0, Answer::Body(R"({"data":{"list":["20240501"]}})"));
  EXPECT_EQ(Days(), (std::vector<unsigned long>{20240501}));
}

TEST_F(LegalHolidays, areEmptiedByAnEmptyList) {
  AskForList("[]");
  EXPECT_TRUE(Days().empty());
}

TEST_F(LegalHolidays, areEmptiedByAnAnswerWithoutAList) {
  Ask(Answer::Body(R"({"errno":0})"));
  EXPECT_TRUE(Days().empty());
}

TEST_F(LegalHolidays, passOverWhatIsNoDate) {
  host.ExpectCodeLine(kNoDateLine, 9);
  AskForList(
      R"(["20240101","",null,20240102,"holiday","2024-1-1","20241301","20240100","99999999999999999999",
                 "20240101 09:00:00","20240501"])");
  EXPECT_EQ(Days(), (std::vector<unsigned long>{20240101, 20240501}));
}

// A damaged answer emptied the calendar, and every holiday became a trading day.
TEST_F(LegalHolidays, stayAsTheyAreWhenNoElementIsADate) {
  host.ExpectCodeLine(kNoDateLine, 2);
  AskForList(R"(["new year",null])");
  EXPECT_TRUE(host.HolidayCalls().empty());
}

// --- When they are asked for again ---

TEST_F(LegalHolidays, areMissingUntilAGoodAnswerOfThatYear) {
  const std::vector<std::pair<std::wstring, Answer>> failures = {
      {L"StockCommon::InitLegalHolidays Failed.", Answer::Failed()},
      {L"StockCommon::InitLegalHolidays Response Error Code: 3", Answer::Body(R"({"errno":3})")},
      {L"StockCommon::InitLegalHolidays Elements Without Date: 1",
       Answer::Body(R"({"errno":0,"data":{"list":["x"]}})")}};
  for (const auto& [line, answer] : failures) {
    host.ExpectLine(line);
    host.Expect(Script(answers::kHolidayPath).With({{"date", "2024"}}).Inline(answer));
    holidays.AskIfMissing();
  }
  host.Expect(
      Script(answers::kHolidayPath).With({{"date", "2024"}}).Inline(Answer::Body(answers::kHolidays)));
  holidays.AskIfMissing();
  holidays.AskIfMissing();
  EXPECT_EQ(host.RequestCount(), 4U) << "now they are there";
  host.SetTime(20250102, 9, 0, 0);
  host.Expect(
      Script(answers::kHolidayPath).With({{"date", "2025"}}).Inline(Answer::Body(answers::kHolidays)));
  holidays.AskIfMissing();
  host.SetTime(20241231, 9, 0, 0);
  holidays.AskIfMissing();
  EXPECT_EQ(host.RequestCount(), 5U) << "each year is remembered";
}

// A start asked twice: once by itself, and again when its loads were done and the calendar was not.
TEST_F(LegalHolidays, areNotMissingWhileTheyAreBeingAskedFor) {
  host.ExpectFailureLine(L"StockCommon::InitLegalHolidays Failed.");
  host.Expect(Script(answers::kHolidayPath).Times(3));
  holidays.Ask();
  holidays.AskIfMissing();
  EXPECT_EQ(host.RequestCount(), 1U);
  holidays.Ask();
  EXPECT_EQ(host.RequestCount(), 2U) << "a start always asks";
  host.Complete(0, Answer::Body(""));
  holidays.AskIfMissing();
  EXPECT_EQ(host.RequestCount(), 2U) << "the other one is on its way still";
  host.Complete(1, Answer::Failed());
  holidays.AskIfMissing();
  EXPECT_EQ(host.RequestCount(), 3U);
}

TEST_F(LegalHolidays, ofAnotherYearAreMissingAllTheSame) {
  host.SetTime(20241231, 23, 59, 59);
  host.Expect(Script(answers::kHolidayPath).With({{"date", "2024"}}));
  host.Expect(Script(answers::kHolidayPath).With({{"date", "2025"}}));
  holidays.AskIfMissing();
  host.SetTime(20250101, 0, 0, 1);
  holidays.AskIfMissing();
  EXPECT_EQ(host.RequestCount(), 2U);
}

TEST_F(LegalHolidays, areMissingAfterARequestThatWasNotSent) {
  host.SignNothing(true);
  holidays.AskIfMissing();
  host.SignNothing(false);
  host.Expect(Script(answers::kHolidayPath).Inline([](const Request&) -> Answer {
    throw std::runtime_error("no socket");
  }));
  host.ExpectFailureLine(L"StockCommon::InitLegalHolidays Failed.");
  holidays.AskIfMissing();
  host.Expect(Script(answers::kHolidayPath).Held());
  holidays.AskIfMissing();
  EXPECT_EQ(host.RequestCount(), 2U);
}

TEST_F(LegalHolidays, areThereWhenTheListIsEmpty) {
  AskForList("[]");
  holidays.AskIfMissing();
  EXPECT_EQ(host.RequestCount(), 1U);
}

TEST_F(LegalHolidays, logAHostThatThrows) {
  host.ExpectFailureLine(L"StockCommon::InitLegalHolidays Failed.");
  host.Expect(Script(answers::kHolidayPath).Inline([](const Request&) -> Answer {
    throw std::runtime_error("no socket");
  }));
  holidays.Ask();
  EXPECT_TRUE(host.HolidayCalls().empty());
}

// The calendar was given its list under a lock that a request takes: one that calls back stood still for
// good.
TEST_F(LegalHolidays, reachACalendarThatCallsBack) {
  host.Allow(Script(answers::kHolidayPath).Inline(Answer::Body(answers::kHolidays)));
  int calls = 0;
  host.OnHolidays([&] {
    if (++calls == 1) {
      holidays.Ask();
    }
  });
  holidays.Ask();
  EXPECT_EQ(host.HolidayCalls().size(), 2U);
}

// Who waits for a phase waited by a calendar that did not know the year.
TEST_F(LegalHolidays, endWaitsForAPhaseWhenTheirYearIsLearned) {
  const ScriptedSteady steady;
  frame::StoppableWait wait;
  const std::size_t before = host.ClockLooks();
  std::thread waiting([&] { EXPECT_TRUE(wait.Planned(7200)); });
  while (host.ClockLooks() < before + 2) {  // it is planned, and not over
    std::this_thread::yield();
  }
  Ask(Answer::Body(answers::kHolidays));
  waiting.join();
}

// Of lists that come while the calendar is given one, the newest is the last.
TEST_F(LegalHolidays, reachTheCalendarOneAfterTheOther) {
  host.Expect(Script(answers::kHolidayPath).Times(3));
  for (int request = 0; request < 3; ++request) {
    holidays.Ask();
  }
  int calls = 0;
  host.OnHolidays([&] {
    if (++calls == 1) {
      host.Complete(2, Answer::Body(R"({"data":{"list":["20240501"]}})"));
      host.Complete(1, Answer::Body(R"({"data":{"list":["20241001"]}})"));
      EXPECT_EQ(host.HolidayCalls().size(), 1U) << "the first list is not taken yet";
    }
  });
  host.Complete(0, Answer::Body(R"({"data":{"list":["20240101"]}})"));
  ASSERT_EQ(host.HolidayCalls().size(), 2U);
  EXPECT_EQ(host.HolidayCalls()[1].days, (std::vector<unsigned long>{20240501}));
}

TEST_F(LegalHolidays, areDroppedAfterTheEndOfTheService) {
  host.Expect(Script(answers::kHolidayPath).Held());
  holidays.Ask();
  gate.Close();
  host.Complete(0, Answer::Body(answers::kHolidays));
  EXPECT_TRUE(host.HolidayCalls().empty());
}

}  // namespace
