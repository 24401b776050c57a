// Writes JSON text at the end of a string. The caller keeps the brackets in balance. Not thread-safe.
// Numbers are written in the shortest form that reads back as the same double; what is no number becomes
// null.
#pragma once

#include <charconv>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace market_server {

class JsonWriter {
 public:
  explicit JsonWriter(std::string& out) : out_(out) {}

  void BeginObject() { Open('{'); }
  void EndObject() { Close('}'); }
  void BeginArray() { Open('['); }
  void EndArray() { Close(']'); }

  void Key(std::string_view key) {
    Separate();
    Quote(key);
    out_.push_back(':');
    first_ = true;
  }

  void Value(std::string_view text) {
    Separate();
    Quote(text);
  }
  void Value(const char* text) { Value(std::string_view(text)); }
  void Value(const std::string& text) { Value(std::string_view(text)); }

  void Value(double number) {
    Separate();
    if (!std::isfinite(number)) {
      out_ += "null";
      return;
    }
    // Whole numbers are written out: no negative zero, no 1.6e+12 for an amount.
    constexpr double kWholeLimit = 1e15;
    if (number == std::trunc(number) && std::abs(number) < kWholeLimit) {
      Digits(static_cast<std::int64_t>(number));
    } else {
      Digits(number);
    }
  }

  template <std::integral Integer>
  requires(!std::is_same_v<Integer, bool> && !std::is_same_v<Integer, char>) void Value(Integer number) {
    Separate();
    Digits(number);
  }

  template <class T>
  void Member(std::string_view key, const T& value) {
    Key(key);
    Value(value);
  }

 private:
  void Open(char bracket) {
    Separate();
    out_.push_back(bracket);
    first_ = true;
  }
  void Close(char bracket) {
    out_.push_back(bracket);
    first_ = false;
  }
  void Separate() {
    if (!first_) out_.push_back(',');
    first_ = false;
  }
  template <class Number>
  void Digits(Number number) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number).ptr;
    out_.append(text, end);
  }
  void Quote(std::string_view text) {
    static constexpr char kDigits[] = "0123456789abcdef";
    out_.push_back('"');
    for (const char c : text) {
      const auto byte = static_cast<unsigned char>(c);
      if (c == '"' || c == '\\') {
        out_.push_back('\\');
        out_.push_back(c);
      } else if (byte < 0x20 || byte == 0x7f) {
        out_ += "\\u00";
        out_.push_back(kDigits[byte >> 4]);
        out_.push_back(kDigits[byte & 15]);
      } else {
        out_.push_back(c);
      }
    }
    out_.push_back('"');
  }

  std::string& out_;
  bool first_ = true;
};

}  // namespace market_server
