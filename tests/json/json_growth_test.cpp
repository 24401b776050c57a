// A server that means harm cannot grow the process: what an answer took is given back. Qt's parser by itself
// leaks the earlier value of a repeated key when that value is an object or an array; the tests measure that
// too, so that they are known to see it.
#include <gtest/gtest.h>
#include <QJsonDocument>
#include <QJsonParseError>

#include "json/json.h"
#include "json_memory.h"
#include "request/answer.h"
#include "sanitizers.h"
#include "scripted_host.h"

#if defined(CSM_ADDRESS_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// Every body has about this size, and is read so many times: a leak of its own size shows as ten times the
// limit.
constexpr std::size_t kBodySize = std::size_t{128} << 10;
constexpr std::size_t kLimit = kBodySize;
constexpr int kRounds = 10;

template <class Function>
std::size_t GrowthOf(Function function) {
  function();  // what is made once and kept
  const std::size_t before = memory::Held();
  for (int round = 0; round < kRounds; ++round) function();
  const std::size_t after = memory::Held();
  return after > before ? after - before : 0;
}

// A body in which one key comes again and again, with a container each time.
std::string Repeated(const std::string& first_key, const std::string& second_key, const std::string& value) {
  std::string text = "{\"errno\":0,\"data\":{\"list\":[{";
  while (text.size() < kBodySize) {
    text += "\"" + first_key + "\":" + value + ",\"" + second_key + "\":" + value + ",";
  }
  return text + "\"" + first_key + "\":1}]}}";
}

std::vector<std::pair<std::string, std::string>> HostileBodies() {
  std::string many_keys = "{";
  while (many_keys.size() < kBodySize) {
    for (int key = 0; key < 100; ++key) many_keys += "\"k" + std::to_string(key) + "\":[[1],[2],[3]],";
  }
  many_keys += "\"end\":1}";
  std::string nested = "{\"a\":1}";
  for (int depth = 0; depth < 500; ++depth) {
    nested = "{\"a\":[[" + std::to_string(depth) + "]],\"a\":{\"b\":[1]},\"a\":" + nested + "}";
  }
  std::string forged = "{";
  for (int number = 0; forged.size() < kBodySize; ++number) {
    forged += "\"last\":[1,[2]],\"\x7f" + std::to_string(number) + "\x7f" + "last\":[1,[2]],";
  }
  forged += "\"last\":1}";
  return {
      {"keys that look renamed", forged},
      {"arrays", Repeated("last", "last", "[1,[2],[[3]]]")},
      {"objects", Repeated("last", "last", "{\"x\":{\"y\":[1]}}")},
      {"keys written in two ways", Repeated("last", "l\\u0061st", "[1,[2],[[3]]]")},
      {"keys that differ behind a NUL", Repeated("last\\u0000a", "last\\u0000b", "[1,[2],[[3]]]")},
      {"a hundred keys", many_keys},
      {"cut off in the middle", Repeated("last", "last", "[1,[2],[[3]]]").substr(0, kBodySize / 2)},
      {"repeats on every level", nested},
  };
}

TEST(HostileAnswer, leaksInQtsParserByItself) {
#if defined(CSM_ADDRESS_SANITIZER)
  const __lsan::ScopedDisabler known_leak;
#endif
  const std::string body = Repeated("last", "last", "[1,[2],[[3]]]");
  const std::size_t growth = GrowthOf([&body] {
    QJsonParseError error{};
    QJsonDocument::fromJson(QByteArray::fromRawData(body.data(), static_cast<int>(body.size())), &error);
  });
  EXPECT_GT(growth, kRounds * kLimit) << "the measurement does not see a leak";
}

TEST(HostileAnswer, doesNotGrowTheProcessThroughTheDoor) {
  for (const auto& [name, body] : HostileBodies()) {
    const std::size_t growth = GrowthOf([&body = body] {
      const auto document = request::json::Document::Parse(body.data(), body.size());
      EXPECT_GE(document.Error(), 0);
    });
    EXPECT_LT(growth, kLimit) << name;
  }
}

TEST(HostileAnswer, doesNotGrowTheProcessThroughTheDoorsSlowWay) {
  for (const auto& [name, body] : HostileBodies()) {
    const std::size_t growth = GrowthOf([&body = body] {
      const auto document = request::json::Document::ParseByQt(body.data(), body.size());
      EXPECT_GE(document.Error(), 0);
    });
    EXPECT_LT(growth, kLimit) << name;
  }
}

TEST(HostileAnswer, doesNotGrowTheProcessThroughTheChecks) {
  const std::string body = Repeated("last", "last", "[1,[2],[[3]]]");
  const std::size_t growth = GrowthOf([&body] {
    EXPECT_TRUE(request::CheckAnswer(request::Fetch::kIndexQuotes, {true, body.data(), body.size()}));
  });
  EXPECT_LT(growth, kLimit);
}

#if defined(CSM_ADDRESS_SANITIZER)
TEST(HostileAnswer, leavesNothingThatTheLeakSanitizerFinds) {
  for (const auto& [name, body] : HostileBodies()) {
    const auto document = request::json::Document::ParseByQt(body.data(), body.size());
    EXPECT_GE(document.Error(), 0) << name;
  }
  EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
}
#endif

}  // namespace
