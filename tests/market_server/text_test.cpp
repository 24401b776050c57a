// The small texts: queries, JSON, damaged JSON, gzip, lines of the access log.
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cmath>
#include <limits>

#include "market_server/access_log.h"
#include "market_server/faults.h"
#include "market_server/gzip.h"
#include "market_server/http/message.h"
#include "market_server/json_damage.h"
#include "market_server/json_writer.h"

namespace market_server {
namespace {

http::Request Read(const std::string& target) {
  http::Request request;
  request.target = target;
  http::ReadTarget(request);
  return request;
}

TEST(Query, isSplitAndDecoded) {
  const http::Request request = Read("/pc/rt/get?a=1&b=%5B%22sh000001%22%5D&empty=&bare&c=x%3Dy");
  EXPECT_TRUE(request.well_formed);
  EXPECT_EQ(request.path, "/pc/rt/get");
  const http::Parameters expected = {
      {"a", "1"}, {"b", "[\"sh000001\"]"}, {"empty", ""}, {"bare", ""}, {"c", "x=y"}};
  EXPECT_EQ(request.parameters, expected);
}

TEST(Query, aPlusSignIsItself) {
  EXPECT_EQ(Read("/p?a=1+1").parameters.at(0).second, "1+1");
}

TEST(Query, badEscapesAreNoticed) {
  for (const char* target : {"/p?a=%", "/p?a=%4", "/p?a=%4g", "/p?%zz=1", "/%0", "/p?a=1&b=%"}) {
    EXPECT_FALSE(Read(target).well_formed) << target;
  }
}

TEST(Query, encodingIsUndoneByDecoding) {
  std::string all;
  for (int i = 0; i < 256; ++i) all.push_back(static_cast<char>(i));
  std::string decoded;
  EXPECT_TRUE(http::DecodePercent(http::EncodePercent(all), decoded));
  EXPECT_EQ(decoded, all);
}

std::string Written(double number) {
  std::string text;
  JsonWriter(text).Value(number);
  return text;
}

TEST(JsonWriter, numbersAreShortAndExact) {
  EXPECT_EQ(Written(12.34), "12.34");
  EXPECT_EQ(Written(-0.0), "0");
  EXPECT_EQ(Written(3), "3");
  EXPECT_EQ(std::stod(Written(1.0 / 3)), 1.0 / 3);
  EXPECT_EQ(Written(std::numeric_limits<double>::infinity()), "null");
  EXPECT_EQ(Written(std::nan("")), "null");
}

TEST(JsonWriter, textsAreEscaped) {
  std::string text;
  JsonWriter json(text);
  json.BeginObject();
  json.Member("k\"",
              "a\\b\"c\n\x01\x7f"
              "上证");
  json.Member("n", std::uint64_t{18446744073709551615U});
  json.Key("list");
  json.BeginArray();
  json.Value(1);
  json.BeginObject();
  json.EndObject();
  json.BeginArray();
  json.EndArray();
  json.EndArray();
  json.EndObject();
  EXPECT_EQ(text, R"({"k\"":"a\\b\"c\n\u0001)"
                  "\x7f"
                  R"(上证","n":18446744073709551615,"list":[1,{},[]]})");
}

const std::string kAnswer = R"({"errno":0,"data":{"list":[{"a":1,"b":"x"},{"a":2,"b":"y"}]}})";

TEST(JsonDamage, changesTypesAtAPath) {
  EXPECT_EQ(PatchJson(kAnswer, "data/list/*/a", JsonPatch::kWrongType),
            R"({"errno":0,"data":{"list":[{"a":"wrong","b":"x"},{"a":"wrong","b":"y"}]}})");
  EXPECT_EQ(PatchJson(kAnswer, "data/list/1/b", JsonPatch::kWrongType),
            R"({"errno":0,"data":{"list":[{"a":1,"b":"x"},{"a":2,"b":7}]}})");
  EXPECT_EQ(PatchJson(kAnswer, "data", JsonPatch::kWrongType), R"({"errno":0,"data":[]})");
  EXPECT_EQ(PatchJson(kAnswer, "data/list", JsonPatch::kWrongType), R"({"errno":0,"data":{"list":{}}})");
}

TEST(JsonDamage, nullsAndRemoves) {
  EXPECT_EQ(PatchJson(kAnswer, "data/list/0", JsonPatch::kNull),
            R"({"errno":0,"data":{"list":[null,{"a":2,"b":"y"}]}})");
  EXPECT_EQ(PatchJson(kAnswer, "data/list/0", JsonPatch::kRemove),
            R"({"errno":0,"data":{"list":[{"a":2,"b":"y"}]}})");
  EXPECT_EQ(PatchJson(kAnswer, "*/list/*/a", JsonPatch::kRemove),
            R"({"errno":0,"data":{"list":[{"b":"x"},{"b":"y"}]}})");
  EXPECT_EQ(PatchJson(kAnswer, "data/no/such/thing", JsonPatch::kRemove), kAnswer);
}

TEST(JsonDamage, takesPathsThatLeadNowhere) {
  for (const char* path :
       {"data/list/9/a", "data/list/x", "data/list/*/a/b/c", "errno/0", "/", "data//list"}) {
    for (const JsonPatch patch : {JsonPatch::kNull, JsonPatch::kRemove, JsonPatch::kWrongType}) {
      if (std::string_view(path) != "data/list/*/a/b/c") {
        EXPECT_EQ(PatchJson(kAnswer, path, patch), kAnswer) << path;
      }
    }
  }
  EXPECT_EQ(PatchJson(kAnswer, "data/list/*", JsonPatch::kRemove), R"({"errno":0,"data":{"list":[]}})");
  EXPECT_EQ(PatchJson(kAnswer, "data/list", JsonPatch::kEmptyArray), R"({"errno":0,"data":{"list":[]}})");
  EXPECT_EQ(RepeatRows(R"({"errno":0})", 5), R"({"errno":0})");
  EXPECT_EQ(EmptyRows(R"({"errno":0})"), R"({"errno":0})");
  EXPECT_EQ(ReplaceRootMember("[1]", "errno", "7"), R"({"errno":7})");
}

TEST(JsonDamage, leavesWhatIsNoJson) {
  EXPECT_EQ(HostileTexts("no json"), "no json");
  EXPECT_EQ(PatchJson("no json", "data", JsonPatch::kNull), "no json");
  EXPECT_EQ(RepeatRows("{", 5), "{");
}

TEST(Gzip, comesBackAsItWas) {
  std::string text;
  for (int i = 0; i < 20'000; ++i) text += std::to_string(i * 7919) + "\n";
  const std::string file = Gzip(text);
  EXPECT_LT(file.size(), text.size());
  EXPECT_EQ(Gunzip(file), text);
  EXPECT_EQ(Gunzip(Gzip("")), "");
  EXPECT_EQ(Gzip(text), file);
}

TEST(Gzip, readsOnlyItsOwnFiles) {
  const std::string file = Gzip("text");
  EXPECT_EQ(Gunzip(""), "");
  EXPECT_EQ(Gunzip(std::string(40, 'x')), "");
  std::string damaged = file;
  damaged[10] = '\x07';  // a block of no type
  EXPECT_EQ(Gunzip(damaged), "");
}

TEST(Gzip, aBombIsSmallAndUnpacksToItsSize) {
  const std::string file = GzipBomb(20);
  EXPECT_LT(file.size(), 100'000U);
  EXPECT_EQ(Gunzip(file), std::string(std::size_t{20} << 20, ' '));
}

TEST(AccessLog, aClientCannotForgeALine) {
  EXPECT_EQ(LogSafe("/a\n2024 GET \"x\" \\ \x1b[31m\xe4"),
            "/a\\x0a2024\\x20GET\\x20\\x22x\\x22\\x20\\x5c\\x20\\x1b[31m\\xe4");
  EXPECT_LT(LogSafe(std::string(100'000, 'a')).size(), 2100U);
}

TEST(Pattern, starsStandForAnything) {
  EXPECT_TRUE(MatchesPattern("*", "/pc/rt/get"));
  EXPECT_TRUE(MatchesPattern("/pc/rt/get*", "/pc/rt/get_bk_list"));
  EXPECT_TRUE(MatchesPattern("*kline*gzip", "/static/kline.meta.gzip"));
  EXPECT_TRUE(MatchesPattern("/a*b*c", "/a1b2b3c"));
  EXPECT_FALSE(MatchesPattern("/pc/rt/get", "/pc/rt/get_bk_list"));
  EXPECT_FALSE(MatchesPattern("/a*b*c", "/a1b2b3"));
  EXPECT_FALSE(MatchesPattern("", "/"));
}

}  // namespace
}  // namespace market_server
