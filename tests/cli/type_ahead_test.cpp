// What a person types, and what it finds.
#include "cli/views/securities.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cli {
namespace {

const std::vector<BaseInfoItem> kStocks = {{L"sh600000", L"浦发银行", L"PFYH", 6},
                                           {L"sz000600", L"建投能源", L"JTNY", 6},
                                           {L"sz000001", L"平安银行", L"PAYH", 6},
                                           {L"sz300600", L"瑞特股份", L"RTGF", 4}};
const std::vector<BaseInfoItem> kPlates = {{L"bk0001", L"银行", L"YH", 1}};

std::vector<std::wstring> Found(const std::wstring& text, std::size_t limit = 20) {
  std::vector<std::wstring> codes;
  for (const Match& match : FindByText({{"stock", &kStocks}, {"plate", &kPlates}}, text, limit)) {
    codes.push_back(match.item->code);
  }
  return codes;
}

using Codes = std::vector<std::wstring>;

TEST(TypeAhead, findsCodesWithAndWithoutTheirMarket) {
  EXPECT_EQ(Found(L"sh600000"), Codes{L"sh600000"});
  EXPECT_EQ(Found(L"600000"), Codes{L"sh600000"});
  EXPECT_EQ(Found(L"SZ0006"), Codes{L"sz000600"});
}

TEST(TypeAhead, findsNamesByAnyPiece) {
  EXPECT_EQ(Found(L"安"), Codes{L"sz000001"});
}

TEST(TypeAhead, findsInitialsInAnyCase) {
  EXPECT_EQ(Found(L"payh"), Codes{L"sz000001"});
  EXPECT_EQ(Found(L"PaY"), Codes{L"sz000001"});
}

TEST(TypeAhead, putsTheClosestFirst) {
  EXPECT_EQ(Found(L"银行"), (Codes{L"bk0001", L"sh600000", L"sz000001"}));
  EXPECT_EQ(Found(L"600"), (Codes{L"sh600000", L"sz000600", L"sz300600"}));
}

TEST(TypeAhead, stopsAtTheLimit) {
  EXPECT_EQ(Found(L"600", 2), (Codes{L"sh600000", L"sz000600"}));
  EXPECT_TRUE(Found(L"600", 0).empty());
}

TEST(TypeAhead, namesTheListOfAMatch) {
  const auto matches = FindByText({{"stock", &kStocks}, {"plate", &kPlates}}, L"bk0001", 1);
  ASSERT_EQ(matches.size(), 1U);
  EXPECT_EQ(matches[0].list, "plate");
}

TEST(TypeAhead, findsNothingForNothing) {
  EXPECT_TRUE(Found(L"").empty());
  EXPECT_TRUE(Found(L"nobody").empty());
}

}  // namespace
}  // namespace cli
