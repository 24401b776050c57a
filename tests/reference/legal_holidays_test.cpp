// The holidays of a year, from the request to the host's calendar.
#include "reference/legal_holidays.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "answers.h"
#include "frame/gate.h"

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

TEST_F(LegalHolidays, areDroppedAfterTheEndOfTheService) {
  host.Expect(Script(answers::kHolidayPath).Held());
  holidays.Ask();
  gate.Close();
  host.Complete(0, Answer::Body(answers::kHolidays));
  EXPECT_TRUE(host.HolidayCalls().empty());
}

}  // namespace
