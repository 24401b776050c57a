#include "json/json.h"

#include <QByteArray>
#include <QChar>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>
#include <QString>
#include <algorithm>
#include <limits>

#include "json/plain_reader.h"
#include "json/qt_text.h"
#include "json/strings.h"

namespace request::json {
namespace {

using detail::Cell;
using detail::Content;
using detail::Kind;

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

// Writes what Qt's parser found into a document with a text of its own.
class Copier {
 public:
  Copier(const QtText& measured, Content& content)
      : writer_(measured.cells), keys_(content.keys), text_(content.own_text) {
    text_.reserve(measured.own_bytes);
  }

  void Copy(const QJsonObject& object) {
    const std::size_t head = writer_.Begin();
    const auto first_key = static_cast<std::uint32_t>(keys_.size());
    for (auto member = object.begin(); member != object.end(); ++member) {
      const QString key = member.key();
      if (key.size() > kKeyMarkSize && key.at(kKeyMarkSize) == QChar::ByteOrderMark) {
        text_ += key.at(kKeyMarkSize - 1).toLatin1();
      }
      const std::size_t begin = text_.size();
      PutUtf8(key, kKeyMarkSize, false);
      keys_.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(text_.size() - begin)});
    }
    for (const QJsonValue& value : object) {
      Copy(value);
    }
    writer_.End(head, Kind::kObject, {first_key, static_cast<std::uint32_t>(object.size())});
  }

  void Copy(const QJsonArray& array) {
    const std::size_t head = writer_.Begin();
    for (const QJsonValue& element : array) {
      Copy(element);
    }
    writer_.End(head, Kind::kArray, {0, static_cast<std::uint32_t>(array.size())});
  }

  std::unique_ptr<Cell[]> TakeCells() { return writer_.Take(); }

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
        CopyString(value.toString());
        break;
      case QJsonValue::Double:
        writer_.Put(std::bit_cast<Cell>(value.toDouble() + 0.0));
        break;
      case QJsonValue::Bool:
        writer_.Put(MakeCell(Kind::kBoolean));
        break;
      case QJsonValue::Null:
      case QJsonValue::Undefined:
        writer_.Put(MakeCell(Kind::kNull));
        break;
    }
  }

  // As JSON writes it, up to the quote behind it.
  void CopyString(const QString& text) {
    const bool escaped = text.contains(QLatin1Char('\\')) || text.contains(QLatin1Char('"'));
    const std::size_t begin = text_.size();
    PutUtf8(text, 0, escaped);
    writer_.Put(detail::StringCell(escaped ? Kind::kEscaped : Kind::kString, begin, text_.size() - begin));
    text_ += '"';
  }

  // From a place on. Lone surrogates keep the form of three bytes, so that different keys stay different.
  void PutUtf8(const QString& text, int place, bool escaped) {
    for (; place < text.size(); ++place) {
      const QChar unit = text.at(place);
      std::uint32_t code = unit.unicode();
      if (unit.isHighSurrogate() && place + 1 < text.size() && text.at(place + 1).isLowSurrogate()) {
        code = QChar::surrogateToUcs4(unit, text.at(++place));
      } else if (escaped && (code == '\\' || code == '"')) {
        text_ += '\\';
      }
      AppendUtf8(text_, code);
    }
  }

  detail::CellWriter writer_;
  std::vector<detail::Key>& keys_;
  std::string& text_;
};

// Longer texts are not for Qt, and places in them would not fit a key.
constexpr auto kLongestText = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());

}  // namespace

std::wstring Value::Text() const {
  Budget unlimited(std::numeric_limits<std::size_t>::max());
  return Text(unlimited);
}

std::wstring Value::Text(Budget& budget) const {
  std::wstring text;
  TextInto(text, budget);
  return text;
}

