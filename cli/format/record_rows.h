// A record as a row of a table, after the record's own table: chosen members, each under the name that users
// know, in a way of writing that fits its meaning. Pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "cli/format/table.h"
#include "frame/field.h"
#include "host/calendar.h"
#include "json/record_table.h"

namespace cli {

/// What stands after a figure that rose or fell against the answer before.
inline constexpr const char* kRose = "▴";
inline constexpr const char* kFell = "▾";

enum class Writing {
  kText,
  kPrice,          ///< two decimals
  kSignedPrice,    ///< and its sign
  kRatio,          ///< two decimals, no unit
  kPercent,        ///< "1.20%"
  kSignedPercent,  ///< "+1.20%"
  kAmount,         ///< volumes and amounts, "12.35万"
  kWhole,          ///< whole numbers
};

/// One column: a member, and how it looks.
struct MemberColumn {
  std::string_view member;  ///< its name in the record's table
  Writing writing = Writing::kText;
  int min_width = 0;
  /// The member whose sign gives the colour; empty: its own for signed figures, else that of its movement.
  std::string_view toned_by{};
  int rank = 0;              ///< columns of high ranks are the first that a narrow place leaves out
  std::string_view title{};  ///< empty: the member
};

/// A member's value, whatever its shape.
struct MemberValue {
  std::wstring text;
  std::optional<double> figure;  ///< absent: not a figure, or none there
  int direction = 0;             ///< 1 rose, -1 fell
  bool moves = false;            ///< its shape knows directions
};

[[nodiscard]] Cell CellOf(const MemberValue& value, const MemberColumn& column,
                          std::optional<double> toned_by);
[[nodiscard]] std::vector<Column> ColumnsOf(std::span<const MemberColumn> columns);

inline MemberValue ValueOf(const std::wstring& text) {
  return {text, {}, 0, false};
}

template <class Number>
requires std::is_arithmetic_v<Number> MemberValue ValueOf(Number number) {
  return {{}, static_cast<double>(number), 0, false};
}

inline MemberValue ValueOf(stock::StockStatus status) {
  return {{}, static_cast<double>(status), 0, false};
}

template <class Shape>
requires requires(const Shape& shape) {
  shape.present;
}
MemberValue ValueOf(const Shape& shape) {
  MemberValue value;
  if (shape.present) {
    value.figure = static_cast<double>(shape.value);
  }
  if constexpr (requires { shape.direction; }) {
    value.moves = true;
    value.direction = shape.direction;
  }
  return value;
}

inline MemberValue ValueOf(const TrendValue& figure) {
  return {{}, figure.valid ? std::optional(figure.value) : std::nullopt, figure.trend, true};
}

/// The value of the member called `name`; nothing when the table has none, or has it as more than one figure.
template <class Table>
std::optional<MemberValue> FindMember(const Table& table, const typename Table::Record& record,
                                      std::string_view name) {
  std::optional<MemberValue> found;
  request::ForEachMember(table, [&](const auto& member) {
    if (member.name == name) {
      using How = std::remove_cvref_t<decltype(member.how)>;
      if constexpr (requires { member.how.flags; }) {
        const bool is_null = (record.*member.how.flags & member.how.bit) != 0;
        found = is_null ? MemberValue{} : ValueOf(record.*member.member);
      } else if constexpr (!std::is_same_v<How, request::Level>) {
        found = ValueOf(record.*member.member);
      }
    }
  });
  return found;
}

/// A cell for each column, in their order.
template <class Table>
std::vector<Cell> CellsOf(const Table& table, const typename Table::Record& record,
                          std::span<const MemberColumn> columns) {
  std::vector<Cell> cells;
  for (const MemberColumn& column : columns) {
    const auto toned_by = FindMember(table, record, column.toned_by);
    cells.push_back(CellOf(FindMember(table, record, column.member).value_or(MemberValue()), column,
                           toned_by ? toned_by->figure : std::nullopt));
  }
  return cells;
}

}  // namespace cli
