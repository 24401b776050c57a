// Asking: what is sent, what becomes of the answer, and what of everything that goes wrong on the way.
#include "request/ask.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "scripted_host.h"

namespace {

constexpr auto kFetch = request::Fetch::kStockQuotes;
constexpr const wchar_t* kFailed = L"StockMarket::FetchStockMarkets Failed.";
constexpr char kGood[] = R"({"data":[1,2]})";

class Ask : public ::testing::Test {
 protected:
  // The usual service: reads a number of elements, and can be made to fail at each step.
  std::shared_ptr<const request::Pending> Send(request::Fetch fetch = kFetch) {
    return request::Ask(
        {fetch, gate}, [this] { return url(); },
        [this](const request::Answer& answer) {
          if (understanding_fails) throw std::bad_alloc();
          return answer.DataArray().Size();
        },
        [this](std::size_t size) {
          if (view_throws) throw std::runtime_error("a view");
          told.push_back(size);
          return telling_works;
        },
        [this] { ++failures; });
  }

  ScriptedHost host;
  frame::CompletionGate gate;
  std::function<std::wstring()> url = [] { return L"http://api.test/a"; };
  bool understanding_fails = false;
  bool view_throws = false;
  bool telling_works = true;
  std::vector<std::size_t> told;
  int failures = 0;
};

using Sizes = std::vector<std::size_t>;

TEST_F(Ask, sendsTheSettingOfTheFetchAndNoHeaders) {
  host.Expect(Script("/a").Times(3).Inline(Answer::Body(kGood)));
  Send();
  Send(request::Fetch::kIndexQuotes);
  Send(request::Fetch::kLegalHolidays);
  EXPECT_EQ(told, (Sizes{2, 2, 2}));
  EXPECT_EQ(host.Requests().at(0).kind, Request::Kind::kAsync);
  EXPECT_EQ(host.Requests().at(0).setting, 30);
  EXPECT_EQ(host.Requests().at(1).setting, 3);
  EXPECT_EQ(host.Requests().at(2).setting, 8);
  EXPECT_EQ(host.Requests().at(0).headers, NameValues{});
}

TEST_F(Ask, sendsNothingForAnEmptyAddress) {
  url = [] { return std::wstring(); };
  EXPECT_EQ(Send(), nullptr);
  EXPECT_EQ(host.RequestCount(), 0u);
  EXPECT_EQ(failures, 0);
}

TEST_F(Ask, dropsAnAnswerAfterTheGateWasClosed) {
  host.Expect(Script("/a"));
  Send();
  gate.Close();
  host.Complete(0, Answer::Failed());
  EXPECT_EQ(failures, 0);
}

TEST_F(Ask, knowsWhetherTheAnswerCame) {
  host.Expect(Script("/a"));
  const auto pending = Send();
  EXPECT_FALSE(pending->IsAnswered());
  host.Complete(0, Answer::Body(kGood));
  EXPECT_TRUE(pending->IsAnswered());
}

TEST_F(Ask, saysWhatWentWrongAndThenThatItFailed) {
  host.Expect(Script("/a").Inline(Answer::Failed()));
  host.Expect(Script("/a").Inline(Answer::Body("{")));
  host.Expect(Script("/a").Inline(Answer::Body(R"({"errno":7})")));
  host.Expect(Script("/a").Inline(Answer::Body("")));
  host.ExpectFailureLine(kFailed);
  host.AllowLine(L"StockMarket::FetchStockMarkets Json Parse Error Code: 1");
  host.ExpectCodeLine(L"StockMarket::FetchStockMarkets Response Error Code: %d", 7);
  for (int answer = 0; answer < 4; ++answer) Send();
  EXPECT_EQ(told, Sizes{});
  EXPECT_EQ(failures, 4);
}

TEST_F(Ask, isAFailedFetchWhenTheAddressCannotBeMade) {
  url = []() -> std::wstring { throw std::bad_alloc(); };
  host.ExpectFailureLine(kFailed);
  Send();
  EXPECT_EQ(failures, 1);
  EXPECT_EQ(host.RequestCount(), 0u);
}

TEST_F(Ask, isAFailedFetchWhenTheAnswerCannotBeReadOrTold) {
  host.Expect(Script("/a").Times(2).Inline(Answer::Body(kGood)));
  host.ExpectFailureLine(kFailed, 2);
  understanding_fails = true;
  Send();
  EXPECT_EQ(failures, 1);
  understanding_fails = false;
  telling_works = false;
  Send();
  EXPECT_EQ(failures, 2);
}

TEST_F(Ask, letsThroughWhatAViewThrows) {
  host.Expect(Script("/a").Inline(Answer::Body(kGood)));
  view_throws = true;
  EXPECT_THROW(Send(), std::runtime_error);
  EXPECT_EQ(failures, 0);
}

TEST_F(Ask, inATaskSendsNothingOnceTheGateIsClosed) {
  request::AskInTask(
      {kFetch, gate}, url, [](const request::Answer&) { return 1; },
      [this](int) {
        told.push_back(1);
        return true;
      });
  EXPECT_EQ(host.QueuedTasks(), 1u);
  gate.Close();
  host.RunTasks();
  EXPECT_EQ(host.RequestCount(), 0u);
  EXPECT_EQ(told, Sizes{});
}

TEST_F(Ask, inATaskWaitsForTheAnswer) {
  host.Expect(Script("/a").Inline(Answer::Body(kGood)));
  request::AskInTask(
      {kFetch, gate}, url, [](const request::Answer& answer) { return answer.DataArray().Size(); },
      [this](std::size_t size) {
        told.push_back(size);
        return true;
      });
  host.RunTasks();
  EXPECT_EQ(told, Sizes{2});
  EXPECT_EQ(host.Requests().at(0).kind, Request::Kind::kSync);
}

TEST_F(Ask, nowWaitsForTheAnswer) {
  host.Expect(Script("/a").Inline(Answer::Body("x")));
  const request::SyncAnswer answer = request::AskNow(L"http://api.test/a");
  EXPECT_TRUE(answer.ok);
  EXPECT_EQ(answer.body, "x");
  EXPECT_EQ(host.Requests().at(0).kind, Request::Kind::kSync);
  EXPECT_EQ(host.Requests().at(0).setting, 8);
  EXPECT_EQ(host.Requests().at(0).headers, NameValues{});
}

TEST_F(Ask, nowFailsForAnEmptyAddressWithoutSending) {
  EXPECT_FALSE(request::AskNow(L"").ok);
  EXPECT_EQ(host.RequestCount(), 0u);
}

}  // namespace
