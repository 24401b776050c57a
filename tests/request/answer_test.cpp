// What an answer goes through before a service reads it; what becomes of every kind of answer in every fetch
// is proved in tests/services.
#include "request/answer.h"

#include <gtest/gtest.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

#include "scripted_host.h"

namespace {

using request::CheckAnswer;
using request::Fetch;
using request::Outcome;

constexpr wchar_t kResponse[] = L"IndexMarket::FetchIndexMarkets Response Error Code: %d";
constexpr wchar_t kParse[] = L"IndexMarket::FetchIndexMarkets Json Parse Error Code: %d";

int QtCode(const std::string& text) {
  QJsonParseError error{};
  QJsonDocument::fromJson(QByteArray(text.data(), static_cast<int>(text.size())), &error);
  return error.error;
}

int QtErrno(const std::string& text) {
  const QJsonDocument document =
      QJsonDocument::fromJson(QByteArray(text.data(), static_cast<int>(text.size())));
  return document.object().value(QLatin1String("errno")).toInt(0);
}

class CheckedAnswer : public ::testing::Test {
 protected:
  Outcome Check(const std::string& body) {
    return CheckAnswer(Fetch::kIndexQuotes, {true, body.data(), body.size()}).outcome();
  }

  ScriptedHost host;
};

TEST_F(CheckedAnswer, isDroppedSilentlyWhenStaleWhateverItHolds) {
  frame::Stamps stamps;
  const frame::Stamp older = stamps.Next();
  const frame::Stamp latest = stamps.Next();
  for (const std::string body : {"{}", "no json", R"({"errno":5})", ""}) {
    EXPECT_EQ(CheckAnswer(Fetch::kIndexQuotes, {true, body.data(), body.size()}, {&stamps, older}).outcome(),
              Outcome::kStale)
        << body;
  }
  EXPECT_TRUE(host.Log().empty());
  EXPECT_TRUE(CheckAnswer(Fetch::kIndexQuotes, {true, "{}", 2}, {&stamps, latest}));
}

TEST_F(CheckedAnswer, writesTheParseLineWithTheParsersOwnCode) {
  for (const std::string body :
       {"no json", "{", "[", "{\"a\"}", "{\"a\":}", "{\"a\":1,}", "[1 2]", "\"text\"", "5", " ",
        "{\"a\":\"\\u00\"}", "{\"a\":\"b", "{} x", "{\"a\":01}", "{\"a\":\"\xFF\"}", "<html></html>"}) {
    const int code = QtCode(body);
    ASSERT_NE(code, 0) << body;
    host.ExpectCodeLine(kParse, code);
    EXPECT_EQ(Check(body), Outcome::kParseError) << body;
  }
}

TEST_F(CheckedAnswer, writesTheParseLineForTooDeepATextToo) {
  const std::string deep = std::string(5000, '[') + std::string(5000, ']');
  ASSERT_EQ(QtCode(deep), QJsonParseError::DeepNesting);
  host.ExpectCodeLine(kParse, QJsonParseError::DeepNesting);
  EXPECT_EQ(Check(deep), Outcome::kParseError);
}

TEST_F(CheckedAnswer, readsAnErrorNumberThatIsNoWholeNumberAsSuccess) {
  for (const std::string value :
       {"5.5", "\"7\"", "true", "3000000000", "-3000000000", "null", "[1]", "{}", "1e40"}) {
    const std::string body = "{\"errno\":" + value + "}";
    ASSERT_EQ(QtErrno(body), 0) << value;
    EXPECT_EQ(Check(body), Outcome::kAccepted) << value;
  }
  EXPECT_EQ(Check("{}"), Outcome::kAccepted);
}

TEST_F(CheckedAnswer, readsAWholeNumberHoweverItIsWritten) {
  for (const std::string value : {"5.0", "5e0", "50e-1", "500000e-5"}) {
    const std::string body = "{\"errno\":" + value + "}";
    ASSERT_EQ(QtErrno(body), 5) << value;
    host.ExpectCodeLine(kResponse, 5);
    EXPECT_EQ(Check(body), Outcome::kResponseError) << value;
  }
}

TEST_F(CheckedAnswer, readsTheLastErrorNumber) {
  host.ExpectCodeLine(kResponse, 7);
  EXPECT_EQ(Check(R"({"errno":0,"errno":7})"), Outcome::kResponseError);
  EXPECT_EQ(Check(R"({"errno":7,"errno":0})"), Outcome::kAccepted);
}

TEST_F(CheckedAnswer, givesItsPayloadInEveryForm) {
  const std::string list = R"({"data":{"list":[1,2]},"total_num":3})";
  const request::Answer with_list = CheckAnswer(Fetch::kIndexQuotes, {true, list.data(), list.size()});
  EXPECT_EQ(with_list.DataList().Size(), 2u);
  EXPECT_EQ(with_list.DataArray().Size(), 0u);
  EXPECT_EQ(with_list.Root().Member("total_num").Integer(), 3);
  const std::string array = R"({"data":[1,2,3]})";
  const request::Answer with_array = CheckAnswer(Fetch::kIndexQuotes, {true, array.data(), array.size()});
  EXPECT_EQ(with_array.DataArray().Size(), 3u);
  EXPECT_EQ(with_array.DataList().Size(), 0u);
}

TEST_F(CheckedAnswer, givesNothingUnlessItWasAccepted) {
  host.ExpectCodeLine(kResponse, 5);
  const std::string body = R"({"errno":5,"data":{"list":[1]}})";
  const request::Answer answer = CheckAnswer(Fetch::kIndexQuotes, {true, body.data(), body.size()});
  EXPECT_FALSE(answer);
  EXPECT_EQ(answer.DataList().Size(), 0u);
}

TEST_F(CheckedAnswer, toleratesBlanksAroundTheText) {
  EXPECT_EQ(Check(" \r\n\t{ \"errno\" : 0 } \n"), Outcome::kAccepted);
}

TEST_F(CheckedAnswer, readsExactlyTheBytesGiven) {
  const std::string body = R"({"errno":0}garbage)";
  EXPECT_EQ(CheckAnswer(Fetch::kIndexQuotes, {true, body.data(), 11}).outcome(), Outcome::kAccepted);
}

}  // namespace
