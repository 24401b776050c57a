// The door to the JSON parser. What a text means, and which code it has when it is no JSON, is what Qt says.
#include "json/json.h"

#include <gtest/gtest.h>

#include "qt_reference.h"

namespace {

using request::json::Document;
using request::json::Object;
using request::json::Value;

Document Parsed(const std::string& text) {
  return Document::Parse(text.data(), text.size());
}

const std::vector<std::string>& Texts() {
  static const std::vector<std::string> texts = {
      "",
      " ",
      "{}",
      "[]",
      "[[]]",
      "{\"a\":{}}",
      "null",
      "true",
      "5",
      "\"text\"",
      "{\"errno\":0,\"data\":{\"list\":[{\"code\":\"sh000001\",\"last\":3054.64,\"change\":null,\"diff\":-1e-"
      "3}]}}",
      "[null,true,false,0,-0,-0.0,1,-1,1.5,1e3,1E+3,1e-3,123456789012345678901234567890,2147483647,"
      "2147483648,"
      "-2147483648,-2147483649,9007199254740993,0.1,1e308,5e-324,2.2250738585072014e-308]",
      "[1e309]",
      "[-1e400]",
      "[1e-400]",
      "[01]",
      "[+1]",
      "[.5]",
      "[5.]",
      "[1e]",
      "[1e+]",
      "[-]",
      "[0x10]",
      "[NaN]",
      "[Infinity]",
      "[nul]",
      "[tru",
      "[truex]",
      "[1,]",
      "[,1]",
      "[1 2]",
      "[1",
      "[1}",
      "{\"a\":1]",
      "{\"a\"1}",
      "{\"a\":}",
      "{\"a\":1,}",
      "{,}",
      "{a:1}",
      "{1:1}",
      "{\"a\":1",
      "{\"a\":1}x",
      "{\"a\":1} {}",
      "[\"\\u0041\\u00e9\\u4e2d\\ud83d\\ude00\"]",
      "[\"\\ud83d\"]",
      "[\"\\ude00\"]",
      "[\"\\ud83dx\"]",
      "[\"\\u12\"]",
      "[\"\\u12G4\"]",
      "[\"\\b\\f\\n\\r\\t\\/\\\\\\\"\"]",
      "[\"\\x\"]",
      "[\"\\\"]",
      "[\"open",
      "[\"\xE4\xB8\xAD\xE6\x96\x87\xF0\x9F\x98\x80\"]",
      "[\"\xFF\"]",
      "[\"\xC0\x80\"]",
      "[\"\xED\xA0\x80\"]",
      "[\"\xE4\xB8\"]",
      "[\"\xF4\x90\x80\x80\"]",
      std::string("[\"a\0b\"]", 7),
      std::string("[\"a\x01\x1F\"]"),
      std::string("[1]\0", 4),
      std::string("\0[1]", 4),
      "[\"tab\there\"]",
      "\xEF\xBB\xBF{\"a\":1}",
      " \t\r\n{ \"a\" : [ 1 , 2 ] } \n",
      "\f[1]",
      "/* c */ [1]",
      "{\"b\":1,\"a\":2,\"C\":3,\"\":4,\"\xE4\xB8\xAD\":5,\"\xC3\xA9\":6,\"\xEF\xBC\x81\":7,\"ab\":8}",
      "{\"l\\u0061st\":1,\"na\\\"me\":2}",
      "{\"a\":{\"b\":[{\"c\":[[],{},null]}]}}",
      std::string(1024, '[') + std::string(1024, ']'),
      std::string(1025, '[') + std::string(1025, ']'),
      std::string(100000, '['),
      "{\"a\":" + std::string(2000, '[') + std::string(2000, ']') + "}",
      "[" + std::string(400, '1') + "]",
      "[0." + std::string(400, '3') + "]",
  };
  return texts;
}

TEST(JsonDoor, readsEveryTextAsQtDoes) {
  for (const std::string& text : Texts()) {
    EXPECT_EQ(qt_reference::Same(Parsed(text), qt_reference::Parse(text)), "") << text.substr(0, 100);
  }
}

TEST(JsonDoor, itsSlowWayReadsEveryTextAsQtDoes) {
  for (const std::string& text : Texts()) {
    EXPECT_EQ(qt_reference::Same(Document::ParseByQt(text.data(), text.size()), qt_reference::Parse(text)),
              "")
        << text.substr(0, 100);
  }
}

// Numbers, and what is none, of every length about the words that the plain reader looks at.
std::vector<std::string> NumbersOfEveryLength() {
  const std::string digits = "7382915604738291";
  std::vector<std::string> numbers = {"00", "00.5",     "0.0",       "1..2", "1.2.3",
                                      ".1", "1234567.", "12345678.", "-",    "--1"};
  for (std::size_t whole = 0; whole <= digits.size(); ++whole) {
    for (std::size_t decimals = 0; decimals <= digits.size(); ++decimals) {
      const std::string number = digits.substr(0, whole) + "." + digits.substr(0, decimals);
      for (const std::string& text : {number, "-" + number, "0" + number, number + "e3", number + "x"}) {
        numbers.push_back(text);
      }
    }
    numbers.push_back(digits.substr(0, whole));
    numbers.push_back("-" + digits.substr(0, whole));
    numbers.push_back(digits.substr(0, whole) + "E-2");
  }
  return numbers;
}

TEST(JsonDoor, readsNumbersWithEveryEndAsQtDoes) {
  for (const std::string& number : NumbersOfEveryLength()) {
    for (const char* const end : {"]", ",1]", " ]", ",\"behind it\"]", "}", "", "    \n    ]", "]       x"}) {
      const std::string text = "[" + number + end;
      ASSERT_EQ(qt_reference::Same(Parsed(text), qt_reference::Parse(text)), "") << text;
    }
    const std::string member = "{\"a\":" + number + "}";
    ASSERT_EQ(qt_reference::Same(Parsed(member), qt_reference::Parse(member)), "") << member;
  }
}

// In a row like several before, where the commas are known ahead in blocks of characters, at every place of a
// block, between members and behind the last one.
TEST(JsonDoor, readsNumbersOfAlikeRowsAsQtDoes) {
  const std::string behind = ",{\"filler\":\"" + std::string(256, 'f') + "\"}]";
  std::size_t place = 0;
  const auto expect_same = [&](const std::string& key, const std::string& value) {
    for (const char* const rest :
         {",\"last\":-0.5,\"text\":\"a,b\"}", ",\"last\":-0.5,\"text\":\"ab\"}", "}"}) {
      const auto row = [&](const std::string& number) {
        return "{\"w1\":1,\"w2\":-2,\"w3\":0.5,\"w4\":4,\"x\":\"" + std::string(place % 64, 'x') + "\",\"" +
               key + "\":" + number + rest;
      };
      const std::string text =
          "[" + row("12.5") + "," + row("1") + "," + row(value) + "," + row("7") + "," + row("8") + behind;
      ASSERT_EQ(qt_reference::Same(Parsed(text), qt_reference::Parse(text)), "") << text;
    }
  };
  for (const std::string& number : NumbersOfEveryLength()) {
    ASSERT_NO_FATAL_FAILURE(expect_same("a", number));
    place += 7;
  }
  for (place = 0; place < 64; ++place) {
    for (const char* const key : {"a", "a,b", ",", "a\\,", "a key of more than sixteen"}) {
      for (const char* const value : {"-123456.789", "0", "-0", "1,", "\"1,2\"", "[1,2]", "99999999999.9999",
                                      "1 ", " 1", "null", "1]"}) {
        ASSERT_NO_FATAL_FAILURE(expect_same(key, value));
      }
    }
  }
}

// Short strings are passed in one step there, and Chinese characters in pairs.
TEST(JsonDoor, readsStringsOfAlikeRowsAsQtDoes) {
  const std::vector<std::string> odd = {"",
                                        ",",
                                        "\"}\"text\":\"b\",\"last\":-0.5,\"c\":\"d",
                                        "\"",
                                        "\\",
                                        "\\\"",
                                        "\\\\",
                                        "\\n",
                                        "\x1F",
                                        "\x7F",
                                        "\xC3\xA9",
                                        "\xFF",
                                        "中",
                                        "中文",
                                        "中文中",
                                        "，文",
                                        "中\xE4",
                                        "中\xE4\xB8",
                                        "中\xE4\xB8z",
                                        "\xE4zz中",
                                        "\xE4\xB8\xE4\xB8\xAD\xE4",
                                        "\xE0\x80\x80中",
                                        "中\xE0\x80\x80",
                                        "中\xE0\xA0\x80",
                                        "\xED\xA0\x80中",
                                        "中\xED\xA0\x80",
                                        "中\xED\x9F\xBF"};
  const std::string behind = ",{\"filler\":\"" + std::string(256, 'f') + "\"}]";
  const auto row = [](const std::string& string) {
    return "{\"w1\":1,\"w2\":2,\"w3\":3,\"name\":\"" + string + "\",\"text\":\"b\",\"last\":-0.5}";
  };
  for (std::size_t before = 0; before <= 66; ++before) {
    for (const std::string& one : odd) {
      for (const char* const after : {"", "!", ",}{]"}) {
        const std::string string = std::string(before, 'a') + one + after;
        const std::string text = "[" + row("a") + "," + row("b") + "," + row(string) + behind;
        ASSERT_EQ(qt_reference::Same(Parsed(text), qt_reference::Parse(text)), "") << text;
      }
    }
  }
}

// What stands behind a value of a row like several before: a row may end otherwise than they did, or not.
TEST(JsonDoor, readsEndsOfAlikeRowsAsQtDoes) {
  const std::string behind = ",{\"filler\":\"" + std::string(256, 'f') + "\"}]";
  const auto row = [](const std::string& middle, const std::string& last) {
    return R"({"w1":1,"w2":2,"w3":3,"w4":4,"middle":)" + middle + R"(,"last":)" + last;
  };
  const std::vector<std::string> values = {"1",
                                           "-0.5",
                                           "12345678901234567",
                                           "-123456789012345678",
                                           "\"text\"",
                                           "\"a,b\"",
                                           "\"text\\",
                                           "\"text\x01",
                                           "\"text",
                                           "null",
                                           "{}",
                                           ""};
  for (const std::string& usual : {std::string("7.25"), std::string("\"usual\"")}) {
    const std::string rows = "[" + row(usual, usual + "}") + "," + row(usual, usual + "}") + ",";
    const auto expect_same = [&](const std::string& odd) {
      const std::string text = rows + odd + "," + row(usual, usual + "}") + behind;
      ASSERT_EQ(qt_reference::Same(Parsed(text), qt_reference::Parse(text)), "") << text;
    };
    for (const std::string& value : values) {
      for (const char* const end :
           {"}", "]", "", " }", "} ", "}}", "}]", ",", ",}", "\"", "\"}", "5}", ",\"more\":1}", ":1}"}) {
        ASSERT_NO_FATAL_FAILURE(expect_same(row(usual, value + end)));
        ASSERT_NO_FATAL_FAILURE(expect_same(row(value + end, usual + "}")));
      }
    }
    for (const char* const key : {"\"middle\"", "\"midd1e\":", "\"Middle\":", "\"middle\";", "'middle\":"}) {
      std::string odd = row(usual, usual + "}");
      ASSERT_NO_FATAL_FAILURE(expect_same(odd.replace(odd.find("\"middle\":"), 9, key)));
    }
  }
}

// Whatever is looked at ahead, nothing behind the last byte is: the address sanitizer watches it.
TEST(JsonDoor, readsNothingBehindTheEndOfAlikeRows) {
  for (std::size_t key = 1; key <= 130; ++key) {
    const std::string row =
        "{\"w1\":1,\"w2\":2,\"w3\":3,\"w4\":4,\"" + std::string(key, 'k') + "\":1.5,\"b\":2}";
    for (std::size_t rest = 0; rest <= 130; ++rest) {
      const std::string text = "[" + row + "," + row + "," + row + ",\"" + std::string(rest, 'r') + "\"]";
      const std::vector<char> exact(text.begin(), text.end());
      EXPECT_EQ(Document::Parse(exact.data(), exact.size()).RootArray().Size(), 4U) << text;
    }
  }
}

// Each byte that is out of the plain, at each place about a word, in a value and in a key.
TEST(JsonDoor, readsStringsOfEveryLengthAsQtDoes) {
  const std::vector<std::string> odd = {"",     "\"",       "\\",   "\\n",          "\x1F",    " ",
                                        "\x7F", "\xC3\xA9", "\xFF", "\xE4\xB8\xAD", "\xE4\xB8"};
  for (std::size_t before = 0; before <= 17; ++before) {
    for (std::size_t behind = 0; behind <= 9; ++behind) {
      for (const std::string& one : odd) {
        const std::string string = "\"" + std::string(before, 'a') + one + std::string(behind, '!') + "\"";
        for (const std::string& text : {"[" + string + "]", "{" + string + ":1}", "[" + string}) {
          ASSERT_EQ(qt_reference::Same(Parsed(text), qt_reference::Parse(text)), "") << text;
        }
      }
    }
  }
}

// Qt drops a byte-order mark in front of a string that has no escapes.
TEST(JsonDoor, readsByteOrderMarksAsQtDoes) {
  const std::string mark = "\xEF\xBB\xBF";
  for (const std::string& string :
       {mark, mark + "abc", mark + "\xE4\xB8\xAD", mark + mark + "a", "a" + mark, "a" + mark + "b",
        mark + "a\\n", mark + "\\u4e2d", std::string("\\ufeffa"), "\\ufeff" + mark, mark.substr(0, 2)}) {
    const std::string text = "[\"" + string + "\",\"\",1]";
    EXPECT_EQ(qt_reference::Same(Parsed(text), qt_reference::Parse(text)), "") << text;
    EXPECT_EQ(qt_reference::Same(Document::ParseByQt(text.data(), text.size()), qt_reference::Parse(text)),
              "")
        << text;
  }
  EXPECT_EQ(Parsed("[\"" + mark + "abc\"]").RootArray().At(0).Text(), L"abc");
  EXPECT_EQ(Parsed("[\"" + mark + "a\\n\"]").RootArray().At(0).Text(),
            L"\xFEFF"
            L"a\n");
}

// Qt shows such a key without the mark, but neither finds it nor orders it so.
TEST(JsonDoor, findsAndOrdersKeysWithByteOrderMarksAsQtDoes) {
  const std::string mark = "\xEF\xBB\xBF";
  for (const std::string& members :
       {"\"" + mark + "data\":5,\"errno\":0,\"z\":1,\"\xEF\xBC\xA1\":7", "\"" + mark + "data\":5,\"data\":6",
        "\"data\":6,\"" + mark + "data\":5", "\"" + mark + "data\":5,\"\\ufeffdata\":6",
        "\"\\ufeffdata\":6,\"" + mark + "data\":5", std::string("\"\\ufeffdata\":6"),
        "\"" + mark + "da\\u0074a\":5", "\"" + mark + mark + "data\":5", "\"" + mark + "\":5,\"\":6",
        "\"" + mark + "data\":5,\"" + mark + "data\":6"}) {
    const std::string text = "{" + members + "}";
    const Document ours = Parsed(text);
    const auto qt = qt_reference::Parse(text);
    EXPECT_EQ(qt_reference::Same(ours, qt), "") << text;
    const auto found = qt.document.object().value(QLatin1String("data"));
    EXPECT_EQ(ours.Root().Member("data").IsUndefined(), found.isUndefined()) << text;
    EXPECT_EQ(ours.Root().Member("data").Integer(), found.toInt()) << text;
    EXPECT_EQ(qt_reference::NameOf(ours.Root().First().key), qt.document.object().begin().key()) << text;
  }
}

TEST(JsonDoor, readsByteOrderMarksInKeysAsQtDoes) {
  const std::string mark = "\xEF\xBB\xBF";
  for (const auto& [key, name] : std::vector<std::pair<std::string, std::wstring>>{{mark + "a", L"a"},
                                                                                   {"a" + mark, L"a\xFEFF"},
                                                                                   {mark + "a\\n",
                                                                                    L"\xFEFF"
                                                                                    L"a\n"},
                                                                                   {mark, L""}}) {
    const std::string text = "{\"" + key + "\":1}";
    const auto qt = qt_reference::Parse(text).document.object();
    ASSERT_EQ(qt.keys().front().toStdWString(), name) << text;
    std::vector<std::wstring> names;
    const Document document = Parsed(text);
    document.Root().ForEach(
        [&](std::string_view ours, const Value&) { names.push_back(request::json::WideKey(ours)); });
    EXPECT_EQ(names, std::vector<std::wstring>{name}) << text;
  }
}

TEST(JsonDoor, givesTheCodesOfQt) {
  const std::vector<std::pair<std::string, QJsonParseError::ParseError>> codes = {
      {"{}", QJsonParseError::NoError},
      {"{\"a\":{}", QJsonParseError::UnterminatedObject},
      {"{\"a\" 1}", QJsonParseError::MissingNameSeparator},
      {"[{}", QJsonParseError::UnterminatedArray},
      {"[1", QJsonParseError::TerminationByNumber},
      {"[1 2]", QJsonParseError::MissingValueSeparator},
      {"[tru]", QJsonParseError::IllegalValue},
      {"[-]", QJsonParseError::IllegalNumber},
      {"[\"\\u00\"]", QJsonParseError::IllegalEscapeSequence},
      {"[\"\xFF\"]", QJsonParseError::IllegalUTF8String},
      {"[\"a", QJsonParseError::UnterminatedString},
      {"{\"a\":1,}", QJsonParseError::MissingObject},
      {std::string(2000, '['), QJsonParseError::DeepNesting},
      {"{} x", QJsonParseError::GarbageAtEnd},
  };
  for (const auto& [text, code] : codes) {
    EXPECT_EQ(qt_reference::Parse(text).code, code) << text.substr(0, 40);
    EXPECT_EQ(Parsed(text).Error(), code) << text.substr(0, 40);
  }
}

TEST(JsonValue, isConvertedAsTheServicesNeedIt) {
  const std::string text =
      R"({"text":"x","number":5.5,"whole":7,"big":3000000000,"true":true,"null":null,"array":[1],
    "object":{"a":1},"digits":"7"})";
  const Document document = Parsed(text);
  const Object root = document.Root();
  EXPECT_EQ(root.Member("text").Text(), L"x");
  EXPECT_EQ(root.Member("number").Text(), L"");
  EXPECT_EQ(root.Member("null").Text(), L"");
  EXPECT_EQ(root.Member("number").Number(), 5.5);
  EXPECT_EQ(root.Member("digits").Number(), 0.0);
  EXPECT_EQ(root.Member("true").Number(), 0.0);
  EXPECT_EQ(root.Member("whole").Integer(), 7);
  EXPECT_EQ(root.Member("number").Integer(), 0);
  EXPECT_EQ(root.Member("big").Integer(), 0);
  EXPECT_EQ(root.Member("big").Number(), 3e9);
  EXPECT_EQ(root.Member("digits").Integer(), 0);
  EXPECT_EQ(root.Member("true").Integer(), 0);
  EXPECT_TRUE(root.Member("null").IsNull());
  EXPECT_FALSE(root.Member("missing").IsNull());
  EXPECT_TRUE(root.Member("missing").IsUndefined());
  EXPECT_EQ(root.Member("array").AsArray().Size(), 1u);
  EXPECT_EQ(root.Member("object").AsArray().Size(), 0u);
  EXPECT_EQ(root.Member("object").AsObject().Member("a").Integer(), 1);
  EXPECT_TRUE(root.Member("array").AsObject().Member("a").IsUndefined());
}

