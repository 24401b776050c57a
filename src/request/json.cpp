#include "request/json.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>
#include <QString>
#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

#include "request/json_text.h"
#include "request/plain_json.h"

namespace request::json {
namespace {

using detail::Token;

void AppendUtf8(std::string& out, std::uint32_t code) {
  const auto put = [&out](std::uint32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (code < 0x80) {
    put(code);
  } else if (code < 0x800) {
    put(0xC0 | (code >> 6));
    put(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    put(0xE0 | (code >> 12));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  } else {
    put(0xF0 | (code >> 18));
    put(0x80 | ((code >> 12) & 0x3F));
    put(0x80 | ((code >> 6) & 0x3F));
    put(0x80 | (code & 0x3F));
  }
}

bool IsSurrogate(std::uint32_t code) {
  return code >= 0xD800 && code <= 0xDFFF;
}

// Reads one code point of UTF-8 that is known to be well-formed, lone surrogates aside.
std::uint32_t NextCode(const char*& at) {
  const auto byte = [&at](int place) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(at[place]));
  };
  const std::uint32_t lead = byte(0);
  std::uint32_t code = lead;
  int length = 1;
  if (lead >= 0xF0) {
    code = ((lead & 0x07) << 18) | ((byte(1) & 0x3F) << 12) | ((byte(2) & 0x3F) << 6) | (byte(3) & 0x3F);
    length = 4;
  } else if (lead >= 0xE0) {
    code = ((lead & 0x0F) << 12) | ((byte(1) & 0x3F) << 6) | (byte(2) & 0x3F);
    length = 3;
  } else if (lead >= 0x80) {
    code = ((lead & 0x1F) << 6) | (byte(1) & 0x3F);
    length = 2;
  }
  at += length;
  return code;
}

std::uint32_t Hex4(const char* at) {
  std::uint32_t code = 0;
  for (int place = 0; place < 4; ++place) {
    const char digit = at[place];
    code = code * 16 + static_cast<std::uint32_t>(digit <= '9' ? digit - '0' : (digit | 0x20) - 'a' + 10);
  }
  return code;
}

// Reads one escape sequence that is known to be right.
std::uint32_t NextEscaped(const char*& at) {
  const char escape = at[1];
  at += 2;
  switch (escape) {
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 'u': {
      const std::uint32_t code = Hex4(at);
      at += 4;
      if (code < 0xD800 || code > 0xDBFF) {
        return code;
      }
      const std::uint32_t low = Hex4(at + 2);
      at += 6;
      return 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
    }
    default:
      return static_cast<std::uint32_t>(static_cast<unsigned char>(escape));
  }
}

// A string of a document as it stands in the text.
struct WrittenText {
  std::string_view text;
  bool escaped;
};

WrittenText TextAt(const char* at) {
  if (*at == detail::kOwnText) {
    return {detail::OwnTextAt(at), false};
  }
  const char* const begin = ++at;
  bool escaped = false;
  for (; *at != '"'; ++at) {
    if (*at == '\\') {
      escaped = true;
      ++at;
    }
  }
  return {{begin, static_cast<std::size_t>(at - begin)}, escaped};
}

void WidenInto(std::wstring& wide, const WrittenText& written) {
  const std::string_view text = written.text;
  // At most so many characters: every byte that does not continue another begins one.
  wide.resize(static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; })));
  const char* at = text.data();
  const char* const end = at + text.size();
  std::size_t length = 0;
  while (at != end) {
    const std::uint32_t code = written.escaped && *at == '\\' ? NextEscaped(at) : NextCode(at);
    wide[length++] = static_cast<wchar_t>(IsSurrogate(code) ? 0xFFFD : code);
  }
  wide.resize(length);
}

// Orders UTF-8 texts by their UTF-16 code units: as by bytes, but surrogates stand before what follows them
// in the basic plane.
bool Utf16Less(std::string_view left, std::string_view right) {
  const auto [at_left, at_right] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
  if (at_left == left.end() || at_right == right.end()) {
    return at_left == left.end() && at_right != right.end();
  }
  const auto a = static_cast<unsigned char>(*at_left);
  const auto b = static_cast<unsigned char>(*at_right);
  if ((a >= 0xF0) != (b >= 0xF0) && a >= 0xEE && b >= 0xEE) {
    return a >= 0xF0;
  }
  return a < b;
}

// Writes what Qt's parser found as a text of our own.
class Copier {
 public:
  Copier(std::vector<Token>& tokens, std::string& text) : tokens_(tokens), text_(text) {}

  void Copy(const QJsonObject& object) {
    const std::size_t container = Begin('{');
    Token count = 0;
    for (auto member = object.begin(); member != object.end(); ++member) {
      const QString key = member.key();
      if (!key.isEmpty() && key.front() == QLatin1Char(kRepeatedKeyMark)) {
        continue;
      }
      CopyText(key);
      Copy(member.value());
      ++count;
    }
    End(container, count);
  }

  void Copy(const QJsonArray& array) {
    const std::size_t container = Begin('[');
    for (const QJsonValue& element : array) {
      Copy(element);
    }
    End(container, static_cast<Token>(array.size()));
  }

 private:
  void Copy(const QJsonValue& value) {
    switch (value.type()) {
      case QJsonValue::Object:
        Copy(value.toObject());
        break;
      case QJsonValue::Array:
        Copy(value.toArray());
        break;
      case QJsonValue::String:
        CopyText(value.toString());
        break;
      case QJsonValue::Double:
        CopyNumber(value.toDouble() + 0.0);
        break;
      case QJsonValue::Bool:
        Put(value.toBool() ? 't' : 'f');
        break;
      case QJsonValue::Null:
      case QJsonValue::Undefined:
        Put('n');
        break;
    }
  }

