#include "cli/sort_options.h"

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

void AddSortOptions(Form& form, SortOptions& sort) {
  AddChoice(form, "--sort", sort.columns, "the column to order by, see below", sort.column);
  form.Add({.name = "--asc",
            .help = "the smallest first",
            .take = [&sort](const std::string&) { sort.direction = kAscending; },
            .kind = Option::Kind::kFlag});
  form.Add({.name = "--desc",
            .help = "the largest first (default)",
            .take = [&sort](const std::string&) { sort.direction = kDescending; },
            .kind = Option::Kind::kFlag,
            .excludes = {"--asc"}});
}

}  // namespace cli
