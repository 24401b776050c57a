// Writes JSON text at the end of a string. The caller keeps the brackets in balance. Not thread-safe.
// Numbers are written in the shortest form that reads back as the same double, whole ones below 10^15 as
// digits alone; what is no number becomes null.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace market_server {

class JsonWriter {
 public:
  explicit JsonWriter(std::string& out);
  ~JsonWriter();
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  void BeginObject();
  void EndObject();
  void BeginArray();
  void EndArray();
  void Key(std::string_view key);
  void Value(std::string_view text);
  void Value(double number);
  void Value(std::int64_t number);
  void Value(std::uint64_t number);
  void Value(const char* text) { Value(std::string_view(text)); }
  template <std::integral Integer>
  requires(!std::same_as<Integer, bool>) void Value(Integer number) {
    if constexpr (std::signed_integral<Integer>) {
      Value(std::int64_t{number});
    } else {
      Value(std::uint64_t{number});
    }
  }

  template <class T>
  void Member(std::string_view key, const T& value) {
    Key(key);
    Value(value);
  }

 private:
  struct Text;
  std::unique_ptr<Text> text_;
};

}  // namespace market_server
