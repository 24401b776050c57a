#include "request/json.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QString>
#include <limits>
#include <optional>

namespace request::json {

Document Document::Parse(const char* text, std::size_t length) {
  Document document;
  const std::optional<std::string> apart = SetRepeatedKeysApart({text, length});
  const std::string_view bytes = apart ? std::string_view(*apart) : std::string_view(text, length);
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    document.error_ = QJsonParseError::DocumentTooLarge;
    return document;
  }
  QJsonParseError error{};
  const QJsonDocument parsed =
      QJsonDocument::fromJson(QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size())), &error);
  document.error_ = error.error;
  if (parsed.isObject()) {
    document.root_ = Object(parsed.object());
  } else if (parsed.isArray()) {
    document.root_array_ = Array(parsed.array());
  }
  return document;
}

std::wstring WideKey(std::u16string_view key) {
  return QString::fromUtf16(key.data(), static_cast<int>(key.size())).toStdWString();
}

}  // namespace request::json
