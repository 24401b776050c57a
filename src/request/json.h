// The one door to the JSON parser: values, objects and arrays as the services and the record readers see
// them. Conversions never fail; each says what a value of another type reads as. Values share their
// document's storage and keep it alive. Distinct values may be used on distinct threads.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <cstddef>
#include <string>
#include <string_view>

#include "request/json_text.h"

namespace request::json {

class Array;
class Object;

class Value {
 public:
  Value() : value_(QJsonValue::Undefined) {}
  explicit Value(const QJsonValue& value) : value_(value) {}

  [[nodiscard]] bool IsNull() const { return value_.isNull(); }
  [[nodiscard]] bool IsUndefined() const { return value_.isUndefined(); }
  [[nodiscard]] bool IsArray() const { return value_.isArray(); }
  [[nodiscard]] bool IsObject() const { return value_.isObject(); }

  /// The text of a string; empty for anything else.
  [[nodiscard]] std::wstring Text() const { return value_.toString().toStdWString(); }

  /// The number; 0.0 for anything else.
  [[nodiscard]] double Number() const { return value_.toDouble(); }

  /// The number if it is a whole one that fits; 0 for anything else, 5.5 and 3000000000 included.
  [[nodiscard]] int Integer() const { return value_.toInt(); }

  /// The object or array; an empty one for anything else.
  [[nodiscard]] json::Object AsObject() const;
  [[nodiscard]] json::Array AsArray() const;

 private:
  QJsonValue value_;
};

class Array {
 public:
  Array() = default;
  explicit Array(QJsonArray array) : array_(std::move(array)) {}

  [[nodiscard]] std::size_t Size() const { return static_cast<std::size_t>(array_.size()); }
  [[nodiscard]] Value At(std::size_t index) const { return Value(array_.at(static_cast<int>(index))); }

 private:
  QJsonArray array_;
};

class Object {
 public:
  Object() = default;
  explicit Object(QJsonObject object) : object_(std::move(object)) {}

  /// The member of that name (ASCII), the last one if the text held several; undefined when there is none.
  [[nodiscard]] Value Member(std::string_view key) const {
    return Value(object_.value(QLatin1String(key.data(), static_cast<int>(key.size()))));
  }
  [[nodiscard]] Object ObjectAt(std::string_view key) const { return Member(key).AsObject(); }
  [[nodiscard]] Array ArrayAt(std::string_view key) const { return Member(key).AsArray(); }

  /// Calls `visit(key, value)` for every member, ascending by key; the key is UTF-16.
  template <class Visitor>
  void ForEach(Visitor&& visit) const {
    for (auto member = object_.begin(); member != object_.end(); ++member) {
      const QString key = member.key();
      if (!key.isEmpty() && key.front() == QLatin1Char(kRepeatedKeyMark)) {
        continue;
      }
      visit(std::u16string_view(reinterpret_cast<const char16_t*>(key.utf16()),
                                static_cast<std::size_t>(key.size())),
            Value(member.value()));
    }
  }

 private:
  QJsonObject object_;
};

/// A parsed text.
class Document {
 public:
  Document() = default;

  /// Parses UTF-8. The bytes are not needed afterwards.
  [[nodiscard]] static Document Parse(const char* text, std::size_t length);

  /// The parser's error code; 0 when the text was JSON.
  [[nodiscard]] int Error() const { return error_; }

  /// The outermost object; an empty one when the text was no JSON or an array.
  [[nodiscard]] const Object& Root() const { return root_; }

  /// The outermost array; an empty one when the text was no JSON or an object.
  [[nodiscard]] const Array& RootArray() const { return root_array_; }

 private:
  int error_ = 0;
  Object root_;
  Array root_array_;
};

inline Object Value::AsObject() const {
  return Object(value_.toObject());
}

inline Array Value::AsArray() const {
  return Array(value_.toArray());
}

/// A UTF-16 key as wide text.
[[nodiscard]] std::wstring WideKey(std::u16string_view key);

}  // namespace request::json
