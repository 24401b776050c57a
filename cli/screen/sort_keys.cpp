#include "cli/screen/sort_keys.h"

namespace cli {

bool ChangeOrder(SortOptions& sort, const Key& key) {
  if (key == Typed(U's')) {
    sort.column = StepFrom(sort.columns, sort.column, 1);
  } else if (key == Typed(U'S')) {
    sort.column = StepFrom(sort.columns, sort.column, -1);
  } else if (key == Typed(U'd')) {
    sort.direction = sort.direction == kAscending ? kDescending : kAscending;
  } else {
    return false;
  }
  return true;
}

}  // namespace cli
