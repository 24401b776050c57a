// What the commands that show a ranked, paged list have in common: order, rows, columns, the subscription's
// key as text. Values; main thread only.
#pragma once

#include <string>
#include <vector>

#include "cli/format/quote_rows.h"
#include "cli/options.h"
#include "cli/row_range.h"
#include "cli/sort_options.h"

namespace cli {

struct ListOptions {
  WatchOptions watch;
  SortOptions sort;
  RowRange rows;
  std::string column_names;  ///< of --columns; empty: the usual ones

  /// The columns to show.
  [[nodiscard]] std::vector<MemberColumn> Columns(const ListLook& look) const;
  /// "all change desc 0:20", where `what` is "all".
  [[nodiscard]] std::wstring Key(const std::wstring& what) const;
  /// "all A shares by change, descending, rows 0:20", where `what` is "all A shares".
  [[nodiscard]] std::string Title(const std::string& what) const;
};

/// Adds --sort, --asc, --desc and --rows; `options.sort.columns` must be set already.
void AddPageOptions(Form& form, ListOptions& options);
/// Adds --columns.
void AddColumnsOption(Form& form, const ListLook& look, ListOptions& options);

}  // namespace cli