TEST(JsonValue, writesItsTextIntoOneThatIsUsedAgain) {
  const std::string json = R"(["sh600000","",5,"\u4e2d"])";
  const Document document = Parsed(json);
  std::wstring text = L"something longer than any of them";
  const wchar_t* const memory = text.data();
  request::json::Budget budget;
  std::size_t place = 0;
  for (const wchar_t* const expected : {L"sh600000", L"", L"", L"\x4E2D"}) {
    document.RootArray().At(place++).TextInto(text, budget);
    EXPECT_EQ(text, expected);
    EXPECT_EQ(text.data(), memory);
  }
}

TEST(JsonValue, ofADefaultedObjectOrArrayIsUndefined) {
  EXPECT_TRUE(Object().Member("a").IsUndefined());
  EXPECT_TRUE(request::json::Array().At(0).IsUndefined());
  EXPECT_EQ(Document().Error(), 0);
  EXPECT_TRUE(Document().Root().Member("a").IsUndefined());
}

TEST(JsonArray, givesItsElementsByPlace) {
  const std::string text = R"([[1,2],{"a":[3]},"x",4])";
  const Document document = Parsed(text);
  EXPECT_EQ(document.RootArray().At(0).AsArray().At(1).Integer(), 2);
  EXPECT_EQ(document.RootArray().At(2).Text(), L"x");
  EXPECT_EQ(document.RootArray().At(3).Integer(), 4);
  EXPECT_TRUE(document.RootArray().At(4).IsUndefined());
}

