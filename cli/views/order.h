// How a list is ordered. A value; main thread only.
#pragma once

#include <string>

#include "cli/views/choices.h"

namespace cli {

inline constexpr int kAscending = 1;
inline constexpr int kDescending = 2;

struct Order {
  Choices columns;              ///< those that it can be
  int column = 4;               ///< number of one of them; until it is chosen, the default
  int direction = kDescending;  ///< `kAscending` or `kDescending`

  /// By another column, the largest first, codes and names from A to Z; by the same one the other way round.
  void By(int new_column);
  void Reverse() { direction = direction == kAscending ? kDescending : kAscending; }

  /// "change desc", for the key of a JSON line; "none" alone for the order of the list itself.
  [[nodiscard]] std::string Key() const;
  /// "by change, descending", for a title; empty for the order of the list itself.
  [[nodiscard]] std::string Title() const;
};

}  // namespace cli
