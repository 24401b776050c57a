// Fills records from JSON objects by their tables. One decoder per table, made at compile time: a member's
// key is found by its hash, not by comparing it with every line. Thread-safe: no state.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "frame/field.h"
#include "host/calendar.h"
#include "request/json.h"
#include "request/numbers.h"
#include "request/record_table.h"

namespace request {
namespace detail {

inline void Convert(const json::Value& value, double& out) {
  out = value.Number();
}
inline void Convert(const json::Value& value, float& out) {
  out = static_cast<float>(value.Number());
}
inline void Convert(const json::Value& value, std::uint64_t& out) {
  out = ToUnsigned64(value.Number());
}
inline void Convert(const json::Value& value, std::uint32_t& out) {
  out = ToUnsigned32(value.Number());
}
inline void Convert(const json::Value& value, std::int32_t& out) {
  out = value.Integer();
}

template <class Record>
void Fill(Text, Record& record, std::wstring Record::*member, const json::Value& value) {
  record.*member = value.Text();
}

template <class Record, class Type>
void Fill(Number, Record& record, Type Record::*member, const json::Value& value) {
  Convert(value, record.*member);
}

template <class Record>
void Fill(const NullableNumber<Record>& how, Record& record, double Record::*member,
          const json::Value& value) {
  record.*member = value.Number();
  // A repeated key counts with its last value only.
  if (value.IsNull()) {
    record.*(how.flags) |= how.bit;
  } else {
    record.*(how.flags) &= ~how.bit;
  }
}

template <class Record>
void Fill(Integer, Record& record, std::int32_t Record::*member, const json::Value& value) {
  record.*member = value.Integer();
}

template <class Record>
void Fill(Truncated, Record& record, std::int32_t Record::*member, const json::Value& value) {
  record.*member = ToSigned32(value.Number());
}

template <class Record>
void Fill(Amount, Record& record, std::uint64_t Record::*member, const json::Value& value) {
  record.*member = ToUnsigned64(value.Number());
}

template <class Record>
void Fill(StatusText, Record& record, stock::StockStatus Record::*member, const json::Value& value) {
  record.*member = stock::ConvertStockStatus(value.Text());
}

template <class Record, class Shape>
void Fill(Figure, Record& record, Shape Record::*member, const json::Value& value) {
  Convert(value, (record.*member).value);
  (record.*member).present = true;
}

template <class Record>
void Fill(Figure, Record& record, TrendValue Record::*member, const json::Value& value) {
  (record.*member).value = value.Number();
  (record.*member).valid = true;
}

template <class Record, class Type>
void Fill(const Level& how, Record& record, std::vector<BookLevel<Type>> Record::*member,
          const json::Value& value) {
  std::vector<BookLevel<Type>>& side = record.*member;
  if (side.size() < kBookLevels) {
    side.resize(kBookLevels);
  }
  Convert(value, side[how.index].value);
  side[how.index].present = true;
}

// FNV-1a.
constexpr std::uint32_t HashOf(std::string_view text) {
  std::uint32_t hash = 2166136261U;
  for (const char character : text) {
    hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
  }
  return hash;
}

}  // namespace detail

/// The decoder of one table.
template <const auto& kTable>
class RecordReader {
 public:
  using Record = typename std::remove_cvref_t<decltype(kTable)>::Record;

  /// Fills the members whose keys are there; the others keep what they hold.
  static void Fill(Record& record, const json::Object& object) {
    object.ForEachUnordered([&record](std::string_view key, const json::Value& value) {
      const std::uint32_t hash = detail::HashOf(key);
      auto line =
          std::lower_bound(kLines.begin(), kLines.end(), hash,
                           [](const Line& entry, std::uint32_t wanted) { return entry.hash < wanted; });
      for (; line != kLines.end() && line->hash == hash; ++line) {
        if (line->key == key) {
          line->fill(record, value);
        }
      }
    });
  }

  /// One record per element, in order; an element that is no object gives a default record.
  [[nodiscard]] static std::vector<Record> ReadAll(const json::Array& array) {
    std::vector<Record> records;
    records.reserve(array.Size());
    array.ForEach(
        [&records](const json::Value& element) { Fill(records.emplace_back(), element.AsObject()); });
    return records;
  }

 private:
  static constexpr std::size_t kSize = std::remove_cvref_t<decltype(kTable)>::kSize;

  struct Line {
    std::uint32_t hash = 0;
    std::string_view key;
    void (*fill)(Record&, const json::Value&) = nullptr;
  };

  template <std::size_t kIndex>
  static void FillMember(Record& record, const json::Value& value) {
    constexpr const auto& kLine = std::get<kIndex>(kTable.members);
    detail::Fill(kLine.how, record, kLine.member, value);
  }

  template <std::size_t... kIndices>
  static constexpr std::array<Line, kSize> MakeLines(std::index_sequence<kIndices...>) {
    std::array<Line, kSize> lines{Line{detail::HashOf(std::get<kIndices>(kTable.members).key),
                                       std::get<kIndices>(kTable.members).key, &FillMember<kIndices>}...};
    std::sort(lines.begin(), lines.end(),
              [](const Line& left, const Line& right) { return left.hash < right.hash; });
    return lines;
  }

  static constexpr std::array<Line, kSize> kLines = MakeLines(std::make_index_sequence<kSize>());
};

}  // namespace request
