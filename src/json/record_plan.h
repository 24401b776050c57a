// Which values of an object fill which members of a record, whatever the record is. Behind record_reader.h,
// which knows the types. Thread-safe: a plan belongs to one document and one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "json/budget.h"
#include "json/json.h"

namespace request::detail {

// Where a value stands among those of its object, and the line of its key, without its types.
struct Place {
  std::uint32_t value;
  std::uint32_t kind;
  const void* line;
};

// A line of a record's table without its types: a record has few kinds of lines, and what they do is made
// once for each kind.
struct Line {
  std::string_view key;
  const void* line = nullptr;
  void (*fill)(const void* line, void* record, const json::Value& value, json::Budget& budget) = nullptr;
  void (*fill_all)(std::span<const Place> places, void* record, json::Object object,
                   json::Budget& budget) = nullptr;
  std::uint32_t kind = 0;  // the first line of the table that does the same
};

// Looks for the line of each key. What the texts take is judged by the budget, not required. `lines` are
// sorted by key, of which several may be the same.
void FillByKeys(std::span<const Line> lines, void* record, const json::Object& object,
                const json::Budget& budget);

// Looks once for all objects that are alike.
class Plan {
 public:
  // As `FillByKeys`; the lines are always the same ones.
  void Fill(std::span<const Line> lines, void* record, const json::Object& object,
            const json::Budget& budget);

  // Nothing stays of what a record held.
  [[nodiscard]] bool FillsAll(const json::Object& object) const {
    return is_whole_ && shape_ == object.Shape();
  }

 private:
  struct Group {
    decltype(Line::fill_all) fill_all;
    std::size_t first;
    std::size_t count;
  };

  static Plan For(std::span<const Line> lines, const json::Object& object);

  json::detail::Count shape_;
  std::vector<Place> places_;
  std::vector<Group> groups_;  // of the places, by kind
  bool is_whole_ = false;      // no key of the table is missing
};

}  // namespace request::detail
