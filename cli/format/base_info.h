// How stocks, plates and indices look in a table and in JSON. Pure functions.
#pragma once

#include <vector>

#include "cli/format/json_writer.h"
#include "cli/format/table.h"
#include "reference/stock_common.h"

namespace cli {

/// Code, name, pinyin initials, type.
[[nodiscard]] std::vector<Column> BaseInfoColumns();
[[nodiscard]] std::vector<Cell> BaseInfoCells(const BaseInfoItem& item);

/// The members of an object, without its braces.
void WriteBaseInfo(JsonWriter& json, const BaseInfoItem& item);

}  // namespace cli
