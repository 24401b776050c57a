// The K-line metadata file, taken apart.
#include "reference/kline_metadata.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QJsonDocument>
#include <string>

#include "answers.h"
#include "reference/package_key.h"

namespace {

using reference::KLineMetadata;
using reference::PackageCounts;
using reference::PackageKey;

TEST(KLineMetadata, holdsVersionAndSymbols) {
  const auto metadata = KLineMetadata::FromText(answers::kMetadata);
  ASSERT_NE(metadata, nullptr);
  EXPECT_EQ(metadata->Version(), "20240315");
  EXPECT_EQ(metadata->Size(), 2U);
  ASSERT_NE(metadata->Find("sz000001"), nullptr);
  EXPECT_EQ(metadata->Find("sz000001")->json, R"({"d":{"b":200}})");
  EXPECT_FALSE(metadata->Find("sz000001")->parsed);
  EXPECT_EQ(metadata->Find("sz000002"), nullptr);
}

TEST(KLineMetadata, isReadLineByLineSplitAtTheFirstColon) {
  struct Case {
    const char* text;
    const char* version;
    std::size_t symbols;
    const char* json_of_a;
  };
  const Case cases[] = {
      {"version:1\na:b:c\n", "1", 1, "b:c"},
      {"no colon here\n\nversion:1\n\n\na:{}\nrest", "1", 1, "{}"},
      {"a:{}\nversion:7", "7", 1, "{}"},
      {"version:\na:{}\n", "", 1, "{}"},
      {"version: 20240315\na:{}\n", " 20240315", 1, "{}"},  // a blank is part of the version
      {"version:1\na:first\na:second\nversion:2\n", "2", 1, "second"}};
  for (const Case& one : cases) {
    const auto metadata = KLineMetadata::FromText(one.text);
    ASSERT_NE(metadata, nullptr) << one.text;
    EXPECT_EQ(metadata->Version(), one.version) << one.text;
    EXPECT_EQ(metadata->Size(), one.symbols) << one.text;
    EXPECT_EQ(metadata->Find("a")->json, one.json_of_a) << one.text;
  }
}

TEST(KLineMetadata, refusesAVersionThatCannotBeOne) {
  for (const char* const version : {"a\"b", "count", "1/2", "1\r", "\xE7\x89\x88", "100%"}) {
    EXPECT_EQ(KLineMetadata::FromText(std::string("version:") + version + "\nsh600000:{}\n"), nullptr)
        << version;
  }
}

TEST(KLineMetadata, refusesATextThatHasNothing) {
  EXPECT_EQ(KLineMetadata::FromText(""), nullptr);
  EXPECT_EQ(KLineMetadata::FromText("\n\n"), nullptr);
  EXPECT_EQ(KLineMetadata::FromText("<html><body>gone</body></html>"), nullptr);
}

TEST(KLineMetadata, refusesMoreSymbolsThanAnyMarketHas) {
  std::string text = "version:1\n";
  for (int number = 0; number < 200'001; ++number) {
    text += std::to_string(number) + ":\n";
  }
  EXPECT_EQ(KLineMetadata::FromText(text), nullptr);
}

TEST(PackageKey, hasThePeriodInTheHighByte) {
  EXPECT_EQ(PackageKey(1, 1), 257);
  EXPECT_EQ(PackageKey(3, 2), 770);
  EXPECT_EQ(PackageKey(257, 513), 257) << "of each argument the low eight bits count";
}

TEST(PackageCounts, areReadByPeriodAndAdjustment) {
  PackageCounts counts;
  EXPECT_EQ(counts.Read(R"({"d":{"b":1,"q":2,"h":3},"w":{"b":4,"q":5,"h":6},"m":{"b":7,"q":8,"h":9}})"), 0);
  int expected = 0;
  for (int period = 1; period <= 3; ++period) {
    for (int adjustment = 1; adjustment <= 3; ++adjustment) {
      EXPECT_EQ(counts.Get(PackageKey(period, adjustment)), ++expected);
    }
  }
}

TEST(PackageCounts, areZeroForWhatIsNotThere) {
  PackageCounts counts;
  EXPECT_EQ(counts.Read(R"({"d":{"b":1,"x":5},"y":{"b":2}})"), 0);
  EXPECT_EQ(counts.Get(PackageKey(1, 2)), 0);
  for (int adjustment = 1; adjustment <= 3; ++adjustment) {
    EXPECT_EQ(counts.Get(PackageKey(2, adjustment)), 0) << "without \"w\" every week package has none";
  }
  for (const auto& [period, adjustment] : {std::pair(0, 1), {4, 1}, {1, 0}, {1, 4}, {255, 255}}) {
    EXPECT_EQ(counts.Get(PackageKey(period, adjustment)), 0);
  }
}

TEST(PackageCounts, readWholeNumbersOnly) {
  PackageCounts counts;
  EXPECT_EQ(counts.Read(R"({"d":{"b":5.5,"q":"7","h":3000000000},"w":7,"m":{"b":-3}})"), 0);
  EXPECT_EQ(counts.Get(PackageKey(1, 1)), 0);
  EXPECT_EQ(counts.Get(PackageKey(1, 2)), 0);
  EXPECT_EQ(counts.Get(PackageKey(1, 3)), 0);
  EXPECT_EQ(counts.Get(PackageKey(3, 1)), -3);
}

TEST(PackageCounts, tellTheParsersError) {
  for (const char* const text : {"", "{", "{\"d\":}", "[1,", "nothing"}) {
    QJsonParseError error{};
    QJsonDocument::fromJson(QByteArray(text), &error);
    PackageCounts counts;
    EXPECT_EQ(counts.Read(text), static_cast<int>(error.error)) << text;
    EXPECT_EQ(counts.Get(PackageKey(1, 1)), 0);
  }
}

}  // namespace