void Value::TextInto(std::wstring& out, Budget& budget) const {
  if (!IsString()) {
    out.clear();
    return;
  }
  const bool escaped = Is(Kind::kEscaped);
  const std::string_view rest = content_->text.substr(detail::BeginOf(*cell_));
  std::size_t length = detail::LengthOf(*cell_);
  if (length == detail::kLongString) {
    for (length = 0; rest[length] != '"'; ++length) {
      length += rest[length] == '\\' ? 1U : 0U;
    }
  }
  WidenInto(out, rest.substr(0, length), escaped, budget);
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
  const Cell* element = head_ + detail::kHead;
  for (; index > 0; --index) {
    element = detail::Behind(element);
  }
  return {element, content_};
}

Value Object::Member(std::string_view key) const {
  Value found;
  std::size_t index = GetCount().first_key;
  ForEachValue([&](const Value& value) {
    if (KeyAt(index++) == key) {
      found = value;
    }
  });
  return found;
}

NamedValue Object::First() const {
  NamedValue first;
  std::string_view least;
  std::size_t index = GetCount().first_key;
  ForEachValue([&](const Value& value) {
    const std::string_view key = KeyAt(index);
    if (first.value.IsUndefined() || !Utf16Less(least, key)) {
      first = {NameAt(index), value};  // of a repeated key the last one
      least = key;
    }
    ++index;
  });
  return first;
}

std::string_view Object::NameAt(std::size_t index) const {
  std::string_view name = KeyAt(index);
  // What such a key is named by stands in front of it.
  if (name.starts_with(kByteOrderMark) && *(name.data() - 1) == kNameWithoutMark) {
    name.remove_prefix(kByteOrderMark.size());
  }
  return name;
}

std::vector<Object::Entry> Object::Sorted() const {
  std::vector<Entry> members;
  members.reserve(Size());
  std::uint32_t key = GetCount().first_key;
  ForEachValue([&](const Value& value) {
    members.push_back({key++, static_cast<std::uint32_t>(value.cell_ - head_)});
  });
  std::sort(members.begin(), members.end(), [this](const Entry& left, const Entry& right) {
    const std::string_view left_key = KeyAt(left.key);
    const std::string_view right_key = KeyAt(right.key);
    return left_key == right_key ? left.key < right.key : Utf16Less(left_key, right_key);
  });
  // The last of equal keys stays.
  const auto kept = std::unique(
      members.rbegin(), members.rend(),
      [this](const Entry& left, const Entry& right) { return KeyAt(left.key) == KeyAt(right.key); });
  members.erase(members.begin(), kept.base());
  return members;
}

Document Document::Parse(const char* text, std::size_t length) {
  if (length > kLongestText) {
    return Document(kTooLarge);
  }
  try {
    auto content = std::make_unique<Content>();
    if (detail::ReadPlain({text, length}, *content)) {
      return Document(std::move(content));
    }
  } catch (const TooMuchMemory&) {
    return Document(kTooLarge);
  }
  return ParseByQt(text, length);
}

Document Document::ParseByQt(const char* text, std::size_t length) {
  if (length > kLongestText) {
    return Document(kTooLarge);
  }
  auto content = std::make_unique<Content>();
  QJsonDocument parsed;
  QtText measured = MakeQtText({text, length});
  if (!measured.Fits()) {
    return Document(kTooLarge);
  }
  QJsonParseError error{};
  parsed = QJsonDocument::fromJson(
      QByteArray::fromRawData(measured.text.data(), static_cast<int>(measured.text.size())), &error);
  measured.text = std::string();
  if (error.error != QJsonParseError::NoError) {
    return Document(error.error);
  }
  Copier copier(measured, *content);
  if (parsed.isObject()) {
    copier.Copy(parsed.object());
  } else {
    copier.Copy(parsed.array());
  }
  content->cells = copier.TakeCells();
  content->text = content->own_text;
  return Document(std::move(content));
}

std::wstring WideKey(std::string_view key) {
  Budget unlimited(std::numeric_limits<std::size_t>::max());
  return WideKey(key, unlimited);
}

std::wstring WideKey(std::string_view key, Budget& budget) {
  std::wstring wide;
  WidenInto(wide, key, false, budget);
  return wide;
}

}  // namespace request::json
