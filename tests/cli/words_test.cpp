// Titles in two languages, and what they mean.
#include "cli/format/words.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "cli/format/quote_rows.h"
#include "cli/format/table.h"

namespace cli {
namespace {

class WordsTest : public testing::Test {
 protected:
  ~WordsTest() override { SetLanguage(Language::kEnglish); }
};

TEST_F(WordsTest, nameColumnsInTheChosenLanguage) {
  EXPECT_EQ(LabelOf("tr"), "tr");
  SetLanguage(Language::kChinese);
  EXPECT_EQ(LabelOf("tr"), "换手");
  EXPECT_EQ(LabelOf("qrr"), "量比");
  EXPECT_EQ(LabelOf("cr"), "委比");
  EXPECT_EQ(LabelOf("limit_up"), "涨停");
  EXPECT_EQ(LabelOf("no such column"), "no such column");
  const Table table({{"code"}, {"last", Align::kRight}});
  EXPECT_EQ(table.columns()[0].title, "代码");
  EXPECT_EQ(table.columns()[0].name, "code");
}

TEST_F(WordsTest, followTheLocale) {
  const char* const before = std::getenv("LC_ALL");
  const std::string kept = before == nullptr ? "" : before;
  setenv("LC_ALL", "zh_CN.UTF-8", 1);
  EXPECT_EQ(LanguageOfLocale(), Language::kChinese);
  setenv("LC_ALL", "C.UTF-8", 1);
  EXPECT_EQ(LanguageOfLocale(), Language::kEnglish);
  if (before == nullptr) {
    unsetenv("LC_ALL");
  } else {
    setenv("LC_ALL", kept.c_str(), 1);
  }
}

TEST_F(WordsTest, explainEveryColumnOfAList) {
  for (const ListLook* const look : {&BoardLook(), &PlatesLook(), &WatchListLook()}) {
    for (const MemberColumn& column : look->All("change")) {
      EXPECT_NE(MeaningOf(column.member), "") << column.member;
    }
  }
  EXPECT_EQ(MeaningOf("no such column"), "");
}

}  // namespace
}  // namespace cli
