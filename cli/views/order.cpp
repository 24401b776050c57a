#include "cli/views/order.h"

#include <string_view>
#include <utility>

namespace cli {

void Order::By(int new_column) {
  if (std::exchange(column, new_column) == new_column) {
    Reverse();
  } else {
    const std::string_view name = NameOf(columns, column);
    direction = name == "code" || name == "name" ? kAscending : kDescending;
  }
}

std::string Order::Key() const {
  const std::string name(NameOf(columns, column));
  return column == 0 ? name : name + (direction == kAscending ? " asc" : " desc");
}

std::string Order::Title() const {
  if (column == 0) {
    return "";
  }
  return "by " + std::string(NameOf(columns, column)) +
         (direction == kAscending ? ", ascending" : ", descending");
}

}  // namespace cli
