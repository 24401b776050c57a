// Look-ups of the reference data: what is answered from memory, and what is loaded first.
#include <gtest/gtest.h>

#include <QByteArray>
#include <QJsonDocument>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "answers.h"
#include "reference/stock_common_service.h"
#include "scripted_ticks.h"

namespace {

using Plates = std::vector<std::pair<std::wstring, std::wstring>>;

class StockCommonLookUp : public ::testing::Test {
 protected:
  void AnswerOnce(const char* path, const std::string& body) {
    host.Expect(Script(path).Inline(Answer::Body(body)));
  }
  static std::vector<std::wstring> Codes(const std::vector<BaseInfoItem>& list) {
    std::vector<std::wstring> codes;
    for (const BaseInfoItem& item : list) {
      codes.push_back(item.code);
    }
    return codes;
  }
  static int QtError(const char* text) {
    QJsonParseError error{};
    QJsonDocument::fromJson(QByteArray(text), &error);
    return error.error;
  }
  // A finished start.
  void Load() {
    answers::Allow(host);
    bool loaded = false;
    service.Init([&loaded](bool ok) { loaded = ok; });
    host.RunTasks();
    ASSERT_TRUE(loaded);
    asked = host.RequestCount();
  }
  std::size_t NewRequests() const { return host.RequestCount() - asked; }

