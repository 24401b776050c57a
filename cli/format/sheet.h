// Data for other programs, under the names that users know, after the tables of the records: as JSON, with
// null where there is no value, then "directions" (what moved against the answer before) or the flag word of
// records that have one; and as comma-separated values for spreadsheets and scripts: dates and times as ISO
// writes them, figures in decimal digits, a field quoted only when it must be, lines ended by the caller.
// Pure functions.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "cli/format/json_writer.h"
#include "cli/format/record_rows.h"

namespace cli {

// --- Comma-separated values

/// A text as one field. A comma, a quote or a line end puts it between quotes; quotes inside are doubled.
[[nodiscard]] std::string CsvField(std::string_view utf8);
[[nodiscard]] inline std::string CsvField(std::wstring_view text) {
  return CsvField(std::string_view(Utf8(text)));
}
/// To a millionth, and to fifteen digits at most: what binary fractions add after that is left out. Empty for
/// what is no finite number.
[[nodiscard]] std::string CsvField(double number);
template <std::integral Number>
[[nodiscard]] std::string CsvField(Number number) {
  return std::to_string(number);
}
/// A figure; empty when it is not present.
template <class Shape>
requires requires(const Shape& shape) {
  shape.value;
}
[[nodiscard]] std::string CsvField(const Shape& shape) {
  const auto held = HeldBy(shape);
  return held ? CsvField(*held) : std::string();
}

/// "2024-03-15" for 20240315, "09:31" for 931.
[[nodiscard]] std::string CsvDate(std::int64_t date);
[[nodiscard]] std::string CsvMinute(std::int64_t minute);

/// Calls `write` for each member of a table that is one figure; levels of an order book are left out.
template <class Table, class Write>
void ForEachField(const Table& table, const Write& write) {
  request::ForEachMember(
      table, [&]<class Record, class Type, class How>(const request::Member<Record, Type, How>& member) {
        if constexpr (!std::is_same_v<How, request::Level>) {
          write(member);
        }
      });
}

/// The names of a table's members.
template <class Table>
[[nodiscard]] std::string CsvHeader(const Table& table) {
  std::string line;
  ForEachField(table, [&](const auto& member) { line += (line.empty() ? "" : ",") + CsvField(member.name); });
  return line;
}

/// The members of a record, in the table's order.
template <class Table>
[[nodiscard]] std::string CsvLine(const Table& table, const typename Table::Record& record) {
  std::string line;
  ForEachField(table, [&](const auto& member) {
    const auto held = HeldBy(record, member);
    std::string field = held ? CsvField(*held) : std::string();
    if constexpr (std::is_integral_v<std::remove_cvref_t<decltype(*held)>>) {
      if (held && member.name == "date") {
        field = CsvDate(static_cast<std::int64_t>(*held));
      } else if (held && (member.name == "time" || member.name == "min")) {
        field = CsvMinute(static_cast<std::int64_t>(*held));
      }
    }
    line += field + ",";
  });
  line.pop_back();
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

// --- JSON

/// Begins a line: {"service":…,"key":…,"time":…,"data": . The data and `EndObject` are the caller's to write.
void BeginJsonLine(JsonWriter& json, std::string_view service, std::wstring_view key,
                   std::int64_t server_time);

template <class Held>
void WriteHeld(JsonWriter& json, const std::optional<Held>& held) {
  if (held) {
    json.Value(*held);
  } else {
    json.Null();
  }
}

template <class Record, class Type, class How>
void WriteMember(JsonWriter& json, const Record& record, const request::Member<Record, Type, How>& member) {
  json.Key(member.name);
  WriteHeld(json, HeldBy(record, member));
}
template <class Record, class Type, class How>
void WriteDirection(JsonWriter& json, const Record& record,
                    const request::Member<Record, Type, How>& member) {
  if (const int direction = DirectionOf(record.*member.member); direction != 0) {
    json.Member(member.name, direction);
  }
}

/// One side of the book, the best level first; it stands in the table once for each level.
template <class Record, class Type>
void WriteMember(JsonWriter& json, const Record& record,
                 const request::Member<Record, std::vector<BookLevel<Type>>, request::Level>& member) {
  if (member.how.index == 0) {
    json.Key(member.name);
    json.Array(record.*member.member, [&json](const auto& level) { WriteHeld(json, HeldBy(level)); });
  }
}
template <class Record, class Type>
void WriteDirection(JsonWriter& json, const Record& record,
                    const request::Member<Record, std::vector<BookLevel<Type>>, request::Level>& member) {
  const std::vector<BookLevel<Type>>& side = record.*member.member;
  const auto moved = [](const BookLevel<Type>& level) { return level.direction != 0; };
  if (member.how.index == 0 && std::any_of(side.begin(), side.end(), moved)) {
    json.Key(member.name);
    json.Array(side, [&json](const BookLevel<Type>& level) { json.Value(level.direction); });
  }
}

/// True for records whose members may move.
template <class Table>
constexpr bool HasDirections() {
  bool has = false;
  request::ForEachMember(Table(), [&]<class Record, class Type, class How>(
                                      const request::Member<Record, Type, How>&) { has |= kMoves<Type>; });
  return has;
}

/// Writes the members of `record` as the table describes them, without the braces around them.
template <class Table>
void WriteMembers(JsonWriter& json, const Table& table, const typename Table::Record& record) {
  request::ForEachMember(table, [&](const auto& member) { WriteMember(json, record, member); });
  if constexpr (HasDirections<Table>()) {
    json.Key("directions");
    json.Object([&] {
      request::ForEachMember(table, [&](const auto& member) { WriteDirection(json, record, member); });
    });
  }
  if constexpr (requires { record.null_flags; }) {
    json.Member("null_flags", record.null_flags);
  }
}

/// Writes a list of records as an array.
template <class Table, class Records>
void WriteRecords(JsonWriter& json, const Table& table, const Records& records) {
  json.Array(records, [&](const auto& record) { json.Object([&] { WriteMembers(json, table, record); }); });
}

// --- Both, made when somebody asks for one of them

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
