// How the answers to list requests become lists, and how lists are held.
#include "reference/reference_lists.h"

#include <gtest/gtest.h>

#include <string>

#include "answers.h"
#include "reference/generations.h"

namespace {

using reference::BaseInfoList;
using HeldList = reference::Generations<BaseInfoList>;

// A text and what it parses to: the document's values are views into the text.
struct Parsed {
  explicit Parsed(std::string body)
      : text(std::move(body)), document(request::json::Document::Parse(text.data(), text.size())) {}
  std::string text;
  request::json::Document document;
};

TEST(StockLists, keepTheOrderOfTheAnswer) {
  const Parsed answer(answers::kBasicInfo);
  const auto lists = reference::ReadStockLists(answer.document.Root());
  ASSERT_EQ(lists.shanghai.size(), 2U);
  ASSERT_EQ(lists.shenzhen.size(), 3U);
  EXPECT_EQ(lists.shanghai[0], (BaseInfoItem{L"sh600000", L"浦发银行", L"PFYH", 6}));
  EXPECT_EQ(lists.shenzhen[2], (BaseInfoItem{L"sz002001", L"新和成", L"XHC", 5}));
}

TEST(StockLists, knowAllStocksAndThoseOfTwoBoards) {
  const Parsed answer(answers::kBasicInfo);
  const auto lists = reference::ReadStockLists(answer.document.Root());
  const auto codes = [](const BaseInfoList& list) {
    std::wstring all;
    for (const BaseInfoItem& stock : list) {
      all += stock.code + L" ";
    }
    return all;
  };
  EXPECT_EQ(codes(lists.all), L"sh600000 sh600001 sz000001 sz300001 sz002001 ");
  EXPECT_EQ(codes(lists.gem), L"sz300001 ");
  EXPECT_EQ(codes(lists.sme), L"sz002001 ");
}

TEST(StockLists, knowBoardsInAnyCase) {
  const Parsed answer(R"({"sh":[{"b":"MB"},{"b":"mB"},{"b":"GEM"},{"b":"gem"},{"b":"SME"},{"b":"sMe"}]})");
  std::vector<std::int32_t> types;
  for (const auto& stock : reference::ReadStockLists(answer.document.Root()).shanghai) {
    types.push_back(stock.type);
  }
  EXPECT_EQ(types, (std::vector<std::int32_t>{6, 6, 4, 4, 5, 5}));
}

TEST(StockLists, takeAnyOtherBoardAsOther) {
  const Parsed answer(R"({"sz":[{"b":"STAR"},{"b":""},{},{"b":4},{"b":null},{"b":"GEM "}]})");
  for (const auto& stock : reference::ReadStockLists(answer.document.Root()).shenzhen) {
    EXPECT_EQ(stock.type, 1);
  }
}

TEST(StockLists, readMissingAndForeignMembersAsEmpty) {
  const Parsed answer(R"({"sh":[{"c":5,"n":null},7,"text",["sh600000"]]})");
  const auto lists = reference::ReadStockLists(answer.document.Root());
  ASSERT_EQ(lists.shanghai.size(), 4U);
  for (const auto& stock : lists.shanghai) {
    EXPECT_EQ(stock, (BaseInfoItem{L"", L"", L"", 1}));
  }
  EXPECT_TRUE(lists.shenzhen.empty());
}

TEST(PlateLists, mapKindsAndDropTheOthers) {
  const Parsed answer(R"({"bk_lists":[{"bk":"a","t":1},{"bk":"b","t":2},{"bk":"c","t":3},{"bk":"d","t":0},
                                      {"bk":"e","t":"1"},{"bk":"f","t":1.5},{"bk":"g"},{"bk":"h","t":1}]})");
  const auto lists = reference::ReadPlateLists(answer.document.Root());
  ASSERT_EQ(lists.kind1.size(), 2U);
  EXPECT_EQ(lists.kind1[0].code, L"a");
  EXPECT_EQ(lists.kind1[1].code, L"h");
  EXPECT_EQ(lists.kind1[1].type, 1);
  ASSERT_EQ(lists.kind2.size(), 1U);
  EXPECT_EQ(lists.kind2[0], (BaseInfoItem{L"c", L"", L"", 2}));
}

TEST(PlateLists, readNameCodeAndPinyin) {
  const Parsed answer(answers::kPlateList);
  const auto lists = reference::ReadPlateLists(answer.document.Root());
  ASSERT_EQ(lists.kind1.size(), 2U);
  EXPECT_EQ(lists.kind1[0], (BaseInfoItem{L"bk0001", L"银行", L"YH", 1}));
}

TEST(IndexLists, haveTypeZero) {
  const Parsed answer(answers::kIndexList);
  const auto lists = reference::ReadIndexLists(answer.document.Root().ObjectAt("data"));
  ASSERT_TRUE(lists.shanghai && lists.shenzhen);
  EXPECT_EQ(lists.shanghai->at(1), (BaseInfoItem{L"sh000016", L"上证50", L"SZ50", 0}));
  EXPECT_EQ(lists.shenzhen->at(0).type, 0);
}

TEST(IndexLists, areMissingForAnExchangeThatTheAnswerDoesNotName) {
  const Parsed answer(R"({"sz":[{"c":"sz399001"}],"bj":[{"c":"bj899050"}]})");
  const auto lists = reference::ReadIndexLists(answer.document.Root());
  EXPECT_FALSE(lists.shanghai);
  ASSERT_TRUE(lists.shenzhen);
  EXPECT_EQ(lists.shenzhen->size(), 1U);
}

TEST(IndexLists, areEmptyForAMemberThatIsNoArray) {
  const Parsed answer(R"({"sh":"none"})");
  const auto lists = reference::ReadIndexLists(answer.document.Root());
  ASSERT_TRUE(lists.shanghai);
  EXPECT_TRUE(lists.shanghai->empty());
}

HeldList::Pointer ListOf(const std::wstring& code) {
  return std::make_unique<const BaseInfoList>(BaseInfoList{BaseInfoItem{code, L"", L"", 0}});
}

TEST(Generations, keepsEightGenerationsReadable) {
  HeldList held;
  EXPECT_EQ(held.Replace(ListOf(L"0")), nullptr);
  const BaseInfoList& first = held.Get();
  for (int generation = 1; generation <= 7; ++generation) {
    // What falls out first is the empty list of the beginning.
    const auto dropped = held.Replace(ListOf(std::to_wstring(generation)));
    EXPECT_TRUE(dropped == nullptr || dropped->empty());
    EXPECT_EQ(first.at(0).code, L"0") << "after generation " << generation;
    EXPECT_EQ(held.Get().at(0).code, std::to_wstring(generation));
  }
  const auto dropped = held.Replace(ListOf(L"8"));
  ASSERT_NE(dropped, nullptr);
  EXPECT_EQ(dropped.get(), &first);
}

TEST(Generations, keepsItsPlaceForAnEqualList) {
  HeldList held;
  static_cast<void>(held.Replace(ListOf(L"0")));
  const BaseInfoList* const place = &held.Get();
  EXPECT_NE(held.Replace(ListOf(L"0")), nullptr);
  EXPECT_EQ(&held.Get(), place);
}

}  // namespace
