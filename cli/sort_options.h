// How a list is ordered: --sort, --asc, --desc. A value; main thread only.
#pragma once

#include <string>

#include "cli/choices.h"

namespace cli {

inline constexpr int kAscending = 1;
inline constexpr int kDescending = 2;

struct SortOptions {
  Choices columns;              ///< those that --sort takes
  int column = 4;               ///< number of one of them; until it is chosen, the default
  int direction = kDescending;  ///< `kAscending` or `kDescending`

  /// "change desc", for the key of a JSON line; "none" alone for the order of the list itself.
  [[nodiscard]] std::string Key() const;
  /// "by change, descending", for a title; empty for the order of the list itself.
  [[nodiscard]] std::string Title() const;
};

/// Adds the three options; `sort.columns` and the defaults must be set already.
void AddSortOptions(Form& form, SortOptions& sort);

}  // namespace cli
