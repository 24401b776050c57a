// How stocks, plates and indices look in lists: a table, and the same for other programs. Pure functions.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cli/format/sheet.h"
#include "cli/format/table.h"
#include "reference/stock_common.h"

namespace cli {

/// An entry, and the list that it was found in.
using ListedItem = std::pair<std::string_view, BaseInfoItem>;

/// Code, name, pinyin initials, type; in front of them the list, if `with_list` says so.
[[nodiscard]] Table BaseInfoTable(const std::vector<ListedItem>& items, bool with_list);
[[nodiscard]] Sheet BaseInfoSheet(const std::vector<ListedItem>& items, bool with_list);

/// Codes and names alone.
[[nodiscard]] Table CodeNameTable(const CodeNameList& items);
[[nodiscard]] Sheet CodeNameSheet(const CodeNameList& items);

}  // namespace cli
