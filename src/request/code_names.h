// Reads lists of (code, name) pairs. Thread-safe: no state.
#pragma once

#include "frame/field.h"
#include "json/budget.h"
#include "json/json.h"

namespace request {

/// One pair per element, in order, from the keys "code" and "name".
[[nodiscard]] inline CodeNameList ReadCodeNames(const json::Array& array) {
  CodeNameList list;
  json::Budget budget;
  budget.Require(array.Size(), sizeof(CodeNameList::value_type));
  list.reserve(array.Size());
  array.ForEach([&](const json::Value& element) {
    const json::Object object = element.AsObject();
    const auto& [code, name] = list.emplace_back(object.Member("code").Text(), object.Member("name").Text());
    budget.Require(1, json::HeldBytes(code) + json::HeldBytes(name));
  });
  return list;
}

}  // namespace request
