// Records as lines of comma-separated values, for spreadsheets and scripts: UTF-8, dates and times as ISO
// writes them, figures in decimal digits, a field quoted only when it must be, lines ended by the caller.
// Pure functions.
#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "frame/field.h"
#include "host/calendar.h"
#include "json/record_table.h"

namespace cli {

/// A text as one field. A comma, a quote or a line end puts it between quotes; quotes inside are doubled.
[[nodiscard]] std::string CsvField(std::string_view utf8);
[[nodiscard]] std::string CsvField(std::wstring_view text);
inline std::string CsvField(const std::wstring& text) {
  return CsvField(std::wstring_view(text));
}
/// To a millionth, and to fifteen digits at most: what binary fractions add after that is left out. Empty for
/// what is no finite number.
[[nodiscard]] std::string CsvField(double number);
template <std::integral Number>
[[nodiscard]] std::string CsvField(Number number) {
  return std::to_string(number);
}
inline std::string CsvField(stock::StockStatus status) {
  return std::to_string(static_cast<int>(status));
}
inline std::string CsvField(const TrendValue& figure) {
  return figure.valid ? CsvField(figure.value) : std::string();
}
/// A figure; empty when it is not present.
template <class Shape>
requires requires(const Shape& shape) {
  shape.present;
}
std::string CsvField(const Shape& shape) {
  return shape.present ? CsvField(shape.value) : std::string();
}

/// "2024-03-15" for 20240315, "09:31" for 931.
[[nodiscard]] std::string CsvDate(std::int64_t date);
[[nodiscard]] std::string CsvMinute(std::int64_t minute);

/// The names of a table's members; levels of an order book are left out.
template <class Table>
[[nodiscard]] std::string CsvHeader(const Table& table) {
  std::string line;
  request::ForEachMember(table, [&](const auto& member) {
    if constexpr (!std::is_same_v<std::remove_cvref_t<decltype(member.how)>, request::Level>) {
      line += (line.empty() ? "" : ",") + CsvField(member.name);
    }
  });
  return line;
}

/// The members of a record, in the table's order.
template <class Table>
[[nodiscard]] std::string CsvLine(const Table& table, const typename Table::Record& record) {
  std::string line;
  bool first = true;
  request::ForEachMember(table, [&](const auto& member) {
    if constexpr (!std::is_same_v<std::remove_cvref_t<decltype(member.how)>, request::Level>) {
      line += first ? "" : ",";
      first = false;
      const auto& value = record.*member.member;
      if constexpr (std::is_integral_v<std::remove_cvref_t<decltype(value)>>) {
        if (member.name == "date") {
          line += CsvDate(static_cast<std::int64_t>(value));
          return;
        }
        if (member.name == "time" || member.name == "min") {
          line += CsvMinute(static_cast<std::int64_t>(value));
          return;
        }
      }
      line += CsvField(value);
    }
  });
  return line;
}

/// Header and a line for each record, each with its line end.
template <class Table, class Records>
[[nodiscard]] std::string CsvOf(const Table& table, const Records& records) {
  std::string text = CsvHeader(table) + "\n";
  for (const auto& record : records) {
    text += CsvLine(table, record) + "\n";
  }
  return text;
}

}  // namespace cli
