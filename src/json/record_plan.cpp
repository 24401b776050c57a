#include "json/record_plan.h"

#include <algorithm>
#include <tuple>

namespace request::detail {
namespace {

// Those that a key fills: none, one, or several.
std::span<const Line> LinesOf(std::span<const Line> lines, std::string_view key) {
  const auto first =
      std::lower_bound(lines.begin(), lines.end(), key,
                       [](const Line& line, std::string_view wanted) { return line.key < wanted; });
  const auto last = std::find_if(first, lines.end(), [key](const Line& line) { return line.key != key; });
  return {first, last};
}

}  // namespace

void FillByKeys(std::span<const Line> lines, void* record, const json::Object& object,
                const json::Budget& budget) {
  json::Budget texts = budget;
  object.ForEachInText([&](std::string_view key, const json::Value& value) {
    for (const Line& line : LinesOf(lines, key)) {
      line.fill(line.line, record, value, texts);
    }
  });
}

void Plan::Fill(std::span<const Line> lines, void* record, const json::Object& object,
                const json::Budget& budget) {
  if (!object.HasPlainValues()) {
    FillByKeys(lines, record, object, budget);
    return;
  }
  if (shape_ != object.Shape()) {
    *this = For(lines, object);
  }
  json::Budget texts = budget;
  for (const auto& [fill_all, first, count] : groups_) {
    fill_all({places_.data() + first, count}, record, object, texts);
  }
}

Plan Plan::For(std::span<const Line> lines, const json::Object& object) {
  Plan plan;
  plan.shape_ = object.Shape();
  std::vector<bool> has(lines.size());
  std::uint32_t value = 0;
  object.ForEachInText([&](std::string_view key, const json::Value&) {
    for (const Line& line : LinesOf(lines, key)) {
      plan.places_.push_back({value, line.kind, line.line});
      has[static_cast<std::size_t>(&line - lines.data())] = true;
    }
    ++value;
  });
  plan.is_whole_ = std::find(has.begin(), has.end(), false) == has.end();
  // In each kind in the order of the text, so that the last of repeated keys counts.
  std::sort(plan.places_.begin(), plan.places_.end(), [](const Place& left, const Place& right) {
    return std::tie(left.kind, left.value) < std::tie(right.kind, right.value);
  });
  for (std::size_t first = 0, last = 0; first < plan.places_.size(); first = last) {
    const std::uint32_t kind = plan.places_[first].kind;
    while (last < plan.places_.size() && plan.places_[last].kind == kind) {
      ++last;
    }
    plan.groups_.push_back({lines[kind].fill_all, first, last - first});
  }
  return plan;
}

}  // namespace request::detail
