#include "cli/views/order.h"

namespace cli {

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
