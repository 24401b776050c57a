#include "reference/plate_membership.h"

#include <QString>
#include <algorithm>
#include <cstdint>

#include "json/budget.h"

namespace reference {

PlateMembership ReadPlateMembership(const request::json::Object& data) {
  request::json::Budget budget(request::json::kMostSharedRecordMemory);
  // Once more while they are sorted; and the order of the keys.
  budget.Require(data.Size(), 2 * sizeof(StockPlatesEntry) + sizeof(std::uint64_t));
  PlateMembership membership;
  membership.reserve(data.Size());
  data.ForEach([&](std::string_view key, const request::json::Value& value) {
    StockPlatesEntry& entry = membership.emplace_back();
    entry.symbol = request::json::WideKey(key, budget);
    const request::json::Array plates = value.AsArray();
    budget.Require(plates.Size(), sizeof(PlateNames::value_type));
    budget.Require(1, request::json::kAllocationOverhead);
    entry.plates.reserve(plates.Size());
    plates.ForEach([&](const request::json::Value& plate) {
      const request::json::Array pair = plate.AsArray();
      entry.plates.emplace_back(pair.At(0).Text(budget), pair.At(1).Text(budget));
    });
  });
  // Keys that are no text (half a surrogate pair) come changed, and then not in their order.
  const auto before = [](const StockPlatesEntry& left, const StockPlatesEntry& right) {
    return CompareUtf16(left.symbol, right.symbol) < 0;
  };
  if (!std::is_sorted(membership.begin(), membership.end(), before)) {
    std::stable_sort(membership.begin(), membership.end(), before);
  }
  return membership;
}

const PlateNames* FindPlates(const PlateMembership& membership, std::wstring_view symbol) {
  const auto found = std::lower_bound(membership.begin(), membership.end(), symbol,
                                      [](const StockPlatesEntry& entry, std::wstring_view wanted) {
                                        return CompareUtf16(entry.symbol, wanted) < 0;
                                      });
  return found != membership.end() && found->symbol == symbol ? &found->plates : nullptr;
}

std::wstring_view FirstPlateOf(const PlateMembership& membership, std::wstring_view symbol) {
  const PlateNames* const plates = FindPlates(membership, symbol);
  return plates != nullptr && !plates->empty() ? std::wstring_view(plates->front().second)
                                               : std::wstring_view();
}

int CompareUtf16(std::wstring_view left, std::wstring_view right) {
  constexpr char32_t kFirstSurrogate = 0xD800;
  const auto [at_left, at_right] = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
  if (at_left == left.end() || at_right == right.end()) {
    return static_cast<int>(at_left != left.end()) - static_cast<int>(at_right != right.end());
  }
  const auto unit_left = static_cast<char32_t>(*at_left);
  const auto unit_right = static_cast<char32_t>(*at_right);
  if (unit_left < kFirstSurrogate && unit_right < kFirstSurrogate) {
    return unit_left < unit_right ? -1 : 1;
  }
  // Wide characters above the first plane are two units, and sort before U+E000 to U+FFFF.
  const auto rest = [](auto from, auto to) {
    return QString::fromWCharArray(&*from, static_cast<int>(to - from));
  };
  return rest(at_left, left.end()).compare(rest(at_right, right.end()));
}

}  // namespace reference