TEST(JsonObject, walksItsMembersByKey) {
  const std::string text = R"({"b":1,"a":2,"B":3,"":4,"ab":5})";
  const Document document = Parsed(text);
  std::vector<std::string> keys;
  document.Root().ForEach([&](std::string_view key, const Value&) { keys.emplace_back(key); });
  EXPECT_EQ(keys, (std::vector<std::string>{"", "B", "a", "ab", "b"}));
}

// --- repeated keys
// ----------------------------------------------------------------------------------------------

TEST(RepeatedKeys, theLastOneWins) {
  const std::vector<std::pair<std::string, int>> texts = {
      {R"({"a":1,"a":2})", 2},      {R"({"a":[1,[2]],"a":3})", 3}, {R"({"a":{"b":1},"b":9,"a":4})", 4},
      {R"({"a":1,"\u0061":5})", 5}, {R"({"\u0061":1,"a":6})", 6},  {R"({"a":[[[]]],"a":{"x":[1]},"a":7})", 7},
  };
  for (const auto& [text, value] : texts) {
    const Document document = Parsed(text);
    EXPECT_EQ(document.Error(), 0) << text;
    EXPECT_EQ(document.Root().Member("a").Integer(), value) << text;
  }
}

TEST(RepeatedKeys, theLastOneWinsInALargeObject) {
  std::string text = "{";
  for (int number = 0; number < 3000; ++number) {
    text += "\"k" + std::to_string(number % 1000) + "\":" + std::to_string(number) + ",";
  }
  text += "\"end\":[]}";
  const Document document = Parsed(text);
  std::size_t members = 0;
  document.Root().ForEach([&](std::string_view, const Value&) { ++members; });
  EXPECT_EQ(members, 1001u);
  for (int number = 0; number < 1000; ++number) {
    EXPECT_EQ(document.Root().Member("k" + std::to_string(number)).Integer(), 2000 + number);
  }
}

