// A start by a clock that is wrong: which calendar is asked for, and for which date the lists count. The
// server's time is learned before, during or after the first look-up, on all kinds of days.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "answers.h"
#include "host/clock.h"
#include "reference/stock_common_service.h"

namespace {

using Years = std::vector<std::string>;

struct Day {
  const char* name;
  std::uint32_t date;
  int hour;
};
constexpr Day kDays[] = {{"a trading day", 20240315, 10},
                         {"a weekend", 20240316, 10},
                         {"a holiday", 20240404, 10},
                         {"new year's eve", 20241231, 10},
                         {"the last hour of new year's eve", 20241231, 23},
                         {"the first hour of a year", 20250101, 0}};

struct ClockError {
  const char* name;
  std::int64_t seconds;
};
constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 24 * kHour;
constexpr ClockError kErrors[] = {
    {"right", 0},         {"an hour slow", -kHour},     {"an hour fast", kHour},    {"a day slow", -kDay},
    {"a day fast", kDay}, {"a year slow", -366 * kDay}, {"a year fast", 366 * kDay}};

enum class Learned { kBefore, kDuring, kAfter };
constexpr Learned kLearned[] = {Learned::kBefore, Learned::kDuring, Learned::kAfter};
constexpr const char* kLearnedNames[] = {"before", "during", "after"};

std::string YearOf(std::int64_t moment) {
  return std::to_string(common::TimeToDate(moment) / 10000);
}

// One client: its clock, and what it has asked for.
class Client {
 public:
  Client(std::int64_t truth, std::int64_t error, Learned learned) : truth_(truth), learned_(learned) {
    host_.SetTime(learned == Learned::kBefore ? truth : truth + error);
    // The first stock list brings the server's time with it.
    host_.Allow(Script(answers::kBasicInfoPath).Inline([this](const Request&) {
      if (learned_ == Learned::kDuring) {
        Learn();
      }
      return Answer::Body(answers::kBasicInfo);
    }));
    answers::Allow(host_, answers::kBasicInfoPath);
    service_.Stop();  // no refresh thread: its rounds are tested by themselves
  }
  void Start() {
    service_.Init({});
    host_.RunTasks();
  }
  void LookUp() { static_cast<void>(service_.GetStockList(1)); }
  void Learn() { host_.SetTime(truth_); }
  void LaterOn() { host_.SetTime(truth_ + 60); }
  std::size_t ListsAsked() const { return host_.RequestsTo(answers::kBasicInfoPath).size(); }
  Years CalendarsAsked() const {
    Years years;
    for (const Request& request : host_.RequestsTo(answers::kHolidayPath)) {
      years.push_back(request.parameters.at("date"));
    }
    return years;
  }

 private:
  const std::int64_t truth_;
  const Learned learned_;
  ScriptedHost host_;
  reference::CStockCommon service_;
};

// Whether a list that was asked for at `asked` by the client's clock still holds at `now`.
bool Holds(std::int64_t asked, std::int64_t now) {
  const std::uint32_t today = common::TimeToDate(now);
  const bool is_too_early = now <= common::DateToTime(today, 9, 14, 0);
  const bool is_of_today = common::TimeToDate(asked) == today && asked >= common::DateToTime(today, 9, 14, 0);
  return is_too_early || is_of_today;
}

template <class Check>
void ForEveryClock(Check check) {
  for (const Day& day : kDays) {
    for (const ClockError& error : kErrors) {
      for (const Learned learned : kLearned) {
        SCOPED_TRACE(std::string(day.name) + ", the clock " + error.name + ", the time learned " +
                     kLearnedNames[static_cast<int>(learned)]);
        const std::int64_t truth = common::DateToTime(day.date, day.hour, 30, 0);
        check(truth, learned == Learned::kBefore ? truth : truth + error.seconds, error.seconds, learned);
      }
    }
  }
}

// The calendar was asked for the machine's year only, and a list of a wrong day counted as today's.
TEST(StartByAWrongClock, asksForTheServersYearAndHoldsTheListsOfItsDay) {
  ForEveryClock([](std::int64_t truth, std::int64_t shown, std::int64_t error, Learned learned) {
    Client client(truth, error, learned);
    client.Start();
    Years years = {YearOf(shown)};
    if (learned == Learned::kDuring && YearOf(shown) != YearOf(truth)) {
      years.push_back(YearOf(truth));
    }
    EXPECT_EQ(client.CalendarsAsked(), years);
    EXPECT_EQ(client.ListsAsked(), 1U);
    client.Learn();
    client.LaterOn();
    client.LookUp();
    EXPECT_EQ(client.ListsAsked(), Holds(shown, truth + 60) ? 1U : 2U);
    client.LookUp();
    EXPECT_EQ(client.ListsAsked(), Holds(shown, truth + 60) ? 1U : 2U) << "the second one holds";
  });
}

TEST(StartByAWrongClock, asksForTheServersYearAfterALookUpThatCameFirst) {
  ForEveryClock([](std::int64_t truth, std::int64_t /*shown*/, std::int64_t error, Learned learned) {
    Client client(truth, error, learned);
    client.LookUp();
    EXPECT_EQ(client.CalendarsAsked(), Years{});
    client.Learn();
    client.Start();
    EXPECT_EQ(client.CalendarsAsked(), Years{YearOf(truth)});
    client.LaterOn();
    client.LookUp();
    EXPECT_EQ(client.ListsAsked(), 2U) << "what the start loaded holds";
  });
}

}  // namespace
