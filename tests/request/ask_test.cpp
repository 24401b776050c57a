// The one place that calls the host's network.
#include "request/ask.h"

#include <gtest/gtest.h>

#include <memory>

#include "scripted_host.h"

namespace {

class Ask : public ::testing::Test {
 protected:
  ScriptedHost host;
  frame::CompletionGate gate;
};

TEST_F(Ask, sendsTheSettingAndNoHeaders) {
  host.Expect(Script("/a").Inline(Answer::Body("x")));
  std::string body;
  request::Ask(L"http://api.test/a", 30, gate,
               [&body](bool, const char* bytes, std::size_t length) { body.assign(bytes, length); });
  EXPECT_EQ(body, "x");
  EXPECT_EQ(host.Requests().at(0).kind, Request::Kind::kAsync);
  EXPECT_EQ(host.Requests().at(0).setting, 30);
  EXPECT_EQ(host.Requests().at(0).headers, NameValues{});
}

TEST_F(Ask, sendsNothingForAnEmptyAddress) {
  int calls = 0;
  request::Ask(L"", 30, gate, [&calls](bool, const char*, std::size_t) { ++calls; });
  EXPECT_EQ(host.RequestCount(), 0u);
  EXPECT_EQ(calls, 0);
}

TEST_F(Ask, dropsAnAnswerAfterTheGateWasClosed) {
  host.Expect(Script("/a"));
  int calls = 0;
  request::Ask(L"http://api.test/a", 30, gate, [&calls](bool, const char*, std::size_t) { ++calls; });
  gate.Close();
  host.Complete(0, Answer::Body("x"));
  EXPECT_EQ(calls, 0);
}

TEST_F(Ask, knowsTheThreeSettings) {
  EXPECT_EQ(request::kQuickSeconds, 3);
  EXPECT_EQ(request::kUsualSeconds, 30);
  EXPECT_EQ(request::kSynchronousSeconds, 8);
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
