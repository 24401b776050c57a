#include "market_server/json_writer.h"

#include <rapidjson/writer.h>

#include <charconv>
#include <cmath>

namespace market_server {
namespace {

/// The end of a string, as rapidjson writes to it.
struct End {
  using Ch = char;
  std::string& text;
  void Put(char c) { text.push_back(c); }
  void Flush() {}
};

rapidjson::SizeType Size(std::string_view text) {
  return static_cast<rapidjson::SizeType>(text.size());
}

}  // namespace

struct JsonWriter::Text {
  explicit Text(std::string& out) : end{out}, writer(end) {}
  End end;
  rapidjson::Writer<End> writer;
};

JsonWriter::JsonWriter(std::string& out) : text_(std::make_unique<Text>(out)) {}

JsonWriter::~JsonWriter() = default;

void JsonWriter::BeginObject() {
  text_->writer.StartObject();
}

void JsonWriter::EndObject() {
  text_->writer.EndObject();
}

void JsonWriter::BeginArray() {
  text_->writer.StartArray();
}

void JsonWriter::EndArray() {
  text_->writer.EndArray();
}

void JsonWriter::Key(std::string_view key) {
  text_->writer.Key(key.data(), Size(key));
}

void JsonWriter::Value(std::string_view text) {
  text_->writer.String(text.data(), Size(text));
}

void JsonWriter::Value(std::int64_t number) {
  text_->writer.Int64(number);
}

void JsonWriter::Value(std::uint64_t number) {
  text_->writer.Uint64(number);
}

void JsonWriter::Value(double number) {
  // The library writes whole numbers with a fraction, and not always the shortest form of others.
  constexpr double kWholeLimit = 1e15;
  if (!std::isfinite(number)) {
    text_->writer.Null();
  } else if (number == std::trunc(number) && std::abs(number) < kWholeLimit) {
    Value(static_cast<std::int64_t>(number));
  } else {
    char digits[32];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    text_->writer.RawValue(digits, static_cast<std::size_t>(end - digits), rapidjson::kNumberType);
  }
}

}  // namespace market_server
