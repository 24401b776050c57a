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

/// What a value of any shape holds; nothing when it is not there.
template <class Value>
[[nodiscard]] auto HeldBy(const Value& value) {
  if constexpr (requires { value.present; }) {
    return value.present ? std::optional(value.value) : std::nullopt;
  } else if constexpr (requires { value.valid; }) {
    return value.valid ? std::optional(value.value) : std::nullopt;
  } else if constexpr (std::is_enum_v<Value>) {
    return std::optional(static_cast<std::int32_t>(value));
  } else {
    return std::optional(value);
  }
}
/// The same for a member of a record; nothing, too, when the feed sent null.
template <class Record, class Type, class How>
[[nodiscard]] auto HeldBy(const Record& record, const request::Member<Record, Type, How>& member) {
  auto held = HeldBy(record.*member.member);
  if constexpr (requires { member.how.flags; }) {
    if ((record.*member.how.flags & member.how.bit) != 0) {
      held.reset();
    }
  }
  return held;
}

/// How a value moved: 1, -1 or 0.
template <class Value>
[[nodiscard]] int DirectionOf(const Value& value) {
  if constexpr (requires { value.direction; }) {
    return value.direction;
  } else if constexpr (requires { value.trend; }) {
    return value.trend;
  } else {
    return 0;
  }
}
/// True for shapes that know that.
template <class Value>
inline constexpr bool kMoves = requires(const Value& value) {
  value.direction;
}
|| requires(const Value& value) {
  value.trend;
};

/// The value of the member called `name`; nothing when the table has none, or has it as more than one figure.
template <class Table>
std::optional<MemberValue> FindMember(const Table& table, const typename Table::Record& record,
                                      std::string_view name) {
  std::optional<MemberValue> found;
  const auto look_at =
      [&]<class Record, class Type, class How>(const request::Member<Record, Type, How>& member) {
        if constexpr (!std::is_same_v<How, request::Level>) {
          if (member.name == name) {
            found = {{}, {}, DirectionOf(record.*member.member), kMoves<Type>};
            if (const auto held = HeldBy(record, member)) {
              if constexpr (std::is_same_v<Type, std::wstring>) {
                found->text = *held;
              } else {
                found->figure = static_cast<double>(*held);
              }
            }
          }
        }
      };
  request::ForEachMember(table, look_at);
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
