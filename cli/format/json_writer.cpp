#include "cli/format/json_writer.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <array>
#include <charconv>
#include <cmath>

#include "cli/format/text.h"

namespace cli {

class JsonWriter::Impl {
 public:
  void String(std::string_view utf8) {
    writer.String(utf8.data(), static_cast<rapidjson::SizeType>(utf8.size()));
  }

  // The shortest text that reads back as the same number.
  template <class Real>
  void Number(Real number) {
    if (!std::isfinite(number)) {
      writer.Null();
      return;
    }
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    writer.RawValue(text.data(), static_cast<std::size_t>(end - text.data()), rapidjson::kNumberType);
  }

  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer{buffer};
};

JsonWriter::JsonWriter() : impl_(std::make_unique<Impl>()) {}
JsonWriter::~JsonWriter() = default;

void JsonWriter::BeginObject() {
  impl_->writer.StartObject();
}

void JsonWriter::EndObject() {
  impl_->writer.EndObject();
}

void JsonWriter::BeginArray() {
  impl_->writer.StartArray();
}

void JsonWriter::EndArray() {
  impl_->writer.EndArray();
}

void JsonWriter::Key(std::string_view name) {
  impl_->writer.Key(name.data(), static_cast<rapidjson::SizeType>(name.size()));
}

void JsonWriter::Null() {
  impl_->writer.Null();
}

void JsonWriter::Bool(bool value) {
  impl_->writer.Bool(value);
}

void JsonWriter::Value(std::wstring_view text) {
  impl_->String(Utf8(text));
}

void JsonWriter::Value(std::string_view utf8) {
  impl_->String(ValidUtf8(utf8));
}

void JsonWriter::Value(double number) {
  impl_->Number(number);
}

void JsonWriter::Value(float number) {
  impl_->Number(number);
}

void JsonWriter::Value(std::int64_t number) {
  impl_->writer.Int64(number);
}

void JsonWriter::Value(std::uint64_t number) {
  impl_->writer.Uint64(number);
}

std::string JsonWriter::Text() const {
  return {impl_->buffer.GetString(), impl_->buffer.GetSize()};
}

}  // namespace cli
