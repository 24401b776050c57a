#include "cli/list_options.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace cli {

std::vector<MemberColumn> ListOptions::Columns(const ListLook& look) const {
  return column_names.empty() ? look.Usual(NameOf(sort.columns, sort.column)) : look.Chosen(column_names);
}

std::wstring ListOptions::Key(const std::wstring& what) const {
  const std::string rest = " " + sort.Key() + " " + RowsText(rows);
  return what + std::wstring(rest.begin(), rest.end());
}

std::string ListOptions::Title(const std::string& what) const {
  return what + " " + sort.Title() + ", rows " + RowsText(rows);
}

void AddPageOptions(CLI::App& app, ListOptions& options) {
  AddSortOptions(app, options.sort);
  AddRowsOption(app, options.rows);
}

void AddColumnsOption(CLI::App& app, const ListLook& look, ListOptions& options) {
  app.add_option_function<std::string>(
         "--columns",
         [&look, &options](const std::string& names) {
           // A wrong name is told before anything is started.
           static_cast<void>(look.Chosen(names));
           options.column_names = names;
         },
         "columns of the table, with commas between them, or all of them: all. Default: those that fit a "
         "screen")
      ->type_name("NAMES");
}

}  // namespace cli
