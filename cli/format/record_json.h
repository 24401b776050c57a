// A record as a JSON object, after the record's own table: every member under the name that users know, null
// where the server sent null, then the flag word itself. Nothing is kept; callable from any thread.
#pragma once

#include <cstdint>
#include <string_view>

#include "cli/format/json_writer.h"
#include "request/record_table.h"

namespace cli {

/// Begins a line: {"service":…,"key":…,"time":…,"data": . The data and `EndObject` are the caller's to write.
void BeginJsonLine(JsonWriter& json, std::string_view service, std::wstring_view key,
                   std::int64_t server_time);

template <class Record, class Type, class How>
void WriteMember(JsonWriter& json, const Record& record, const request::Member<Record, Type, How>& member) {
  json.Key(member.name);
  json.Value(record.*member.member);
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

/// Writes `record` as the table describes it. Records with nullable figures end with "null_flags".
template <class Table>
void WriteRecord(JsonWriter& json, const Table& table, const typename Table::Record& record) {
  json.BeginObject();
  request::ForEachMember(table, [&](const auto& member) { WriteMember(json, record, member); });
  if constexpr (requires { record.null_flags; }) {
    json.Key("null_flags");
    json.Value(record.null_flags);
  }
  json.EndObject();
}

/// Writes a list of records as an array.
template <class Table, class Records>
void WriteRecords(JsonWriter& json, const Table& table, const Records& records) {
  json.BeginArray();
  for (const auto& record : records) {
    WriteRecord(json, table, record);
  }
  json.EndArray();
}

}  // namespace cli
