#include "market_server/json_damage.h"

#include <rapidjson/document.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>
#include <vector>

namespace market_server {
namespace {

using rapidjson::Document;
using rapidjson::SizeType;
using rapidjson::StringBuffer;
using rapidjson::Value;
using TextWriter = rapidjson::Writer<StringBuffer>;

/// Not one of them is a plain double of everyday size; all are correct JSON.
constexpr std::array<std::string_view, 16> kHostileNumbers = {
    "1e400",
    "-1e400",
    "1e308",
    "-0.0",
    "1e-400",
    "4.9e-324",
    "18446744073709551615",
    "18446744073709551616",
    "-9223372036854775809",
    "9223372036854775807",
    "-1",
    "2147483648",
    "4294967296",
    "0.1000000000000000055511151231257827021181583404541015625",
    "123456789012345678901234567890123456789012345678901234567890",
    "-5.5"};

/// Line breaks, escapes, direction marks, formats, mark-up, a path, no Unicode scalar value, a long one.
const std::array<std::string, 14>& HostileTextList() {
  static const auto& texts = *new std::array<std::string, 14>{"\"\"",
                                                              R"("line\r\n2024-03-15 10:00:00 forged line")",
                                                              R"("%s%s%n%d")",
                                                              R"("\u0000")",
                                                              R"("a\u0000b")",
                                                              R"("\u202eevil\u202c")",
                                                              R"("\ud800")",
                                                              R"("\u001b[31mred\u0007")",
                                                              R"("../../../../etc/passwd")",
                                                              R"("<b onclick=alert(1)>x</b>")",
                                                              R"("'; drop table kline_pkg_info; --")",
                                                              R"("\ufeff\u200b")",
                                                              "\"\xF0\x9F\x98\x80\xF0\x9F\x98\x80\"",
                                                              "\"" + std::string(70'000, 'A') + "\""};
  return texts;
}

std::string Serialize(const Value& value) {
  StringBuffer buffer;
  TextWriter writer(buffer);
  value.Accept(writer);
  return {buffer.GetString(), buffer.GetSize()};
}

template <class Do>
std::string WithDocument(const std::string& text, Do&& change) {
  Document document;
  document.Parse(text.data(), text.size());
  if (document.HasParseError()) return text;
  change(document);
  return Serialize(document);
}

bool IsIndex(std::string_view part, SizeType& index) {
  const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), index);
  return error == std::errc{} && end == part.data() + part.size();
}

void Patch(Value& value, JsonPatch patch) {
  switch (patch) {
    case JsonPatch::kNull:
    case JsonPatch::kRemove:
      value.SetNull();
      break;
    case JsonPatch::kEmptyArray:
      value.SetArray();
      break;
    case JsonPatch::kWrongType:
      if (value.IsArray()) {
        value.SetObject();
      } else if (value.IsObject()) {
        value.SetArray();
      } else if (value.IsString()) {
        value.SetInt(7);
      } else {
        value.SetString(rapidjson::StringRef("wrong"));
      }
      break;
  }
}

void PatchAt(Value& value, std::string_view path, JsonPatch patch) {
  if (path.empty()) {
    Patch(value, patch);
    return;
  }
  const std::size_t slash = path.find('/');
  const std::string_view part = path.substr(0, slash);
  const std::string_view rest = slash == std::string_view::npos ? std::string_view{} : path.substr(slash + 1);
  const bool remove_here = rest.empty() && patch == JsonPatch::kRemove;
  if (value.IsObject()) {
    for (SizeType i = 0; i < value.MemberCount();) {
      const auto member = value.MemberBegin() + static_cast<std::ptrdiff_t>(i);
      const std::string_view name(member->name.GetString(), member->name.GetStringLength());
      const bool chosen = part == "*" || part == name;
      if (chosen && remove_here) {
        value.EraseMember(member);
        continue;
      }
      if (chosen) PatchAt(member->value, rest, patch);
      ++i;
    }
  } else if (value.IsArray()) {
    SizeType index = 0;
    if (part == "*") {
      if (remove_here) {
        value.Clear();
        return;
      }
      for (Value& element : value.GetArray()) PatchAt(element, rest, patch);
    } else if (IsIndex(part, index) && index < value.Size()) {
      if (remove_here) {
        value.Erase(value.Begin() + index);
      } else {
        PatchAt(value[index], rest, patch);
      }
    }
  }
}

/// The longest array below `value`; null when there is none.
Value* LongestArray(Value& value) {
  Value* longest = nullptr;
  const auto consider = [&longest](Value* candidate) {
    if (candidate != nullptr && (longest == nullptr || candidate->Size() > longest->Size()))
      longest = candidate;
  };
  if (value.IsArray()) {
    longest = &value;
    for (Value& element : value.GetArray()) consider(LongestArray(element));
  } else if (value.IsObject()) {
    for (SizeType i = 0; i < value.MemberCount(); ++i) {
      consider(LongestArray((value.MemberBegin() + static_cast<std::ptrdiff_t>(i))->value));
    }
  }
  return longest;
}

/// Copies a text and lets a subclass stand in for numbers, texts and keys. The root's "errno" stays as it is.
class Rewriter : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, Rewriter> {
 public:
  enum class Kind { kNumbers, kTexts, kKeys };
  Rewriter(TextWriter& writer, Kind kind) : writer_(writer), kind_(kind) {}

  bool Null() { return writer_.Null(); }
  bool Bool(bool value) { return writer_.Bool(value); }
  bool RawNumber(const char* text, SizeType length, bool) {
    if (kind_ != Kind::kNumbers || keep_) {
      keep_ = false;
      return writer_.RawValue(text, length, rapidjson::kNumberType);
    }
    const std::string_view number = kHostileNumbers[next_++ % kHostileNumbers.size()];
    return writer_.RawValue(number.data(), number.size(), rapidjson::kNumberType);
  }
  bool String(const char* text, SizeType length, bool) {
    if (kind_ != Kind::kTexts) return writer_.String(text, length);
    const std::string& hostile = HostileTextList()[next_++ % HostileTextList().size()];
    return writer_.RawValue(hostile.data(), hostile.size(), rapidjson::kStringType);
  }
  bool Key(const char* text, SizeType length, bool) {
    keep_ = depth_ == 1 && std::string_view(text, length) == "errno";
    if (kind_ == Kind::kKeys) {
      writer_.Key(text, length);
      static constexpr std::string_view kContainer = R"({"first":[1,{"of":"two"},[[]]]})";
      writer_.RawValue(kContainer.data(), kContainer.size(), rapidjson::kObjectType);
    }
    return writer_.Key(text, length);
  }
  bool StartObject() {
    ++depth_;
    return writer_.StartObject();
  }
  bool EndObject(SizeType) {
    --depth_;
    return writer_.EndObject();
  }
  bool StartArray() {
    ++depth_;
    return writer_.StartArray();
  }
  bool EndArray(SizeType) {
    --depth_;
    return writer_.EndArray();
  }

 private:
  TextWriter& writer_;
  const Kind kind_;
  std::size_t next_ = 0;
  int depth_ = 0;
  bool keep_ = false;
};

std::string Rewrite(const std::string& text, Rewriter::Kind kind) {
  StringBuffer buffer;
  TextWriter writer(buffer);
  Rewriter handler(writer, kind);
  rapidjson::Reader reader;
  rapidjson::StringStream stream(text.c_str());
  if (reader.Parse<rapidjson::kParseNumbersAsStringsFlag>(stream, handler).IsError()) return text;
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace

std::string PatchJson(const std::string& text, std::string_view path, JsonPatch patch) {
  return WithDocument(text, [&](Document& document) { PatchAt(document, path, patch); });
}

std::string ReplaceRootMember(const std::string& text, std::string_view member, std::string_view value) {
  Document document;
  document.Parse(text.data(), text.size());
  std::string out = "{\"" + std::string(member) + "\":" + std::string(value);
  if (!document.HasParseError() && document.IsObject()) {
    for (const auto& other : std::as_const(document).GetObject()) {
      const std::string_view name(other.name.GetString(), other.name.GetStringLength());
      if (name == member) continue;
      out += "," + Serialize(other.name) + ":" + Serialize(other.value);
    }
  }
  return out + "}";
}

std::string DuplicateKeys(const std::string& text) {
  return Rewrite(text, Rewriter::Kind::kKeys);
}

std::string HostileNumbers(const std::string& text) {
  return Rewrite(text, Rewriter::Kind::kNumbers);
}

std::string HostileTexts(const std::string& text) {
  return Rewrite(text, Rewriter::Kind::kTexts);
}

std::string RepeatRows(const std::string& text, std::uint64_t rows) {
  // A mark stands for the rows while the rest is written; the rows themselves are repeated as text.
  static constexpr std::string_view kMark = "[\"\\u0001rows\"]";
  Document document;
  document.Parse(text.data(), text.size());
  if (document.HasParseError()) return text;
  Value* longest = LongestArray(document);
  if (longest == nullptr || longest->Empty()) return text;
  std::vector<std::string> texts;
  for (const Value& row : longest->GetArray()) texts.push_back(Serialize(row));
  longest->SetArray().PushBack(Value("\x01rows", document.GetAllocator()), document.GetAllocator());
  const std::string frame = Serialize(document);
  const std::size_t mark = frame.find(kMark);
  std::string out = frame.substr(0, mark) + "[";
  for (std::uint64_t i = 0; i < rows; ++i) {
    if (i > 0) out.push_back(',');
    out += texts[i % texts.size()];
  }
  return out + "]" + frame.substr(mark + kMark.size());
}

std::string EmptyRows(const std::string& text) {
  return WithDocument(text, [](Document& document) {
    if (Value* longest = LongestArray(document); longest != nullptr) longest->Clear();
  });
}

}  // namespace market_server
