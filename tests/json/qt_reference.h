// Holds a value as the module's door reads it against the same value as Qt reads it.
#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>
#include <QString>
#include <string>
#include <vector>

#include "json/json.h"
#include "sanitizers.h"

#if defined(CSM_ADDRESS_SANITIZER)
#include <sanitizer/lsan_interface.h>
#endif

namespace qt_reference {

struct Parsed {
  QJsonDocument document;
  int code = 0;
};

inline Parsed Parse(const std::string& text) {
#if defined(CSM_ADDRESS_SANITIZER)
  // The reference leaks on repeated keys, which is known and not what is looked for here.
  const __lsan::ScopedDisabler known_leak;
#endif
  QJsonParseError error{};
  Parsed parsed;
  parsed.document = QJsonDocument::fromJson(QByteArray(text.data(), static_cast<int>(text.size())), &error);
  parsed.code = error.error;
  return parsed;
}

inline std::string Same(const request::json::Value& ours, const QJsonValue& qt);

/// Empty when both are the same; else where and how they differ.
inline std::string Same(const request::json::Array& ours, const QJsonArray& qt) {
  if (ours.Size() != static_cast<std::size_t>(qt.size())) return "another length";
  std::string difference;
  int index = 0;
  ours.ForEach([&](const request::json::Value& value) {
    const std::string below = Same(value, qt.at(index));
    if (difference.empty() && !below.empty()) difference = "[" + std::to_string(index) + "]" + below;
    ++index;
  });
  return difference;
}

/// A key as Qt has it: by itself it would lose a byte-order mark in front.
inline QString NameOf(std::string_view key) {
  return QString::fromStdWString(L"x" + request::json::WideKey(key)).mid(1);
}

inline std::string Same(const request::json::Object& ours, const QJsonObject& qt) {
  std::string difference;
  auto member = qt.begin();
  ours.ForEach([&](std::string_view key, const request::json::Value& value) {
    if (!difference.empty()) return;
    const QString name = NameOf(key);
    if (member == qt.end() || member.key() != name) {
      difference = "other keys, or in another order";
      return;
    }
    const std::string below = Same(value, member.value());
    if (!below.empty()) {
      difference = "." + std::string(key) + below;
    } else if (ours.Member(key).IsUndefined() != qt.value(name).isUndefined()) {
      difference = "." + std::string(key) + " is found by one only";
    }
    ++member;
  });
  return difference.empty() && member != qt.end() ? "fewer keys" : difference;
}

inline std::string Same(const request::json::Value& ours, const QJsonValue& qt) {
  if (ours.IsUndefined() != qt.isUndefined()) return " is undefined for one";
  if (ours.IsNull() != qt.isNull()) return " is null for one";
  if (ours.IsArray() != qt.isArray()) return " is an array for one";
  if (ours.IsObject() != qt.isObject()) return " is an object for one";
  if (ours.Text() != qt.toString().toStdWString()) return " has another text";
  if (ours.Number() != qt.toDouble()) return " has another number";
  if (ours.Integer() != qt.toInt()) return " has another whole number";
  const std::string array = Same(ours.AsArray(), qt.toArray());
  return array.empty() ? Same(ours.AsObject(), qt.toObject()) : array;
}

inline std::string Same(const request::json::Document& ours, const Parsed& qt) {
  if (ours.Error() != qt.code) {
    return "code " + std::to_string(ours.Error()) + " instead of " + std::to_string(qt.code);
  }
  const std::string object = Same(ours.Root(), qt.document.object());
  return object.empty() ? Same(ours.RootArray(), qt.document.array()) : object;
}

}  // namespace qt_reference
