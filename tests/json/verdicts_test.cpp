// Fixed verdicts on texts at the edges of JSON: control characters, numbers at the ends of the range of a
// double, escapes, byte-order marks, repeated keys, deep nesting.
#include <gtest/gtest.h>

#include <QJsonParseError>
#include <QString>
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "json/json.h"

namespace {

using request::json::Array;
using request::json::Document;
using request::json::Object;
using request::json::Value;

const std::map<std::string, int>& Verdicts() {
  static const std::map<std::string, int> verdicts = {
      {"NoError", QJsonParseError::NoError},
      {"UnterminatedObject", QJsonParseError::UnterminatedObject},
      {"MissingNameSeparator", QJsonParseError::MissingNameSeparator},
      {"UnterminatedArray", QJsonParseError::UnterminatedArray},
      {"MissingValueSeparator", QJsonParseError::MissingValueSeparator},
      {"IllegalValue", QJsonParseError::IllegalValue},
      {"TerminationByNumber", QJsonParseError::TerminationByNumber},
      {"IllegalNumber", QJsonParseError::IllegalNumber},
      {"IllegalEscapeSequence", QJsonParseError::IllegalEscapeSequence},
      {"IllegalUTF8String", QJsonParseError::IllegalUTF8String},
      {"UnterminatedString", QJsonParseError::UnterminatedString},
      {"MissingObject", QJsonParseError::MissingObject},
      {"DeepNesting", QJsonParseError::DeepNesting},
      {"GarbageAtEnd", QJsonParseError::GarbageAtEnd},
  };
  return verdicts;
}

// What a document holds, as the fixture writes it.
std::string Written(const Value& value);

std::string Written(const Array& array) {
  std::string text;
  array.ForEach([&text](const Value& element) { text += (text.empty() ? "" : ",") + Written(element); });
  return "[" + text + "]";
}

std::string Written(const Object& object) {
  std::string text;
  object.ForEach([&text](std::string_view key, const Value& value) {
    text += (text.empty() ? "\"" : ",\"") + std::string(key) + "\":" + Written(value);
  });
  return "{" + text + "}";
}

std::string Written(const Value& value) {
  if (value.IsArray()) return Written(value.AsArray());
  if (value.IsObject()) return Written(value.AsObject());
  if (value.IsNull()) return "null";
  if (value.IsString()) return "\"" + QString::fromStdWString(value.Text()).toStdString() + "\"";
  if (!value.IsNumber()) return "bool";
  char number[40];
  std::snprintf(number, sizeof number, "%.17g", value.Number());
  return number;
}

std::string Written(const Document& document) {
  return document.Root().Self().IsUndefined() ? Written(document.RootArray()) : Written(document.Root());
}

// With the bytes that the fixture writes as ~HH.
std::string WithBytes(const std::string& text) {
  std::string bytes;
  for (std::size_t place = 0; place < text.size(); ++place) {
    if (text[place] == '~') {
      bytes += static_cast<char>(std::stoi(text.substr(place + 1, 2), nullptr, 16));
      place += 2;
    } else {
      bytes += text[place];
    }
  }
  return bytes;
}

TEST(JsonVerdicts, areThoseOfTheFixtureWhoeverReads) {
  std::ifstream fixture(FIXTURES "/verdicts.txt");
  int texts = 0;
  for (std::string line; std::getline(fixture, line);) {
    if (line.starts_with('#')) continue;
    const std::size_t verdict_end = line.find('\t');
    const std::size_t text_end = std::min(line.find('\t', verdict_end + 1), line.size());
    ASSERT_LT(verdict_end, line.size()) << line;
    const std::string text = WithBytes(line.substr(verdict_end + 1, text_end - verdict_end - 1));
    const int verdict = Verdicts().at(line.substr(0, verdict_end));
    const std::string held =
        text_end < line.size() ? WithBytes(line.substr(text_end + 1)) : std::string("[]");
    for (const auto read : {&Document::Parse, &Document::ParseByQt}) {
      const Document document = read(text.data(), text.size());
      EXPECT_EQ(document.Error(), verdict) << line;
      EXPECT_EQ(Written(document), held) << line;
    }
    ++texts;
  }
  EXPECT_GT(texts, 100);
}

TEST(JsonVerdicts, allowAThousandAndTwentyFourLevels) {
  for (const auto& [open, close] : {std::pair{"[", "]"}, std::pair{"{\"a\":", "}"}}) {
    for (const int depth : {1023, 1024, 1025}) {
      std::string text;
      for (int level = 0; level + 1 < depth; ++level) text += open;
      text += "[]";
      for (int level = 0; level + 1 < depth; ++level) text += close;
      for (const auto read : {&Document::Parse, &Document::ParseByQt}) {
        EXPECT_EQ(read(text.data(), text.size()).Error(),
                  depth > 1024 ? QJsonParseError::DeepNesting : QJsonParseError::NoError)
            << depth << open;
      }
    }
  }
}

}  // namespace
