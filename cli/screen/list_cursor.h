// Where a person stands in a list that is longer than the room for it: a row, and the part of the list around
// it. A value; main thread only.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/format/table.h"
#include "cli/plot/axes.h"
#include "cli/screen/key.h"
#include "cli/screen/panel.h"

namespace cli {

/// For the line of keys.
inline constexpr KeyHint kCursorHint{"↑↓ PgUp PgDn Home End", "row"};

/// Columns of the mark in front of a row.
inline constexpr int kMarkColumns = 2;

class ListCursor {
 public:
  /// The list has these codes now. Once it was moved the cursor goes with its row, else it stays at its
  /// place.
  void SetRows(std::vector<std::wstring> codes);
  /// Another list: from its top.
  void Reset();

  /// True when `key` moves the cursor, whether or not there is somewhere to go.
  bool OnKey(const Key& key);

  /// Absent when the list is empty.
  [[nodiscard]] std::optional<std::size_t> row() const;

  /// "row 3 of 20"; empty when the list is.
  [[nodiscard]] std::string Position() const;

  /// The header, which is the first of `lines`, and as many rows around the cursor as there is room for. The
  /// cursor's row is marked, and that of `current`.
  [[nodiscard]] std::vector<StyledLine> Picture(const std::vector<StyledLine>& lines,
                                                const std::wstring& current, const ChartSize& size);

 private:
  void MoveTo(std::ptrdiff_t row);

  std::vector<std::wstring> codes_;
  std::size_t row_ = 0;
  std::size_t first_ = 0;  // the uppermost row that is seen
  std::size_t room_ = 1;
  bool moved_ = false;
};

}  // namespace cli
