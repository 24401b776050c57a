#include "cli/list_options.h"

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

void AddPageOptions(Form& form, ListOptions& options) {
  AddSortOptions(form, options.sort);
  AddRowsOption(form, options.rows);
}

void AddColumnsOption(Form& form, const ListLook& look, ListOptions& options) {
  form.Add(
      {.name = "--columns",
       .help =
           "columns of the table, with commas between them, or all of them: all. Default: those that fit a "
           "screen",
       .take =
           [&look, &options](const std::string& names) {
             // A wrong name is told before anything is started.
             static_cast<void>(look.Chosen(names));
             options.column_names = names;
           },
       .value = "NAMES"});
}

}  // namespace cli
