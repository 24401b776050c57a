#include "json/json.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>
#include <QString>
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "json/plain_reader.h"
#include "json/qt_text.h"

namespace request::json {
namespace {

using detail::Token;

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
  std::string_view text(begin, static_cast<std::size_t>(at - begin));
  // Qt reads a string without escapes as a text of its own, which may begin with a byte-order mark.
  if (!escaped && text.starts_with(kByteOrderMark)) {
    text.remove_prefix(kByteOrderMark.size());
  }
  return {text, escaped};
}

void WidenInto(std::wstring& wide, const WrittenText& written) {
  const std::string_view text = written.text;
  // At most so many characters: every byte that does not continue another begins one.
  const auto most = static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
  if (most > wide.capacity()) {
    wide = std::wstring();  // grown, it would take twice what it had
  }
  wide.resize(most);
  const char* at = text.data();
  const char* const end = at + text.size();
  std::size_t length = 0;
  while (at != end) {
    const std::uint32_t code = written.escaped && *at == '\\' ? PassEscape(at, end) : NextCode(at);
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
      std::uint32_t code = unit.unicode();
      if (unit.isHighSurrogate() && place + 1 < text.size() && text.at(place + 1).isLowSurrogate()) {
        code = QChar::surrogateToUcs4(unit, text.at(++place));
      }
      std::array<char, 4> bytes{};
      text_.append(bytes.data(), WriteUtf8(code, bytes.data()));
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

// Longer texts are not for Qt, and their tokens could not be counted by a token.
constexpr auto kLongestText = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());

// Whether Qt may be asked about a text, judged before it is.
struct Judged {
  explicit Judged(std::string_view text) : scan(Scan(text)) {
    tokens = scan.entries + detail::kContents * scan.containers;
    constexpr std::size_t kMostOfEntry = 1 + sizeof(double);
    own_bytes = scan.containers + kMostOfEntry * scan.entries + scan.string_bytes;
    const std::size_t set_apart = scan.repeated_keys.empty() ? 0 : SizeSetApart(text, scan);
    // A longer key costs its bytes three times while the parser's arrays grow.
    const std::size_t longer = set_apart == 0 ? 0 : 3 * (set_apart - text.size());
    fits = tokens * sizeof(Token) + own_bytes <= kMostDocumentMemory &&
           HeldBytes(scan.repeated_keys) + set_apart + longer + scan.parser_bytes <=
               kMostAnswerMemory - kMostDocumentMemory;
  }

  TextScan scan;
  std::size_t tokens = 0;     // of the document, at most
  std::size_t own_bytes = 0;  // of its text, at most
  bool fits = false;
};

QJsonDocument ParseApart(std::string_view text, const TextScan& scan, QJsonParseError& error) {
  const std::string apart = scan.repeated_keys.empty() ? std::string() : SetApart(text, scan);
  const std::string_view bytes = scan.repeated_keys.empty() ? text : std::string_view(apart);
  return QJsonDocument::fromJson(QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size())),
                                 &error);
}

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
  if (token_ == nullptr) {
    return members;
  }
  members.reserve(token_[detail::kCount]);
  ForEachUnordered([this, &members](const Key& key, const Value& value) {
    const std::string_view text = key.Text();
    members.push_back({static_cast<Token>(text.data() - text_.data()), static_cast<Token>(text.size()),
                       static_cast<Token>(value.token_ - token_)});
  });
  // Equal keys in the order of the text.
  std::sort(members.begin(), members.end(), [this](const Entry& left, const Entry& right) {
    const std::string_view left_key = KeyOf(left);
    const std::string_view right_key = KeyOf(right);
    return left_key == right_key ? left.key_begin < right.key_begin : Utf16Less(left_key, right_key);
  });
  // The last of equal keys stays.
  const auto kept =
      std::unique(members.rbegin(), members.rend(),
                  [this](const Entry& left, const Entry& right) { return KeyOf(left) == KeyOf(right); });
  members.erase(members.begin(), kept.base());
  return members;
}

Document Document::Parse(const char* text, std::size_t length) {
  Document document;
  document.text_ = {text, length};
  if (length > kLongestText) {
    return MakeTooLarge();
  }
  try {
    if (detail::ReadPlain(document.text_, document.tokens_)) {
      return document;
    }
  } catch (const TooMuchMemory&) {
    return MakeTooLarge();
  }
  document.tokens_ = {};
  return ParseByQt(text, length);
}

Document Document::MakeTooLarge() {
  Document document;
  document.error_ = kTooLarge;
  return document;
}

Document Document::ParseByQt(const char* text, std::size_t length) {
  if (length > kLongestText) {
    return MakeTooLarge();
  }
  const Judged judged({text, length});
  if (!judged.fits) {
    return MakeTooLarge();
  }
  Document document;
  document.owned_ = true;
  QJsonParseError error{};
  const QJsonDocument parsed = ParseApart({text, length}, judged.scan, error);
  document.error_ = error.error;
  document.tokens_.reserve(judged.tokens);
  document.own_text_.reserve(judged.own_bytes);
  Copier copier(document.tokens_, document.own_text_);
  if (parsed.isObject()) {
    copier.Copy(parsed.object());
  } else if (parsed.isArray()) {
    copier.Copy(parsed.array());
  }
  return document;
}

std::wstring WideKey(std::string_view key) {
  std::wstring wide;
  WidenInto(wide, {key, false});
  return wide;
}

}  // namespace request::json
