// Where a person stands in a list that is longer than the room for it: a row, and the part of the list around
// it. Of a list that comes page by page only some rows are there. A value; main thread only.
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

/// Where a key of the arrows and pages leads from the place `here`, before it is held between 0 and `last`;
/// nothing for another key.
[[nodiscard]] std::optional<std::ptrdiff_t> PlaceAfter(const Key& key, std::size_t here, std::size_t page,
                                                       std::size_t last);

class ListCursor {
 public:
  /// The list has these codes now. Once it was moved the cursor goes with its row, else it stays at its
  /// place.
  void SetRows(std::vector<std::wstring> codes);
  /// The same for a list of which the rows from `first` on are there; `total` is nothing while nobody knows
  /// how many it has.
  void SetPage(std::vector<std::wstring> codes, std::size_t first, std::optional<std::size_t> total);
  /// Another list: from its top.
  void Reset();

  /// True when `key` moves the cursor, whether or not there is somewhere to go. A click moves it to the row
  /// of the picture.
  bool OnKey(const Key& key);
  /// To that row of the list.
  void MoveTo(std::ptrdiff_t row);
  /// To the row with that code, if it is there.
  bool MoveTo(const std::wstring& code);
  /// To the row where `code` was seen last; to the code itself as soon as its row is there.
  void Aim(const std::wstring& code, std::ptrdiff_t row);

  /// Number of the cursor's row among those that are there; absent when it is none of them.
  [[nodiscard]] std::optional<std::size_t> row() const;
  /// Rows that the latest picture had room for.
  [[nodiscard]] std::size_t room() const { return room_; }
  /// First row of the page that the cursor is on, when a page has as many rows as there is room for.
  [[nodiscard]] std::size_t page() const { return row_ / room_ * room_; }

  /// "row 3 of 5,299"; empty when the list is.
  [[nodiscard]] std::string Position() const;

  /// The header, which is the first of `lines`, and as many rows around the cursor as there is room for. The
  /// cursor's row is marked, and that of `current`.
  [[nodiscard]] std::vector<StyledLine> Picture(const std::vector<StyledLine>& lines,
                                                const std::wstring& current, const ChartSize& size);

 private:
  [[nodiscard]] std::size_t Last() const;

  std::vector<std::wstring> codes_;
  std::size_t first_ = 0;             // number of the first of `codes_` in the list
  std::optional<std::size_t> total_;  // rows of the list
  std::size_t row_ = 0;
  std::size_t top_ = 0;    // number among `codes_` of the uppermost row that is seen
  std::size_t room_ = 30;  // before it is known how many rows there is room for
  bool moved_ = false;
  std::wstring aim_;  // whose row is on its way; empty: nobody's
};

}  // namespace cli
