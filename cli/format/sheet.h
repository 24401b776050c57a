// Data under the names that users know, for other programs. Made when somebody asks for one of the forms.
#pragma once

#include <functional>
#include <string>

#include "cli/format/csv.h"
#include "cli/format/record_json.h"

namespace cli {

struct Sheet {
  std::function<void(JsonWriter&)> json;  ///< writes the value of "data", and further members of the line
  std::function<std::string()> csv;       ///< a header and rows
};

/// Records after the table of their members, in JSON after one that may have more of them. The tables
/// outlive the sheet.
template <class JsonTable, class CsvTable, class Records>
[[nodiscard]] Sheet SheetOf(const JsonTable& json_table, const CsvTable& csv_table, const Records& records) {
  return {[&json_table, records](JsonWriter& json) { WriteRecords(json, json_table, records); },
          [&csv_table, records] { return CsvOf(csv_table, records); }};
}
template <class Table, class Records>
[[nodiscard]] Sheet SheetOf(const Table& table, const Records& records) {
  return SheetOf(table, table, records);
}

}  // namespace cli
