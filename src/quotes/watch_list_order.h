// The orders that views give the watch list. The comparison of figures knows a tolerance, so it is no strict
// weak order (a = b and b = c do not make a = c): rows are merged by a sort of our own that comes to an end
// and stays in bounds whatever the comparison says. Thread-safe: pure functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "quotes/optional_stock_market.h"

namespace quotes {

/// The places of `items` in the order that `target` names; in the given order for a column or a direction
/// that says nothing. Stable.
[[nodiscard]] std::vector<std::uint32_t> OrderOf(const std::vector<OptionalMarketItem>& items,
                                                 const SortingTarget& target);

/// The copies of one list in the orders that views want, one per order. Each lends its memory to the copy
/// of the next list in that order. Not thread-safe.
class SortedCopies {
 public:
  /// Begins with a list, which must outlive the use of its copies. Copies of the list before are gone.
  void Begin(const std::vector<OptionalMarketItem>& items);

  /// The list in that order: itself for a column or a direction that says nothing. Valid until the next
  /// `Begin`. Throws `std::bad_alloc` when the copies would take more memory than one answer may.
  [[nodiscard]] const std::vector<OptionalMarketItem>& In(const SortingTarget& target);

 private:
  struct Copy {
    std::vector<OptionalMarketItem> items;
    bool used = false;  // for the present list
  };

  const std::vector<OptionalMarketItem>* items_ = nullptr;
  std::size_t bytes_each_ = 0;  // that a copy takes
  std::size_t bytes_ = 0;       // that all of this list take
  std::map<SortingTarget, Copy> copies_;
};

/// Makes `sorted` a copy of `items` in that order. Rows that `sorted` holds already lend their memory: an
/// answer like the one before allocates next to nothing. Far too much of it is let go.
void OrderInto(std::vector<OptionalMarketItem>& sorted, const std::vector<OptionalMarketItem>& items,
               const SortingTarget& target);

}  // namespace quotes
