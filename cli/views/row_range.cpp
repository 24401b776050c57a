#include "cli/views/row_range.h"

#include <charconv>
#include <limits>
#include <system_error>

namespace cli {
namespace {

constexpr std::uint32_t kLargest = std::numeric_limits<std::int32_t>::max();

// False when `text` is neither empty nor a row.
bool ReadRow(std::string_view text, std::uint32_t& row) {
  if (text.empty()) {
    return true;
  }
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, row);
  return error == std::errc() && rest == end && row <= kLargest;
}

}  // namespace

std::optional<RowRange> ParseRows(std::string_view text) {
  const std::size_t colon = text.find(':');
  RowRange rows{0, RowRange::kOpen};
  if (colon == std::string_view::npos || !ReadRow(text.substr(0, colon), rows.start) ||
      !ReadRow(text.substr(colon + 1), rows.end) || rows.end <= rows.start) {
    return std::nullopt;
  }
  return rows;
}

std::string RowsText(const RowRange& rows) {
  return std::to_string(rows.start) + ":" + (rows.end == RowRange::kOpen ? "" : std::to_string(rows.end));
}

}  // namespace cli