  // Lone surrogates keep their three-byte form, so that different keys stay different.
  void CopyText(const QString& text) {
    Put(detail::kOwnText);
    const std::size_t begin = text_.size() + sizeof(Token);
    text_.resize(begin);
    for (int place = 0; place < text.size(); ++place) {
      const QChar unit = text.at(place);
      if (unit.isHighSurrogate() && place + 1 < text.size() && text.at(place + 1).isLowSurrogate()) {
        AppendUtf8(text_, QChar::surrogateToUcs4(unit, text.at(++place)));
      } else {
        AppendUtf8(text_, unit.unicode());
      }
    }
    const auto length = static_cast<Token>(text_.size() - begin);
    std::memcpy(text_.data() + begin - sizeof(Token), &length, sizeof(length));
  }

  void CopyNumber(double number) {
    Put(detail::kOwnNumber);
    text_.append(reinterpret_cast<const char*>(&number), sizeof(number));
  }

  void Put(char lead) {
    tokens_.push_back(static_cast<Token>(text_.size()));
    text_ += lead;
  }

  std::size_t Begin(char lead) {
    const std::size_t container = tokens_.size();
    Put(lead);
    tokens_.resize(container + detail::kContents);
    return container;
  }

  void End(std::size_t container, Token count) {
    tokens_[container + detail::kCount] = count;
    tokens_[container + detail::kExtent] = static_cast<Token>(tokens_.size() - container);
  }

  std::vector<Token>& tokens_;
  std::string& text_;
};

}  // namespace

std::wstring Value::Text() const {
  std::wstring text;
  TextInto(text);
  return text;
}

void Value::TextInto(std::wstring& out) const {
  if (const char lead = Lead(); lead == '"' || lead == detail::kOwnText) {
    WidenInto(out, TextAt(text_.data() + *token_));
  } else {
    out.clear();
  }
}

double Value::Number() const {
  const char lead = Lead();
  if (lead == '-' || (lead >= '0' && lead <= '9')) {
    return detail::PlainNumberAt(text_.substr(*token_));
  }
  double number = 0;
  if (lead == detail::kOwnNumber) {
    std::memcpy(&number, text_.data() + *token_ + 1, sizeof(number));
  }
  return number;
}

int Value::Integer() const {
  const double number = Number();
  if (!(number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max())) {
    return 0;
  }
  const int whole = static_cast<int>(number);
  return static_cast<double>(whole) == number ? whole : 0;
}

Value Array::At(std::size_t index) const {
  if (index >= Size()) {
    return {};
  }
  const Token* element = token_ + detail::kContents;
  for (; index > 0; --index) {
    element = detail::Behind(element, text_);
  }
  return {element, text_};
}

Value Object::Member(std::string_view key) const {
  Value found;
  ForEachUnordered([&](const Key& name, const Value& value) {
    if (name.Is(key)) {
      found = value;
    }
  });
  return found;
}

NamedValue Object::First() const {
  NamedValue first;
  bool found = false;
  ForEachUnordered([&](const Key& name, const Value& value) {
    const std::string_view key = name.Text();
    if (!found || !Utf16Less(first.key, key)) {
      first = {key, value};  // of a repeated key the last one
      found = true;
    }
  });
  return first;
}

std::vector<Object::Entry> Object::Sorted() const {
  std::vector<Entry> members;
  ForEachUnordered([&members](const Key& key, const Value& value) {
    members.push_back({key.Text(), value.token_});
  });
  std::stable_sort(members.begin(), members.end(),
                   [](const Entry& left, const Entry& right) { return Utf16Less(left.key, right.key); });
  // The last of equal keys stays.
  const auto kept = std::unique(members.rbegin(), members.rend(),
                                [](const Entry& left, const Entry& right) { return left.key == right.key; });
  members.erase(members.begin(), kept.base());
  return members;
}

Document Document::Parse(const char* text, std::size_t length) {
  Document document;
  document.text_ = {text, length};
  if (detail::ReadPlain(document.text_, document.tokens_)) {
    return document;
  }
  document.tokens_ = {};
  return ParseByQt(text, length);
}

Document Document::TooLarge() {
  Document document;
  document.error_ = QJsonParseError::DocumentTooLarge;
  return document;
}

Document Document::ParseByQt(const char* text, std::size_t length) {
  Document document;
  const std::optional<std::string> apart = SetRepeatedKeysApart({text, length});
  const std::string_view bytes = apart ? std::string_view(*apart) : std::string_view(text, length);
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    return TooLarge();
  }
  QJsonParseError error{};
  const QJsonDocument parsed =
      QJsonDocument::fromJson(QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size())), &error);
  document.error_ = error.error;
  document.owned_ = true;
  Copier copier(document.tokens_, document.own_text_);
  if (parsed.isObject()) {
    copier.Copy(parsed.object());
  } else if (parsed.isArray()) {
    copier.Copy(parsed.array());
  }
  if (document.own_text_.size() > std::numeric_limits<Token>::max()) {
    return TooLarge();
  }
  return document;
}

std::wstring WideKey(std::string_view key) {
  std::wstring wide;
  WidenInto(wide, {key, false});
  return wide;
}

}  // namespace request::json
