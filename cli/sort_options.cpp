#include "cli/sort_options.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace cli {

std::string SortOptions::Key() const {
  const std::string name(NameOf(columns, column));
  return column == 0 ? name : name + (direction == kAscending ? " asc" : " desc");
}

std::string SortOptions::Title() const {
  if (column == 0) {
    return "";
  }
  return "by " + std::string(NameOf(columns, column)) +
         (direction == kAscending ? ", ascending" : ", descending");
}

void AddSortOptions(CLI::App& app, SortOptions& sort) {
  AddChoice(app, "--sort", sort.columns, "the column to order by, see below", sort.column);
  const auto add_direction = [&](const char* option, int direction, const char* text) {
    return app.add_flag_callback(
        option, [&sort, direction] { sort.direction = direction; }, text);
  };
  CLI::Option* const ascending = add_direction("--asc", kAscending, "the smallest first");
  add_direction("--desc", kDescending, "the largest first (default)")->excludes(ascending);
}

}  // namespace cli