  ScriptedHost host;
  ScriptedSteady steady;
  reference::CStockCommon service;
  std::size_t asked = 0;
};

// --- Stocks ---

TEST_F(StockCommonLookUp, givesStocksByKind) {
  Load();
  const std::vector<std::wstring> all = {L"sh600000", L"sh600001", L"sz000001", L"sz300001", L"sz002001"};
  EXPECT_EQ(Codes(service.GetStockList(2)), (std::vector<std::wstring>{L"sh600000", L"sh600001"}));
  EXPECT_EQ(Codes(service.GetStockList(3)),
            (std::vector<std::wstring>{L"sz000001", L"sz300001", L"sz002001"}));
  EXPECT_EQ(Codes(service.GetStockList(4)), (std::vector<std::wstring>{L"sz300001"}));
  EXPECT_EQ(Codes(service.GetStockList(5)), (std::vector<std::wstring>{L"sz002001"}));
  for (const int kind : {1, 7, 6, 0, -1}) {
    EXPECT_EQ(Codes(service.GetStockList(kind)), all) << kind;
  }
  EXPECT_EQ(NewRequests(), 0U);
}

TEST_F(StockCommonLookUp, asksForStocksInTheCallersThreadWhenThereAreNone) {
  AnswerOnce(answers::kBasicInfoPath, answers::kBasicInfo);
  EXPECT_EQ(service.GetStockList(2).size(), 2U);
  const Request request = host.Requests().at(0);
  EXPECT_EQ(request.kind, Request::Kind::kSync);
  EXPECT_EQ(request.setting, 8);
  EXPECT_TRUE(request.parameters.empty());
  EXPECT_TRUE(request.headers.empty());
  EXPECT_EQ(request.thread, std::this_thread::get_id());
}

TEST_F(StockCommonLookUp, asksForStocksAgainWhileTheyAreEmpty) {
  AnswerOnce(answers::kBasicInfoPath, R"({"errno":0,"sh":[],"sz":[]})");
  EXPECT_TRUE(service.GetStockList(2).empty());
  AnswerOnce(answers::kBasicInfoPath, answers::kBasicInfo);
  EXPECT_FALSE(service.GetStockList(2).empty());
}

TEST_F(StockCommonLookUp, loadsAMorningListAgainAfterTheFinalOneIsThere) {
  host.SetTime(20240315, 8, 0, 0);
  AnswerOnce(answers::kBasicInfoPath, answers::kBasicInfo);
  static_cast<void>(service.GetStockList(1));
  for (const auto& [minute, second] : {std::pair(13, 58), {13, 59}, {14, 0}}) {
    host.SetTime(20240315, 9, minute, second);
    static_cast<void>(service.GetStockList(1));
    EXPECT_EQ(host.RequestCount(), 1U) << "at 09:" << minute << ":" << second;
  }
  host.SetTime(20240315, 9, 14, 1);
  AnswerOnce(answers::kBasicInfoPath, answers::kBasicInfo);
  static_cast<void>(service.GetStockList(1));
  EXPECT_EQ(host.RequestCount(), 2U);
  static_cast<void>(service.GetStockList(1));
  EXPECT_EQ(host.RequestCount(), 2U) << "now it holds for the day";
}

TEST_F(StockCommonLookUp, holdsAListOfTheFinalInstantForTheDay) {
  host.SetTime(20240315, 9, 14, 0);
  AnswerOnce(answers::kBasicInfoPath, answers::kBasicInfo);
  static_cast<void>(service.GetStockList(1));
  host.SetTime(20240315, 23, 59, 59);
  static_cast<void>(service.GetStockList(1));
  host.SetTime(20240316, 9, 14, 0);
  static_cast<void>(service.GetStockList(1));
  EXPECT_EQ(host.RequestCount(), 1U);
  host.SetTime(20240316, 9, 14, 1);
  AnswerOnce(answers::kBasicInfoPath, answers::kBasicInfo);
  static_cast<void>(service.GetStockList(1));
}

TEST_F(StockCommonLookUp, datesALoadByTheInstantBeforeItsRequest) {
  host.SetTime(20240315, 9, 13, 59);
  host.Expect(Script(answers::kBasicInfoPath).Inline([this](const Request&) {
    host.SetTime(20240315, 9, 14, 5);
    return Answer::Body(answers::kBasicInfo);
  }));
  static_cast<void>(service.GetStockList(1));
  AnswerOnce(answers::kBasicInfoPath, answers::kBasicInfo);
  static_cast<void>(service.GetStockList(1));
  EXPECT_EQ(host.RequestCount(), 2U);
}

TEST_F(StockCommonLookUp, takesEqualCountsForAnUnchangedStockList) {
  AnswerOnce(answers::kBasicInfoPath, R"({"sh":[{"c":"a","n":"old"}],"sz":[{"c":"b","b":"GEM"}]})");
  const auto& held = service.GetStockList(1);
  host.SetTime(20240316, 10, 0, 0);
  AnswerOnce(answers::kBasicInfoPath, R"({"sh":[{"c":"x","n":"new"}],"sz":[{"c":"y","b":"SME"}]})");
  EXPECT_EQ(&service.GetStockList(1), &held);
  EXPECT_EQ(held.at(0).name, L"old");
  EXPECT_EQ(service.GetStockList(4).size(), 1U);
  EXPECT_TRUE(service.GetStockList(5).empty());
}

TEST_F(StockCommonLookUp, replacesAllStockListsWhenOneCountDiffers) {
  AnswerOnce(answers::kBasicInfoPath, R"({"sh":[{"c":"a"}],"sz":[{"c":"b","b":"GEM"}]})");
  static_cast<void>(service.GetStockList(1));
  host.SetTime(20240316, 10, 0, 0);
  AnswerOnce(answers::kBasicInfoPath, R"({"sh":[{"c":"x"}],"sz":[{"c":"y","b":"SME"},{"c":"z"}]})");
  EXPECT_EQ(Codes(service.GetStockList(1)), (std::vector<std::wstring>{L"x", L"y", L"z"}));
  EXPECT_EQ(Codes(service.GetStockList(2)), (std::vector<std::wstring>{L"x"}));
  EXPECT_TRUE(service.GetStockList(4).empty());
  EXPECT_EQ(service.GetStockList(5).size(), 1U);
}

TEST_F(StockCommonLookUp, replacesStocksByAnAnswerWithoutAny) {
  AnswerOnce(answers::kBasicInfoPath, answers::kBasicInfo);
  static_cast<void>(service.GetStockList(1));
  host.SetTime(20240316, 10, 0, 0);
  AnswerOnce(answers::kBasicInfoPath, R"({"errno":0})");
  EXPECT_TRUE(service.GetStockList(1).empty());
}

TEST_F(StockCommonLookUp, leavesReferencesReadableWhenAListIsReplaced) {
  AnswerOnce(answers::kBasicInfoPath, R"({"sh":[{"c":"first"}],"sz":[]})");
  const auto& first = service.GetStockList(2);
  for (int day = 1; day <= 7; ++day) {
    host.SetTime(static_cast<std::uint32_t>(20240315 + day), 10, 0, 0);
    std::string rows = R"({"c":"x"})";
    for (int row = 0; row < day; ++row) {
      rows += R"(,{"c":"x"})";
    }
    AnswerOnce(answers::kBasicInfoPath, R"({"sh":[)" + rows + R"(],"sz":[]})");
    EXPECT_EQ(service.GetStockList(2).size(), static_cast<std::size_t>(day) + 1);
    EXPECT_EQ(first.at(0).code, L"first");
  }
}

// A start's load and a look-up ask at the same time, and the older answer comes last.
TEST_F(StockCommonLookUp, keepsTheAnswerOfTheNewerOfTwoLoads) {
  host.Expect(Script(answers::kPlateListPath).Held());
  std::thread older([this] { static_cast<void>(service.GetPlateList(1)); });
  host.AwaitRequest(0);
  AnswerOnce(answers::kPlateListPath, R"({"bk_lists":[{"bk":"newer","t":1}]})");
  EXPECT_EQ(Codes(service.GetPlateList(1)), std::vector<std::wstring>{L"newer"});
  host.Complete(0, Answer::Body(R"({"bk_lists":[{"bk":"older","t":1}]})"));
  older.join();
  EXPECT_EQ(Codes(service.GetPlateList(1)), std::vector<std::wstring>{L"newer"});
}

// --- Plates ---

TEST_F(StockCommonLookUp, givesPlatesByKind) {
  Load();
  EXPECT_EQ(Codes(service.GetPlateList(2)), (std::vector<std::wstring>{L"bk0003"}));
  for (const int kind : {1, 0, 3, -1}) {
    EXPECT_EQ(Codes(service.GetPlateList(kind)), (std::vector<std::wstring>{L"bk0001", L"bk0004"})) << kind;
  }
  EXPECT_EQ(NewRequests(), 0U);
}

TEST_F(StockCommonLookUp, asksForPlatesWhenThereAreNoneOfTheFirstKind) {
  AnswerOnce(answers::kPlateListPath, R"({"bk_lists":[{"bk":"a","t":3}]})");
  EXPECT_EQ(service.GetPlateList(2).size(), 1U);
  const Request request = host.Requests().at(0);
  EXPECT_EQ(request.kind, Request::Kind::kSync);
  EXPECT_EQ(request.setting, 8);
  AnswerOnce(answers::kPlateListPath, R"({"bk_lists":[{"bk":"a","t":1}]})");
  EXPECT_TRUE(service.GetPlateList(2).empty());
  host.SetTime(20240320, 12, 0, 0);
  EXPECT_EQ(service.GetPlateList(1).size(), 1U);
  EXPECT_EQ(host.RequestCount(), 2U) << "plates have no date rule";
}

// --- Indices ---

TEST_F(StockCommonLookUp, givesIndicesByKind) {
  Load();
  EXPECT_EQ(Codes(service.GetIndexList(2)), (std::vector<std::wstring>{L"sz399001"}));
  for (const int kind : {1, 0, 3}) {
    EXPECT_EQ(Codes(service.GetIndexList(kind)), (std::vector<std::wstring>{L"sh000001", L"sh000016"}))
        << kind;
  }
  EXPECT_EQ(NewRequests(), 0U);
}

TEST_F(StockCommonLookUp, takesEqualCountsForAnUnchangedIndexListEachForItself) {
  AnswerOnce(answers::kIndexListPath, R"({"data":{"sz":[{"c":"old"}]}})");
  EXPECT_EQ(Codes(service.GetIndexList(2)), (std::vector<std::wstring>{L"old"}));
  AnswerOnce(answers::kIndexListPath, R"({"data":{"sh":[{"c":"s1"}],"sz":[{"c":"new"}]}})");
  EXPECT_EQ(Codes(service.GetIndexList(1)), (std::vector<std::wstring>{L"s1"}));
  EXPECT_EQ(Codes(service.GetIndexList(2)), (std::vector<std::wstring>{L"old"}));
}

TEST_F(StockCommonLookUp, keepsAnIndexListThatTheAnswerDoesNotName) {
  AnswerOnce(answers::kIndexListPath, R"({"data":{"sz":[{"c":"kept"}]}})");
  static_cast<void>(service.GetIndexList(2));
  AnswerOnce(answers::kIndexListPath, R"({"data":{"sh":[{"c":"s1"}]}})");
  static_cast<void>(service.GetIndexList(1));
  EXPECT_EQ(Codes(service.GetIndexList(2)), (std::vector<std::wstring>{L"kept"}));
}

// --- Plates of a stock ---

TEST_F(StockCommonLookUp, givesThePlatesOfAStock) {
  Load();
  Plates plates = {{L"left", L"over"}};
  EXPECT_TRUE(service.GetPlatesOfStock(L"sz000001", plates));
  EXPECT_EQ(plates, (Plates{{L"bk0001", L"银行"}, {L"bk0003", L"锂电池"}}));
  EXPECT_EQ(NewRequests(), 0U);
}

TEST_F(StockCommonLookUp, emptiesThePlatesOfAnUnknownStock) {
  Load();
  Plates plates = {{L"left", L"over"}};
  EXPECT_FALSE(service.GetPlatesOfStock(L"sz000002", plates));
  EXPECT_TRUE(plates.empty());
}

TEST_F(StockCommonLookUp, saysNoForAStockWithoutPlates) {
  AnswerOnce(answers::kInPlatesPath, R"({"data":{"sh600000":[]}})");
  Plates plates = {{L"left", L"over"}};
  EXPECT_FALSE(service.GetPlatesOfStock(L"sh600000", plates));
  EXPECT_TRUE(plates.empty());
}

TEST_F(StockCommonLookUp, asksForTheIndustryPlatesOfStocksWhenNothingIsHeld) {
  AnswerOnce(answers::kInPlatesPath, answers::kInPlates);
  Plates plates;
  EXPECT_TRUE(service.GetPlatesOfStock(L"sh600000", plates));
  const Request request = host.Requests().at(0);
  EXPECT_EQ(request.parameters, (NameValues{{"category", "hy"}}));
  EXPECT_EQ(request.setting, 8);
  EXPECT_FALSE(service.GetPlatesOfStock(L"none", plates));
  EXPECT_EQ(host.RequestCount(), 1U);
}

// --- K-line metadata ---

TEST_F(StockCommonLookUp, knowsNothingOfPackagesBeforeTheMetadataIsThere) {
  EXPECT_EQ(service.GetKLineMetaInfo(L"sh600000", 1, 1), KLineMetaInfo());
  EXPECT_EQ(host.RequestCount(), 0U);
}

TEST_F(StockCommonLookUp, givesVersionAndCountOfAPackage) {
  Load();
  EXPECT_EQ(service.GetKLineMetaInfo(L"sh600000", 1, 1), (KLineMetaInfo{L"20240315", 100}));
  EXPECT_EQ(service.GetKLineMetaInfo(L"sh600000", 1, 3), (KLineMetaInfo{L"20240315", 102}));
  EXPECT_EQ(service.GetKLineMetaInfo(L"sh600000", 3, 3), (KLineMetaInfo{L"20240315", 5}));
  EXPECT_EQ(service.GetKLineMetaInfo(L"sh600000", 257, 258), (KLineMetaInfo{L"20240315", 101}))
      << "period and adjustment count by their low eight bits";
}

TEST_F(StockCommonLookUp, givesTheVersionAloneForWhatTheMetadataDoesNotHave) {
  Load();
  const KLineMetaInfo unknown{L"20240315", 0};
  EXPECT_EQ(service.GetKLineMetaInfo(L"sh999999", 1, 1), unknown);
  EXPECT_EQ(service.GetKLineMetaInfo(L"sz000001", 2, 1), unknown);
  EXPECT_EQ(service.GetKLineMetaInfo(L"sh600000", 4, 1), unknown);
  EXPECT_EQ(service.GetKLineMetaInfo(L"", 1, 1), unknown);
}

TEST_F(StockCommonLookUp, logsASymbolsBadCountsOnce) {
  host.Expect(Script(answers::kMetadataPath).Inline(Answer::Body(Gzip("version:1\nsh600000:{\"d\"\n"))));
  answers::Allow(host, answers::kMetadataPath);
  service.Init({});
  host.RunTasks();
  host.ExpectCodeLine(L"StockCommon::ParseComplexTypeCount Json Parse Error Code: %d", QtError("{\"d\""));
  for (int call = 0; call < 3; ++call) {
    EXPECT_EQ(service.GetKLineMetaInfo(L"sh600000", 1, 1), (KLineMetaInfo{L"1", 0}));
  }
}

TEST_F(StockCommonLookUp, hasAPlaceholderThatDoesNothing) {
  service.Placeholder(1, 2);
  EXPECT_EQ(host.RequestCount(), 0U);
}

}  // namespace
