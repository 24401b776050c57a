// Which plates a stock belongs to. Pure functions; the service holds the table.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/json.h"

namespace reference {

/// Code and name of each plate of a stock, as the server sends them.
using PlateNames = std::vector<std::pair<std::wstring, std::wstring>>;

struct StockPlatesEntry {
  std::wstring symbol;
  PlateNames plates;
};

/// Ascending by symbol.
using PlateMembership = std::vector<StockPlatesEntry>;

/// Throws `request::json::TooMuchMemory` when the table would take more than one answer may.
[[nodiscard]] PlateMembership ReadPlateMembership(const request::json::Object& data);

/// Null for an unknown symbol.
[[nodiscard]] const PlateNames* FindPlates(const PlateMembership& membership, std::wstring_view symbol);

/// The name of the first plate of a stock; empty when none is known. Lives in the table.
[[nodiscard]] std::wstring_view FirstPlateOf(const PlateMembership& membership, std::wstring_view symbol);

/// Negative, zero or positive, by the UTF-16 code units of both texts; a text that begins the other comes
/// first.
[[nodiscard]] int CompareUtf16(std::wstring_view left, std::wstring_view right);

}  // namespace reference