// However many others stand before the repeated one: small objects and large ones may be sorted by other
// means.
TEST(RepeatedKeys, theLastOneWinsAfterAnyNumberOfOthers) {
  for (int others = 0; others <= 40; ++others) {
    for (const int repeated : {0, others / 2, others}) {
      std::string text = "{";
      for (int number = 0; number <= others; ++number) {
        text += "\"k" + std::to_string(number) + "\":" + std::to_string(number) + ",";
      }
      const std::string key = "k" + std::to_string(repeated);
      text += "\"" + key + "\":1000,\"" + key + "\":1001}";
      for (const Document& document : {Parsed(text), Document::ParseByQt(text.data(), text.size())}) {
        EXPECT_EQ(document.Root().Member(key).Integer(), 1001) << text;
        int members = 0;
        document.Root().ForEach([&](std::string_view name, const Value& value) {
          ++members;
          EXPECT_TRUE(name != key || value.Integer() == 1001) << text;
        });
        EXPECT_EQ(members, others + 1) << text;
      }
    }
  }
}

TEST(RepeatedKeys, areToldApartOnEachLevel) {
  const std::string text = R"({"a":{"a":{"a":1}},"b":[{"a":2},{"a":3}]})";
  const Document document = Parsed(text);
  EXPECT_EQ(document.Root().ObjectAt("a").ObjectAt("a").Member("a").Integer(), 1);
  EXPECT_EQ(document.Root().ArrayAt("b").At(1).AsObject().Member("a").Integer(), 3);
}

TEST(RepeatedKeys, doNotChangeTheErrorOfATextThatIsNoJson) {
  for (const std::string text : {R"({"a":[1],"a":2,})", R"({"a":[1],"a":})", R"({"a":[1],"a":2)",
                                 R"({"a":[1],"a":2}])", R"({"a":[1],"a":"\q"})",
                                 R"({"a":[1)"
                                 R"(,"a":2})"}) {
    EXPECT_EQ(Parsed(text).Error(), qt_reference::Parse(text).code) << text;
  }
}

TEST(RepeatedKeys, keepUnusualKeysReadable) {
  const std::string text =
      "{\"\x7F\":1,\"\x7F"
      "0\x7F"
      "a\":2,\"plain\":3}";
  const Document document = Parsed(text);
  EXPECT_EQ(document.Error(), 0);
  EXPECT_EQ(document.Root().Member("plain").Integer(), 3);
}

}  // namespace
