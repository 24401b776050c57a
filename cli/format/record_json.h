// A record as a JSON object, after the record's own table: every member under the name that users know, null
// where there is no value, then "directions" (what moved against the answer before), or the flag word of
// records that have one. Nothing is kept; callable from any thread.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <vector>

#include "cli/format/json_writer.h"
#include "frame/field.h"
#include "host/calendar.h"
#include "json/record_table.h"

namespace cli {

/// Begins a line: {"service":…,"key":…,"time":…,"data": . The data and `EndObject` are the caller's to write.
void BeginJsonLine(JsonWriter& json, std::string_view service, std::wstring_view key,
                   std::int64_t server_time);

// The value of one member.

template <class Value>
void WriteValue(JsonWriter& json, const Value& value) {
  json.Value(value);
}

inline void WriteValue(JsonWriter& json, stock::StockStatus status) {
  json.Value(static_cast<std::int32_t>(status));
}

/// A figure; null when it is not present.
template <class Shape>
requires requires(const Shape& shape) {
  shape.present;
}
void WriteValue(JsonWriter& json, const Shape& shape) {
  if (shape.present) {
    json.Value(shape.value);
  } else {
    json.Null();
  }
}

inline void WriteValue(JsonWriter& json, const TrendValue& figure) {
  if (figure.valid) {
    json.Value(figure.value);
  } else {
    json.Null();
  }
}

/// One side of the book, the best level first.
template <class Type>
void WriteValue(JsonWriter& json, const std::vector<BookLevel<Type>>& side) {
  json.Array(side, [&json](const BookLevel<Type>& level) { WriteValue(json, level); });
}

// How a member moved: 1, -1 or 0.

template <class Value>
int DirectionOf(const Value&) {
  return 0;
}

template <class Shape>
requires requires(const Shape& shape) {
  shape.direction;
}
int DirectionOf(const Shape& shape) {
  return shape.direction;
}

inline int DirectionOf(const TrendValue& figure) {
  return figure.trend;
}

/// True for records whose members may move.
template <class Table>
constexpr bool HasDirections() {
  bool has = false;
  request::ForEachMember(Table(), [&](const auto& member) {
    using Type = std::remove_cvref_t<decltype(std::declval<typename Table::Record>().*member.member)>;
    has = has || std::is_same_v<Type, TrendValue> || requires(const Type& value) {
      value.direction;
    };
  });
  return has;
}

template <class Record, class Type, class How>
void WriteDirection(JsonWriter& json, const Record& record,
                    const request::Member<Record, Type, How>& member) {
  if (const int direction = DirectionOf(record.*member.member); direction != 0) {
    json.Member(member.name, direction);
  }
}

/// A side of the book moves level by level; it stands in the table once for each.
template <class Record, class Type>
void WriteDirection(JsonWriter& json, const Record& record,
                    const request::Member<Record, std::vector<BookLevel<Type>>, request::Level>& member) {
  const std::vector<BookLevel<Type>>& side = record.*member.member;
  const auto moved = [](const BookLevel<Type>& level) { return level.direction != 0; };
  if (member.how.index == 0 && std::any_of(side.begin(), side.end(), moved)) {
    json.Key(member.name);
    json.Array(side, [&json](const BookLevel<Type>& level) { json.Value(std::int32_t{level.direction}); });
  }
}

template <class Record, class Type, class How>
void WriteMember(JsonWriter& json, const Record& record, const request::Member<Record, Type, How>& member) {
  json.Key(member.name);
  WriteValue(json, record.*member.member);
}

template <class Record, class Type>
void WriteMember(JsonWriter& json, const Record& record,
                 const request::Member<Record, Type, request::NullableNumber<Record>>& member) {
  json.Key(member.name);
  if ((record.*member.how.flags & member.how.bit) != 0) {
    json.Null();
  } else {
    json.Value(record.*member.member);
  }
}

template <class Record, class Type>
void WriteMember(JsonWriter& json, const Record& record,
                 const request::Member<Record, std::vector<BookLevel<Type>>, request::Level>& member) {
  if (member.how.index == 0) {
    json.Key(member.name);
    WriteValue(json, record.*member.member);
  }
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

}  // namespace cli
