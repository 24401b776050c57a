// JSON lines, read back by a parser of another make.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "cli/format/json_writer.h"
#include "cli/format/sheet.h"
#include "quotes/index_market_table.h"

namespace cli {
namespace {

rapidjson::Document Parsed(const std::string& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag>(text.c_str(),
                                                                                             text.size());
  EXPECT_FALSE(document.HasParseError()) << text;
  return document;
}

std::string LineOf(const std::vector<IndexMarketSummary>& quotes) {
  JsonWriter json;
  BeginJsonLine(json, "index_market", L"", 1763602203);
  WriteRecords(json, quotes::kIndexMarketSummaryTable, quotes);
  json.EndObject();
  return json.Text();
}

template <class Value>
std::string One(const Value& value) {
  JsonWriter json;
  json.Array(std::array{value}, [&json](const Value& only) { json.Value(only); });
  return json.Text();
}

TEST(JsonLine, isExactlyAsPromised) {
  EXPECT_EQ(
      LineOf({{L"sh000001", L"上证指数", 3012.45, 0.41, 12.34, 0}}),
      R"({"service":"index_market","key":"","time":"2025-11-20T09:30:03+08:00","data":[)"
      R"({"code":"sh000001","name":"上证指数","last":3012.45,"change":0.41,"diff":12.34,"null_flags":0}]})");
}

TEST(JsonLine, hasNullWhereTheServerSentNull) {
  EXPECT_NE(
      LineOf({{L"a", L"b", 0, 0.5, 0, 5}}).find(R"("last":null,"change":0.5,"diff":null,"null_flags":5)"),
      std::string::npos);
}

TEST(JsonLine, hasAnEmptyListForAnEmptyAnswer) {
  EXPECT_NE(LineOf({}).find("\"data\":[]}"), std::string::npos);
}

TEST(JsonLine, staysOneValidLineWhateverTheServerSays) {
  const std::wstring hostile =
      std::wstring(L"\"\\\n\r\x1b\x7f\u202e", 7) + static_cast<wchar_t>(0xDC00) + std::wstring(1, L'\0');
  const std::string line = LineOf({{hostile, L"\u2028", std::numeric_limits<double>::infinity(),
                                    std::numeric_limits<double>::quiet_NaN(), -1e308, 0}});
  EXPECT_EQ(line.find('\n'), std::string::npos);
  const rapidjson::Document document = Parsed(line);
  const auto& record = document["data"][0];
  const std::string code(record["code"].GetString(), record["code"].GetStringLength());
  EXPECT_EQ(code, std::string("\"\\\n\r\x1b\x7f\u202e\uFFFD\0", 13));
  EXPECT_TRUE(record["last"].IsNull());
  EXPECT_TRUE(record["change"].IsNull());
  EXPECT_EQ(record["diff"].GetDouble(), -1e308);
}

TEST(JsonWriter, keepsEveryDigitOfANumber) {
  for (const double number : {0.1, 1.0 / 3, 3012.4500000000003, 1e21, 5e-324, 1.7976931348623157e308, -0.0}) {
    EXPECT_EQ(Parsed(One(number))[0].GetDouble(), number);
  }
  EXPECT_EQ(One(std::numeric_limits<std::uint64_t>::max()), "[18446744073709551615]");
  EXPECT_EQ(One(std::numeric_limits<std::int64_t>::min()), "[-9223372036854775808]");
}

TEST(JsonWriter, replacesInvalidUtf8) {
  EXPECT_EQ(One(std::string_view("a\xFF")), "[\"a\uFFFD\"]");
}

}  // namespace
}  // namespace cli
