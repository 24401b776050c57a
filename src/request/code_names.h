// Reads lists of (code, name) pairs. Thread-safe: no state.
#pragma once

#include "frame/field.h"
#include "json/budget.h"
#include "json/json.h"

namespace request {

/// One pair per element, in order, from the keys "code" and "name".
[[nodiscard]] inline CodeNameList ReadCodeNames(const json::Array& array) {
  CodeNameList list;
  json::Budget budget(json::kMostSharedRecordMemory);
  budget.Require(array.Size(), sizeof(CodeNameList::value_type));
  list.reserve(array.Size());
  array.ForEach([&](const json::Value& element) {
    const json::Object object = element.AsObject();
    list.emplace_back(object.Member("code").Text(budget), object.Member("name").Text(budget));
  });
  return list;
}

}  // namespace request
