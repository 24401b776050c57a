// One line of JSON, always valid: UTF-8 whatever the text holds, null for what is no number, all digits of a
// number. Used by one thread. How a record becomes an object is sheet.h's matter.
#pragma once

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

#include "cli/format/text.h"

namespace cli {

class JsonWriter {
 public:
  void BeginObject() { writer_.StartObject(); }
  void EndObject() { writer_.EndObject(); }
  void Key(std::string_view name) { writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size())); }
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
    writer_.StartArray();
    for (const auto& item : items) {
      write(item);
    }
    writer_.EndArray();
  }

  void Null() { writer_.Null(); }
  void Value(std::string_view utf8) {
    const std::string valid = ValidUtf8(utf8);
    writer_.String(valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
  }
  void Value(std::wstring_view text) { Value(std::string_view(Utf8(text))); }
  void Value(std::integral auto number) {
    if constexpr (std::is_same_v<decltype(number), bool>) {
      writer_.Bool(number);
    } else if constexpr (std::is_signed_v<decltype(number)>) {
      writer_.Int64(number);
    } else {
      writer_.Uint64(number);
    }
  }
  /// The shortest text that reads back as the same number.
  void Value(std::floating_point auto number) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    if (std::isfinite(number)) {
      writer_.RawValue(text.data(), static_cast<std::size_t>(end - text.data()), rapidjson::kNumberType);
    } else {
      Null();
    }
  }

  /// What was written, without a line feed.
  [[nodiscard]] std::string Text() const { return {buffer_.GetString(), buffer_.GetSize()}; }

 private:
  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_{buffer_};
};

}  // namespace cli
