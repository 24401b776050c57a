// A piece of a ranked list as users name it: "--rows A:B". A value; pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cli {

/// Rows `start` to the one before `end`, counted from 0.
struct RowRange {
  static constexpr std::uint32_t kOpen = 0xFFFFFFFF;  ///< as `end`: to the end of the list

  std::uint32_t start = 0;
  std::uint32_t end = 20;

  bool operator==(const RowRange&) const = default;
};

/// "A:B", ":B", "A:" or ":"; nothing for anything else, for an empty range, and above 2147483647.
[[nodiscard]] std::optional<RowRange> ParseRows(std::string_view text);

/// What `ParseRows` reads.
[[nodiscard]] std::string RowsText(const RowRange& rows);

}  // namespace cli
