// The model of all lists, and the words of states.
#include "desktop/view_table.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include "cli/format/words.h"
#include "desktop/words.h"

namespace {

using desktop::ViewTable;

cli::Table Prices(const std::vector<std::pair<std::string, cli::Cell>>& rows) {
  cli::Table table({{"code"}, {"last", cli::Align::kRight}});
  for (const auto& [code, price] : rows) {
    table.Add({{code}, price});
  }
  return table;
}

std::vector<cli::Security> Securities(const std::vector<std::wstring>& codes) {
  std::vector<cli::Security> securities;
  for (const std::wstring& code : codes) {
    securities.push_back({code, L"", stock::kSymbolStock});
  }
  return securities;
}

class ViewTableTest : public testing::Test {
 protected:
  QVariant At(int row, int column, int role = Qt::DisplayRole) {
    return table_.data(table_.index(row, column), role);
  }
  void Show(const std::vector<std::pair<std::string, cli::Cell>>& rows, std::vector<std::wstring> codes,
            ViewTable::Place place = {}) {
    table_.Show(Prices(rows), codes, Securities(codes), std::move(place));
  }

  ViewTable table_;
  QAbstractItemModelTester tester_{&table_, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(ViewTableTest, separatesAFigureFromTheMarkOfItsMovement) {
  Show({{"sh600000", {"12.34▴", cli::Tone::kRise}}, {"sz000001", {"5.60 ", cli::Tone::kFall}}},
       {L"sh600000", L"sz000001"});
  EXPECT_EQ(At(0, 1).toString(), QStringLiteral("12.34"));
  EXPECT_EQ(At(0, 1, ViewTable::kMark).toInt(), 1);
  EXPECT_EQ(At(1, 1).toString(), QStringLiteral("5.60"));
  EXPECT_EQ(At(1, 1, ViewTable::kMark).toInt(), 0);
  EXPECT_EQ(At(1, 1, ViewTable::kTone).toInt(), static_cast<int>(cli::Tone::kFall));
}

TEST_F(ViewTableTest, hasTheWholeListsRowsAndTheFiguresOfThoseThatCame) {
  const auto names = [] {
    return std::vector<BaseInfoItem>{
        {L"sh600000", L"甲", L"", 0}, {L"sz000001", L"乙", L"", 0}, {L"sz000002", L"丙", L"", 0}};
  };
  Show({{"sz000001", {"5.60"}}}, {L"sz000001"}, {1, 3, names});
  EXPECT_EQ(table_.rowCount(), 3);
  EXPECT_FALSE(table_.HasFigures(0));
  EXPECT_TRUE(table_.HasFigures(1));
  EXPECT_EQ(At(0, 0).toString(), QStringLiteral("sh600000"));
  EXPECT_EQ(At(0, 1).toString(), QString());
  EXPECT_EQ(table_.SecurityAt(2)->code, L"sz000002");
  EXPECT_EQ(table_.RowOf(L"sz000002"), 2);
  EXPECT_EQ(table_.RowHere(L"sz000002"), -1);
}

TEST_F(ViewTableTest, flashesWhatHasChangedOfTheSameSecurityAndNothingElse) {
  Show({{"sh600000", {"12.34", cli::Tone::kRise}}, {"sz000001", {"5.60", cli::Tone::kFall}}},
       {L"sh600000", L"sz000001"});
  // They change places, and one of them its price.
  Show({{"sz000001", {"5.59▾", cli::Tone::kFall}}, {"sh600000", {"12.34", cli::Tone::kRise}}},
       {L"sz000001", L"sh600000"});
  EXPECT_EQ(At(0, 1, ViewTable::kFlash).toInt(), -1);
  EXPECT_EQ(At(1, 1, ViewTable::kFlash).toInt(), 0);
  EXPECT_EQ(At(0, 0, ViewTable::kFlash).toInt(), 0);
  EXPECT_TRUE(QTest::qWaitFor([this] { return At(0, 1, ViewTable::kFlash).toInt() == 0; }));
}

TEST_F(ViewTableTest, growsAndShrinksWithoutAResetAsLongAsTheColumnsStay) {
  QSignalSpy resets(&table_, &QAbstractItemModel::modelReset);
  Show({{"a", {"1"}}}, {L"a"});
  EXPECT_EQ(resets.count(), 1);
  Show({{"a", {"1"}}, {"b", {"2"}}, {"c", {"3"}}}, {L"a", L"b", L"c"});
  EXPECT_EQ(table_.rowCount(), 3);
  Show({{"c", {"3"}}}, {L"c"});
  EXPECT_EQ(table_.rowCount(), 1);
  EXPECT_EQ(At(0, 0).toString(), QStringLiteral("c"));
  table_.Clear();
  EXPECT_EQ(table_.rowCount(), 0);
  EXPECT_EQ(table_.columnCount(), 2);
  EXPECT_EQ(resets.count(), 1);
}

TEST_F(ViewTableTest, marksTheColumnThatTheListIsOrderedBy) {
  Show({{"a", {"1"}}}, {L"a"});
  table_.SetOrder(1, false);
  EXPECT_EQ(table_.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), QStringLiteral("last ▼"));
  table_.SetOrder(0, true);
  EXPECT_EQ(table_.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), QStringLiteral("code ▲"));
  EXPECT_EQ(table_.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), QStringLiteral("last"));
}

TEST(StateWords, sayInBothLanguagesWhatTheStateIsSince) {
  const cli::FeedReport unchanged{cli::FeedState::kUnchanged, "unchanged since 10:30:00"};
  EXPECT_EQ(desktop::StateText(unchanged), QStringLiteral("unchanged since 10:30:00"));
  cli::SetLanguage(cli::Language::kChinese);
  EXPECT_EQ(desktop::StateText(unchanged), QStringLiteral("自 10:30:00 起无变化"));
  EXPECT_EQ(desktop::StateText({cli::FeedState::kClosed, "market closed, figures of 2024-03-15"}),
            QStringLiteral("已收盘，2024-03-15 的数据"));
  EXPECT_TRUE(desktop::StateText({cli::FeedState::kFailed, "no data: timed out"})
                  .contains(QStringLiteral("timed out")));
  cli::SetLanguage(cli::Language::kEnglish);
}

}  // namespace
