// Records as lines of comma-separated values, for spreadsheets and scripts: every digit of a number, UTF-8, a
// field quoted only when it must be, lines ended by the caller. Pure functions.
#pragma once

#include <concepts>
#include <string>
#include <string_view>

#include "json/record_table.h"

namespace cli {

/// A text as one field. A comma, a quote or a line end puts it between quotes; quotes inside are doubled.
[[nodiscard]] std::string CsvField(std::string_view utf8);
[[nodiscard]] std::string CsvField(std::wstring_view text);
/// The shortest text that reads back as the same number; empty for what is no finite number.
[[nodiscard]] std::string CsvField(double number);
template <std::integral Number>
[[nodiscard]] std::string CsvField(Number number) {
  return std::to_string(number);
}

/// The names of a table's members.
template <class Table>
[[nodiscard]] std::string CsvHeader(const Table& table) {
  std::string line;
  request::ForEachMember(
      table, [&](const auto& member) { line += (line.empty() ? "" : ",") + CsvField(member.name); });
  return line;
}

/// The members of a record, in the table's order.
template <class Table>
[[nodiscard]] std::string CsvLine(const Table& table, const typename Table::Record& record) {
  std::string line;
  bool first = true;
  request::ForEachMember(table, [&](const auto& member) {
    line += (first ? "" : ",") + CsvField(record.*member.member);
    first = false;
  });
  return line;
}

}  // namespace cli
