// `csm` as a newcomer or a script starts it, from the outside.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <chrono>
#include <regex>
#include <set>
#include <string>

#include "child_process.h"

namespace tests {
namespace {

TEST(CsmIndexJson, printsOneValidRecordAnUpdate) {
  ChildProcess csm(
      Csm({"index", "--json", "--count", "3", "--interval", "0.3", "--clock", "2024-03-15 10:30:00"}));
  ASSERT_EQ(csm.Wait(), 0) << csm.errors();
  const std::vector<std::string> lines = LinesOf(csm.output());
  ASSERT_EQ(lines.size(), 3U) << csm.output();
  for (const std::string& line : lines) {
    rapidjson::Document record;
    record.Parse<rapidjson::kParseValidateEncodingFlag>(line.c_str(), line.size());
    ASSERT_FALSE(record.HasParseError()) << line;
    EXPECT_STREQ(record["service"].GetString(), "index_market");
    EXPECT_STREQ(record["key"].GetString(), "");
    EXPECT_TRUE(
        std::regex_match(record["time"].GetString(), std::regex(R"(2024-03-15T10:30:[0-5]\d\+08:00)")))
        << line;
    const auto& data = record["data"];
    ASSERT_EQ(data.Size(), 3U) << line;
    const char* codes[] = {"sh000001", "sz399001", "sz399006"};
    for (rapidjson::SizeType i = 0; i < 3; ++i) {
      EXPECT_STREQ(data[i]["code"].GetString(), codes[i]);
      EXPECT_GT(data[i]["name"].GetStringLength(), 0U);
      EXPECT_TRUE(data[i]["last"].IsNumber());
      EXPECT_TRUE(data[i]["change"].IsNumber());
      EXPECT_TRUE(data[i]["diff"].IsNumber());
      EXPECT_EQ(data[i]["null_flags"].GetUint(), 0U);
      EXPECT_EQ(data[i].MemberCount(), 6U);
    }
  }
}

TEST(CsmIndexJson, showsQuotesThatChange) {
  ChildProcess csm(Csm({"index", "--json", "--count", "5", "--interval", "0.2", "--speed", "60", "--clock",
                        "2024-03-15 10:30:00"}));
  ASSERT_EQ(csm.Wait(), 0) << csm.errors();
  std::set<double> values;
  for (const std::string& line : LinesOf(csm.output())) {
    rapidjson::Document record;
    record.Parse(line.c_str(), line.size());
    ASSERT_FALSE(record.HasParseError()) << line;
    values.insert(record["data"][0]["last"].GetDouble());
  }
  EXPECT_GT(values.size(), 1U) << csm.output();
}

TEST(CsmIndexJson, isTheSameForTheSameSeedAndInstant) {
  std::set<std::string> data;
  for (int i = 0; i < 2; ++i) {
    ChildProcess csm(Csm({"index", "--json", "--count", "1", "--seed", "7", "--speed", "0", "--clock",
                          "2024-03-15 10:30:00"}));
    ASSERT_EQ(csm.Wait(), 0) << csm.errors();
    data.insert(csm.output());
  }
  EXPECT_EQ(data.size(), 1U);
}

}  // namespace
}  // namespace tests
