// The JSON door against the bare parser: setting repeated keys apart changes neither the error nor any value.
// The bare parser leaks on repeated keys, so this target runs with leak detection off.
#include <QJsonDocument>
#include <QJsonParseError>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "request/json.h"

// libFuzzer and the replay program read this at their start.
extern "C" const char* __lsan_default_options() {  // NOLINT(bugprone-reserved-identifier)
  return "detect_leaks=0";
}

namespace {

using request::json::Array;
using request::json::Object;
using request::json::Value;

void Require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

void RequireSame(const QJsonValue& bare, const Value& value);

void RequireSame(const QJsonObject& bare, const Object& object) {
  auto member = bare.begin();
  const auto skip_marked = [&] {
    while (member != bare.end() && member.key().startsWith(QLatin1Char(request::json::kRepeatedKeyMark))) {
      ++member;
    }
  };
  skip_marked();
  object.ForEach([&](std::u16string_view key, const Value& value) {
    Require(member != bare.end());
    Require(member.key() == QString::fromUtf16(key.data(), static_cast<int>(key.size())));
    RequireSame(member.value(), value);
    ++member;
    skip_marked();
  });
  Require(member == bare.end());
}

void RequireSame(const QJsonArray& bare, const Array& array) {
  Require(static_cast<std::size_t>(bare.size()) == array.Size());
  for (int index = 0; index < bare.size(); ++index) {
    RequireSame(bare.at(index), array.At(static_cast<std::size_t>(index)));
  }
}

void RequireSame(const QJsonValue& bare, const Value& value) {
  Require(bare.isNull() == value.IsNull());
  Require(bare.isObject() == value.IsObject() && bare.isArray() == value.IsArray());
  Require(bare.toInt() == value.Integer());
  Require(bare.toDouble() == value.Number());
  Require(bare.toString().toStdWString() == value.Text());
  if (bare.isObject()) {
    RequireSame(bare.toObject(), value.AsObject());
  } else if (bare.isArray()) {
    RequireSame(bare.toArray(), value.AsArray());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const char* const text = reinterpret_cast<const char*>(data);
  QJsonParseError error{};
  const QJsonDocument bare = QJsonDocument::fromJson(QByteArray(text, static_cast<int>(size)), &error);
  const auto document = request::json::Document::Parse(text, size);
  Require(document.Error() == error.error);
  RequireSame(bare.object(), document.Root());
  RequireSame(bare.array(), document.RootArray());
  return 0;
}
