// The vocabulary of record tables. A record is described once: which key of the feed fills which member,
// under which name users see it, and how it is read. The decoder (record_reader.h), the command line's
// columns and JSON output and the fuzzers all walk the same table. No parser and no lock here: constants
// only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace request {

// How a member is read from a JSON value.

/// A string; empty for anything else. Into `std::wstring`.
struct Text {};

/// A number, 0.0 for anything else. Into `double` or `float`.
struct Number {};

/// A number; null sets a bit of the record's flag word and reads 0.0.
template <class Record>
struct NullableNumber {
  std::uint32_t Record::*flags;
  std::uint32_t bit;
};

/// A whole number; 0 for anything else, fractions and what does not fit included.
struct Integer {};

/// A number truncated toward zero into a signed 32-bit integer.
struct Truncated {};

/// A number converted to the whole unsigned 64-bit range.
struct Amount {};

/// A figure of one of the shapes of frame/field.h. It is marked present because its key is there.
struct Figure {};

/// A status text, converted by the host. Into `stock::StockStatus`.
struct StatusText {};

/// Level `index` (0 is the best) of one side of the order book, which has `kBookLevels` levels once any key
/// is there.
struct Level {
  std::size_t index;
};

inline constexpr std::size_t kBookLevels = 5;

/// One line of a table.
template <class Record, class Type, class How>
struct Member {
  std::string_view key;   ///< in the feed
  std::string_view name;  ///< for users: the member's own name
  Type Record::*member;
  How how;
};

template <class Record, class Type, class How>
constexpr Member<Record, Type, How> Read(std::string_view key, std::string_view name, Type Record::*member,
                                         How how) {
  return {key, name, member, how};
}

/// The usual line: the feed's key is the member's name.
template <class Record, class Type, class How>
constexpr Member<Record, Type, How> Read(std::string_view key, Type Record::*member, How how) {
  return {key, key, member, how};
}

namespace detail {

// Lines of several types one beside the other: no more of a tuple than tables need, because there are many
// long ones and compilers take long for a whole one.
template <std::size_t kIndex, class Line>
struct Slot {
  Line line;
};
template <class Indices, class... Lines>
struct Slots;
template <std::size_t... kIndices, class... Lines>
struct Slots<std::index_sequence<kIndices...>, Lines...> : Slot<kIndices, Lines>... {
  template <class Visitor>
  [[gnu::always_inline]] constexpr void ForEach(Visitor& visit) const {
    (visit(static_cast<const Slot<kIndices, Lines>&>(*this).line), ...);
  }
};

}  // namespace detail

/// A table; it lives as a constant at namespace scope beside its record.
template <class RecordType, class... Members>
struct RecordTable {
  using Record = RecordType;
  detail::Slots<std::index_sequence_for<Members...>, Members...> members;

  static constexpr std::size_t kSize = sizeof...(Members);
};

template <class Record, class... Types, class... Hows>
constexpr RecordTable<Record, Member<Record, Types, Hows>...> TableOf(
    Member<Record, Types, Hows>... members) {
  return {{{members}...}};
}

namespace detail {

template <class Record, class... Left, std::size_t... kLeft, class... Right, std::size_t... kRight>
constexpr RecordTable<Record, Left..., Right...> Join(const RecordTable<Record, Left...>& left,
                                                      std::index_sequence<kLeft...>,
                                                      const RecordTable<Record, Right...>& right,
                                                      std::index_sequence<kRight...>) {
  return {{{static_cast<const Slot<kLeft, Left>&>(left.members).line}...,
           {static_cast<const Slot<kRight, Right>&>(right.members).line}...}};
}

}  // namespace detail

/// A table of all lines of several tables of one record.
template <class Record, class... Left, class... Right>
constexpr RecordTable<Record, Left..., Right...> Join(const RecordTable<Record, Left...>& left,
                                                      const RecordTable<Record, Right...>& right) {
  return detail::Join(left, std::index_sequence_for<Left...>(), right, std::index_sequence_for<Right...>());
}

/// Calls `visit(line)` for every line of the table, in order.
template <class Table, class Visitor>
constexpr void ForEachMember(const Table& table, Visitor&& visit) {
  table.members.ForEach(visit);
}

}  // namespace request
