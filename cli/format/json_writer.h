// One line of JSON, always valid: UTF-8 whatever the text holds, null for what is no number, all digits of a
// number. Used by one thread. How a record becomes an object is record_json.h's matter.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace cli {

class JsonWriter {
 public:
  JsonWriter();
  ~JsonWriter();
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  void BeginObject();
  void EndObject();
  void BeginArray();
  void EndArray();
  void Key(std::string_view name);
  /// One value under its name.
  template <class Type>
  void Member(std::string_view name, const Type& value) {
    Key(name);
    Value(value);
  }
  /// What `write` writes, as an object or, once for each item, as an array.
  template <class Write>
  void Object(const Write& write) {
    BeginObject();
    write();
    EndObject();
  }
  template <class Items, class Write>
  void Array(const Items& items, const Write& write) {
    BeginArray();
    for (const auto& item : items) {
      write(item);
    }
    EndArray();
  }

  void Null();
  void Bool(bool value);
  void Value(std::wstring_view text);
  void Value(const std::wstring& text) { Value(std::wstring_view(text)); }
  void Value(std::string_view utf8);
  void Value(double number);
  /// The shortest text that reads back as the same float.
  void Value(float number);
  void Value(std::int32_t number) { Value(std::int64_t{number}); }
  void Value(std::uint32_t number) { Value(std::uint64_t{number}); }
  void Value(std::int64_t number);
  void Value(std::uint64_t number);

  /// What was written, without a line feed.
  [[nodiscard]] std::string Text() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace cli
