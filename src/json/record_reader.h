// Fills records from JSON objects by their tables. One decoder per table, made at compile time: a member's
// key is found by its hash, not by comparing it with every line. Thread-safe: no state.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "frame/field.h"
#include "host/calendar.h"
#include "json/budget.h"
#include "json/json.h"
#include "json/numbers.h"
#include "json/record_table.h"

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
  value.TextInto(record.*member);
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
    Order order{};
    Fill(record, object, order);
  }

  /// One record per element, in order; an element that is no object gives a default record. Throws
  /// `json::TooMuchMemory` when the records and an index of their codes would take more than the budget has;
  /// an answer that is read in several pieces has one budget for all.
  [[nodiscard]] static std::vector<Record> ReadAll(const json::Array& array) {
    json::Budget budget;
    return ReadAll(array, budget);
  }
  [[nodiscard]] static std::vector<Record> ReadAll(const json::Array& array, json::Budget& budget) {
    std::vector<Record> records;
    ReadInto(
        records, array, [](Record&) {}, budget);
    return records;
  }

  /// The same into records that are no longer wanted, whose memory is used again unless it is far too much.
  static void ReadInto(std::vector<Record>& records, const json::Array& array) {
    ReadInto(records, array, [](Record&) {});
  }

  /// And calls `on_record(record)` for each while it is at hand.
  template <class OnRecord>
  static void ReadInto(std::vector<Record>& records, const json::Array& array, OnRecord on_record) {
    json::Budget budget;
    ReadInto(records, array, on_record, budget);
  }
  template <class OnRecord>
  static void ReadInto(std::vector<Record>& records, const json::Array& array, OnRecord on_record,
                       json::Budget& budget) {
    constexpr std::size_t kTooMuch = 4;
    const std::size_t size = array.Size();
    budget.Require(size, kRecordBytes);
    if (records.capacity() / kTooMuch > size) {
      records = std::vector<Record>();
    }
    const std::size_t used = std::min(records.size(), size);
    records.resize(used);
    records.reserve(size);
    Order order{};
    std::size_t place = 0;
    array.ForEach([&](const json::Value& element) {
      if (place < used) {
        Clear(records[place]);
      } else {
        records.emplace_back();
      }
      Record& record = records[place++];
      Fill(record, element.AsObject(), order);
      budget.Require(1, HeldBytes(record));
      on_record(record);
    });
  }

 private:
  static constexpr std::size_t kSize = std::remove_cvref_t<decltype(kTable)>::kSize;

  struct Line {
    std::uint32_t hash = 0;
    std::string_view key;
    void (*fill)(Record&, const json::Value&) = nullptr;
  };

  static constexpr std::size_t kRecordBytes = [] {
    if constexpr (requires(Record record) { record.code; }) {
      return sizeof(Record) + json::kIndexBytes;
    } else {
      return sizeof(Record);
    }
  }();

  // What its texts and lists hold.
  static std::size_t HeldBytes(const Record& record) {
    return [&record]<std::size_t... kIndices>(std::index_sequence<kIndices...>) {
      return (std::size_t{0} + ... + HeldBytesOf<kIndices>(record));
    }
    (std::make_index_sequence<kSize>());
  }

  template <std::size_t kIndex>
  static std::size_t HeldBytesOf(const Record& record) {
    constexpr auto kMember = std::get<kIndex>(kTable.members).member;
    if constexpr (requires { (record.*kMember).capacity(); }) {
      return IsMemberOfLineBefore<kIndex>() ? 0 : json::HeldBytes(record.*kMember);
    } else {
      return 0;
    }
  }

  // Several lines may name one member, one after the other.
  template <std::size_t kIndex>
  static constexpr bool IsMemberOfLineBefore() {
    if constexpr (kIndex > 0) {
      constexpr auto kMember = std::get<kIndex>(kTable.members).member;
      constexpr auto kBefore = std::get<kIndex - 1>(kTable.members).member;
      if constexpr (std::is_same_v<decltype(kMember), decltype(kBefore)>) {
        return kMember == kBefore;
      }
    }
    return false;
  }

  // Makes it a default record; its texts and lists keep their memory, as long as it is not unusually much.
  static void Clear(Record& record) {
    constexpr std::size_t kUsualBytes = 512;
    Record empty{};
    ForEachMember(kTable, [&record, &empty](const auto& line) {
      auto& used = record.*line.member;
      auto& kept = empty.*line.member;
      if constexpr (requires { used.capacity(); }) {
        // Several lines may name one member: it is taken once.
        if (json::HeldBytes(used) > kUsualBytes) {
          std::remove_cvref_t<decltype(used)>().swap(used);
        } else if (used.capacity() > kept.capacity()) {
          used = std::as_const(kept);
          kept.swap(used);
        }
      }
    });
    record = std::move(empty);
  }

  // Rows of one answer are alike: which line was the next behind a line, or at the front (behind kSize), when
  // it was last looked for.
  using Order = std::array<std::size_t, kSize + 1>;

  static void Fill(Record& record, const json::Object& object, Order& order) {
    std::size_t before = kSize;
    object.ForEachUnordered([&](const json::Key& key, const json::Value& value) {
      if (!key.Is(kLines[order[before]].key)) {
        const std::size_t found = FirstLine(key.Text());
        if (found == kSize) {
          return;
        }
        order[before] = found;
      }
      const std::size_t first = order[before];
      before = first;
      for (std::size_t line = first; line < kSize && kLines[line].key == kLines[first].key; ++line) {
        kLines[line].fill(record, value);
      }
    });
  }

  // The first of the lines with that key; kSize for none.
  static std::size_t FirstLine(std::string_view key) {
    const std::uint32_t hash = detail::HashOf(key);
    auto line = std::lower_bound(kLines.begin(), kLines.end(), hash,
                                 [](const Line& entry, std::uint32_t wanted) { return entry.hash < wanted; });
    while (line != kLines.end() && line->hash == hash && line->key != key) {
      ++line;
    }
    return line != kLines.end() && line->hash == hash ? static_cast<std::size_t>(line - kLines.begin())
                                                      : kSize;
  }

  template <std::size_t kIndex>
  static void FillMember(Record& record, const json::Value& value) {
    constexpr const auto& kLine = std::get<kIndex>(kTable.members);
    detail::Fill(kLine.how, record, kLine.member, value);
  }

  template <std::size_t... kIndices>
  static constexpr std::array<Line, kSize> MakeLines(std::index_sequence<kIndices...>) {
    std::array<Line, kSize> lines{Line{detail::HashOf(std::get<kIndices>(kTable.members).key),
                                       std::get<kIndices>(kTable.members).key, &FillMember<kIndices>}...};
    std::sort(lines.begin(), lines.end(), [](const Line& left, const Line& right) {
      return left.hash != right.hash ? left.hash < right.hash : left.key < right.key;
    });
    return lines;
  }

  static constexpr std::array<Line, kSize> kLines = MakeLines(std::make_index_sequence<kSize>());
};

}  // namespace request
