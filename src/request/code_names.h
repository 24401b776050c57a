// Reads lists of (code, name) pairs. Thread-safe: no state.
#pragma once

#include "frame/field.h"
#include "request/json.h"

namespace request {

/// One pair per element, in order, from the keys "code" and "name".
[[nodiscard]] inline CodeNameList ReadCodeNames(const json::Array& array) {
  CodeNameList list;
  list.reserve(array.Size());
  array.ForEach([&list](const json::Value& element) {
    const json::Object object = element.AsObject();
    list.emplace_back(object.Member("code").Text(), object.Member("name").Text());
  });
  return list;
}

}  // namespace request
