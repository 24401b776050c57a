// The JSON door against the bare parser: neither the plain reader nor setting repeated keys apart changes the
// error or any value. The bare parser leaks on repeated keys, so this target runs with leak detection off.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include "json/json.h"

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

// By itself it would lose a byte-order mark in front.
QString TextOf(const std::wstring& text) {
  return QString::fromStdWString(L"x" + text).mid(1);
}

void RequireSame(const QJsonObject& bare, const Object& object) {
  // Walked, not looked up: the bare parser does not find every key that it holds.
  for (auto member = bare.begin(); member != bare.end(); ++member) {
    if (TextOf(member.key().toStdWString()) != member.key()) {
      return;  // a lone surrogate reads as another text
    }
  }
  auto next = bare.begin();
  object.ForEach([&](std::string_view key, const Value& value) {
    Require(next != bare.end() && next.key() == TextOf(request::json::WideKey(key)));
    RequireSame(next.value(), value);
    ++next;
  });
  Require(next == bare.end());
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

bool RepeatsKeys(const Object& object);

bool RepeatsKeys(const Array& array) {
  bool found = false;
  array.ForEach([&found](const Value& element) {
    found = found || RepeatsKeys(element.AsArray()) || RepeatsKeys(element.AsObject());
  });
  return found;
}

bool RepeatsKeys(const Object& object) {
  std::size_t distinct = 0;
  object.ForEach([&distinct](std::string_view, const Value&) { ++distinct; });
  bool found = distinct != object.Size();
  object.ForEachValue([&found](const Value& value) {
    found = found || RepeatsKeys(value.AsArray()) || RepeatsKeys(value.AsObject());
  });
  return found;
}

void RequireSame(const Value& left, const Value& right);

void RequireSame(const Object& left, const Object& right) {
  std::vector<std::pair<std::string_view, Value>> members;
  left.ForEach([&members](std::string_view key, const Value& value) { members.emplace_back(key, value); });
  std::size_t place = 0;
  right.ForEach([&](std::string_view key, const Value& value) {
    Require(place < members.size() && members[place].first == key);
    RequireSame(members[place].second, value);
    ++place;
  });
  Require(place == members.size());
}

void RequireSame(const Array& left, const Array& right) {
  Require(left.Size() == right.Size());
  for (std::size_t index = 0; index < left.Size(); ++index) {
    RequireSame(left.At(index), right.At(index));
  }
}

void RequireSame(const Value& left, const Value& right) {
  Require(left.IsNull() == right.IsNull() && left.IsUndefined() == right.IsUndefined());
  Require(left.IsObject() == right.IsObject() && left.IsArray() == right.IsArray());
  Require(left.Integer() == right.Integer() && left.Number() == right.Number() &&
          left.Text() == right.Text());
  RequireSame(left.AsObject(), right.AsObject());
  RequireSame(left.AsArray(), right.AsArray());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const char* const text = reinterpret_cast<const char*>(data);
  QJsonParseError error{};
  const QJsonDocument bare = QJsonDocument::fromJson(QByteArray(text, static_cast<int>(size)), &error);
  const auto plain_first = request::json::Document::Parse(text, size);
  const auto by_qt = request::json::Document::ParseByQt(text, size);
  Require(plain_first.Error() == error.error);
  Require(by_qt.Error() == error.error);
  RequireSame(plain_first.Root(), by_qt.Root());
  RequireSame(plain_first.RootArray(), by_qt.RootArray());
  // Of repeated keys the bare parser keeps any, and it takes some for equal that differ behind a NUL only.
  const std::string_view bytes(text, size);
  const bool has_nul =
      bytes.find('\0') != std::string_view::npos || bytes.find("\\u0000") != std::string_view::npos;
  if (!has_nul && !RepeatsKeys(by_qt.Root()) && !RepeatsKeys(by_qt.RootArray())) {
    RequireSame(bare.object(), by_qt.Root());
    RequireSame(bare.array(), by_qt.RootArray());
  }
  return 0;
}
