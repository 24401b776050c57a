// The plates of a stock: how the table is read, ordered and searched.
#include "reference/plate_membership.h"

#include <gtest/gtest.h>

#include <QString>
#include <string>

#include "answers.h"

namespace {

using reference::CompareUtf16;
using reference::FindPlates;
using reference::PlateMembership;
using reference::PlateNames;

PlateMembership Read(const std::string& text) {
  const auto document = request::json::Document::Parse(text.data(), text.size());
  EXPECT_EQ(document.Error(), 0);
  return reference::ReadPlateMembership(document.Root().ObjectAt("data"));
}

TEST(PlateMembership, isAscendingBySymbol) {
  const auto membership = Read(answers::kInPlates);
  ASSERT_EQ(membership.size(), 2U);
  EXPECT_EQ(membership[0].symbol, L"sh600000");
  EXPECT_EQ(membership[1].symbol, L"sz000001");
}

TEST(PlateMembership, keepsTheOrderOfTheInnerArrays) {
  const auto membership = Read(answers::kInPlates);
  EXPECT_EQ(membership.at(1).plates, (PlateNames{{L"bk0001", L"银行"}, {L"bk0003", L"锂电池"}}));
}

TEST(PlateMembership, readsWhatIsNoPairAsEmptyTexts) {
  const auto membership = Read(R"({"data":{"a":[[],["x"],["x","y","z"],"text",[1,null]],"b":7}})");
  ASSERT_EQ(membership.size(), 2U);
  EXPECT_EQ(membership[0].plates,
            (PlateNames{{L"", L""}, {L"x", L""}, {L"x", L"y"}, {L"", L""}, {L"", L""}}));
  EXPECT_TRUE(membership[1].plates.empty());
}

TEST(PlateMembership, takesTheLastOfARepeatedSymbol) {
  const auto membership = Read(R"({"data":{"a":[["1","one"]],"a":[["2","two"]]}})");
  ASSERT_EQ(membership.size(), 1U);
  EXPECT_EQ(membership[0].plates, (PlateNames{{L"2", L"two"}}));
}

TEST(PlateMembership, findsEverySymbolAndNoOther) {
  std::string text = R"({"data":{)";
  for (int number = 0; number < 500; ++number) {
    text += (number == 0 ? "\"s" : ",\"s") + std::to_string(number * 7919 % 500) + "\":[[\"" +
            std::to_string(number * 7919 % 500) + "\",\"\"]]";
  }
  const auto membership = Read(text + "}}");
  for (int number = 0; number < 500; ++number) {
    const auto* const plates = FindPlates(membership, L"s" + std::to_wstring(number));
    ASSERT_NE(plates, nullptr) << number;
    EXPECT_EQ(plates->at(0).first, std::to_wstring(number));
  }
  EXPECT_EQ(FindPlates(membership, L"s500"), nullptr);
  EXPECT_EQ(FindPlates(membership, L"s"), nullptr);
  EXPECT_EQ(FindPlates(membership, L""), nullptr);
  EXPECT_EQ(FindPlates(membership, L"t"), nullptr);
  EXPECT_EQ(FindPlates({}, L"s1"), nullptr);
}

TEST(PlateMembership, findsSymbolsBeyondTheFirstPlane) {
  const auto membership = Read(R"({"data":{"\ue000":[["bmp",""]],"😀":[["face",""]],"a":[["a",""]]}})");
  ASSERT_EQ(membership.size(), 3U);
  EXPECT_EQ(membership[1].symbol, L"\U0001F600") << "a surrogate sorts before U+E000";
  for (const wchar_t* const symbol : {L"a", L"\U0001F600", L"\uE000"}) {
    EXPECT_NE(FindPlates(membership, symbol), nullptr);
  }
}

TEST(CompareUtf16, agreesWithTheParsersOrder) {
  const std::vector<std::wstring> texts = {L"",        L"a",           L"ab",          L"b",
                                           L"\u9280",  L"\uD7FF",      L"\uE000",      L"\uFFFF",
                                           L"a\uE000", L"a\U0001F600", L"\U00010000",  L"\U0010FFFF",
                                           L"\uFF21b", L"\U00010000a", L"\U0001F600a", L"\U0001F601"};
  const auto sign = [](int order) { return (order > 0) - (order < 0); };
  for (const auto& left : texts) {
    for (const auto& right : texts) {
      EXPECT_EQ(sign(CompareUtf16(left, right)),
                sign(QString::fromStdWString(left).compare(QString::fromStdWString(right))));
    }
  }
}

}  // namespace
