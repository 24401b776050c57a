// Fills records from JSON objects by their tables. One decoder per table, made at compile time. Which member
// a key fills is looked for once for all rows that are alike. Thread-safe: no state.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "frame/field.h"
#include "host/calendar.h"
#include "json/budget.h"
#include "json/json.h"
#include "json/numbers.h"
#include "json/record_plan.h"
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
void Fill(Text, Record& record, std::wstring Record::*member, const json::Value& value,
          json::Budget& budget) {
  value.TextInto(record.*member, budget);
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
void Fill(StatusText, Record& record, stock::StockStatus Record::*member, const json::Value& value,
          json::Budget& budget) {
  const std::wstring text = value.Text(budget);
  budget.Require(1, json::HeldBytes(text));  // the host may make a copy
  record.*member = stock::ConvertStockStatus(text);
}

template <class Record, class Shape>
void Fill(Figure, Record& record, Shape Record::*member, const json::Value& value) {
  Shape figure{};
  Convert(value, figure.value);
  figure.present = true;
  record.*member = figure;
}

template <class Record>
void Fill(Figure, Record& record, TrendValue Record::*member, const json::Value& value) {
  record.*member = {value.Number(), true, 0};
}

// The side of a book, with all its levels.
template <class Type>
[[gnu::always_inline]] inline BookLevel<Type>* LevelsOf(std::vector<BookLevel<Type>>& side) {
  if (side.capacity() == 0) {
    side = std::vector<BookLevel<Type>>(kBookLevels);
  } else if (side.size() < kBookLevels) {
    side.resize(kBookLevels);
  }
  return side.data();
}

template <class Type>
[[gnu::always_inline]] inline void SetLevel(BookLevel<Type>& level, const json::Value& value) {
  Type figure{};
  Convert(value, figure);
  level = {figure, true, 0};
}

template <class Record, class Type>
void Fill(const Level& how, Record& record, std::vector<BookLevel<Type>> Record::*member,
          const json::Value& value) {
  SetLevel(LevelsOf(record.*member)[how.index], value);
}

// What a line does with the value of its key.
template <class Record, class Type, class How>
[[gnu::always_inline]] inline void FillBy(const Member<Record, Type, How>& line, Record& record,
                                          const json::Value& value, [[maybe_unused]] json::Budget& budget) {
  if constexpr (requires { Fill(line.how, record, line.member, value, budget); }) {
    Fill(line.how, record, line.member, value, budget);
  } else {
    Fill(line.how, record, line.member, value);
  }
}

template <class Record, class Type, class How>
constexpr Line LineOf(const Member<Record, Type, How>& line) {
  using Typed = Member<Record, Type, How>;
  return {line.key, &line,
          [](const void* one, void* record, const json::Value& value, json::Budget& budget) {
            FillBy(*static_cast<const Typed*>(one), *static_cast<Record*>(record), value, budget);
          },
          [](std::span<const Place> places, void* record, json::Object object, json::Budget& budget) {
            auto& filled = *static_cast<Record*>(record);
            if constexpr (std::is_same_v<How, Level>) {
              const Typed* side = nullptr;
              typename Type::value_type* levels = nullptr;
              for (const Place& place : places) {
                const auto* const level = static_cast<const Typed*>(place.line);
                if (side == nullptr || side->member != level->member) {
                  side = level;
                  levels = LevelsOf(filled.*side->member);
                }
                SetLevel(levels[level->how.index], object.PlainValueAt(place.value));
              }
            } else {
              for (const Place& place : places) {
                FillBy(*static_cast<const Typed*>(place.line), filled, object.PlainValueAt(place.value),
                       budget);
              }
            }
          }};
}

// Adds up what a record's texts and lists hold, line by line. All levels are lines of one list, which counts
// with the first.
template <class Record>
struct HeldBytes {
  const Record& record;
  std::size_t bytes = 0;

  template <class Type, class How>
  [[gnu::always_inline]] void operator()([[maybe_unused]] const Member<Record, Type, How>& line) {
    if constexpr (std::is_same_v<How, Level>) {
      bytes += line.how.index == 0 ? json::HeldBytes(record.*line.member) : 0;
    } else if constexpr (requires { (record.*line.member).capacity(); }) {
      bytes += json::HeldBytes(record.*line.member);
    }
  }
};

}  // namespace detail

/// The decoder of one table.
template <const auto& kTable>
class RecordReader {
 public:
  using Record = typename std::remove_cvref_t<decltype(kTable)>::Record;

  struct Nothing {
    void operator()(const Record&) const {}
  };

  /// Fills the members whose keys are there; the others keep what they hold.
  static void Fill(Record& record, const json::Object& object) {
    json::Budget budget;
    Fill(record, object, budget);
  }

  /// The same within a budget; returns what the record's texts and lists hold, which is required for once.
  static std::size_t Fill(Record& record, const json::Object& object, json::Budget& budget) {
    detail::FillByKeys(kLines, &record, object, budget);
    return Require(record, budget);
  }

  /// What the values of an object fill, which holds for all objects of the same shape in one document.
  using Plan = detail::Plan;

  /// The same for one of many objects of a document, which share a plan.
  static std::size_t Fill(Record& record, const json::Object& object, Plan& plan, json::Budget& budget) {
    plan.Fill(kLines, &record, object, budget);
    return Require(record, budget);
  }

  /// One record per element, in order; an element that is no object gives a default record. Throws
  /// `json::TooMuchMemory` when the records and an index of their codes would take more than the budget has;
  /// an answer that is read in several pieces has one budget for all. Without one, the records must be shared
  /// and not copied.
  [[nodiscard]] static std::vector<Record> ReadAll(const json::Array& array) {
    json::Budget budget(json::kMostSharedRecordMemory);
    return ReadAll(array, budget);
  }
  [[nodiscard]] static std::vector<Record> ReadAll(const json::Array& array, json::Budget& budget) {
    std::vector<Record> records;
    ReadWithin(budget, records, array, Nothing());
    return records;
  }

  /// The same into records that this reader filled and that are no longer wanted, a vector or a list, whose
  /// memory is used again unless it is far too much. Members that the table does not name must be as they
  /// were made. Calls `on_record(record)` for each while it is at hand.
  template <class Records, class OnRecord = Nothing>
  static void ReadInto(Records& records, const json::Array& array, OnRecord on_record = {}) {
    json::Budget budget(json::kMostSharedRecordMemory);
    ReadWithin(budget, records, array, on_record);
  }

 private:
  template <class Records, class OnRecord>
  static void ReadWithin(json::Budget& budget, Records& records, const json::Array& array,
                         OnRecord on_record) {
    const std::size_t size = array.Size();
    if constexpr (requires { records.reserve(size); }) {
      budget.Require(size, kRecordBytes);
      constexpr std::size_t kTooMuch = 4;
      if (records.capacity() / kTooMuch > size) {
        records = Records();
      }
      records.reserve(size);
    } else {
      budget.Require(size, kRecordBytes + json::kNodeBytes);
    }
    Plan plan;
    auto next = records.begin();
    array.ForEach([&](const json::Value& element) {
      const json::Object object = element.AsObject();
      if (next == records.end()) {
        records.emplace_back();
        next = std::prev(records.end());
      } else if (!plan.FillsAll(object) || HeldBytes(*next) > kUsualBytes) {
        Clear(*next);
      }
      Fill(*next, object, plan, budget);
      on_record(*next);
      ++next;
    });
    records.erase(next, records.end());
  }

  static constexpr std::size_t kSize = std::remove_cvref_t<decltype(kTable)>::kSize;

  static constexpr std::size_t kRecordBytes = [] {
    if constexpr (requires(Record record) { record.code; }) {
      return sizeof(Record) + json::kIndexBytes;
    } else {
      return sizeof(Record);
    }
  }();

  static std::size_t HeldBytes(const Record& record) {
    detail::HeldBytes<Record> held{record};
    ForEachMember(kTable, held);
    return held.bytes;
  }

  static constexpr std::size_t kUsualBytes = 512;

  // Makes it a default record; its texts and lists keep their memory, as long as it is not unusually much.
  static void Clear(Record& record) {
    Record empty{};
    ForEachMember(kTable, [&record, &empty](const auto& line) {
      auto& used = record.*line.member;
      auto& kept = empty.*line.member;
      if constexpr (requires { used.capacity(); }) {
        // Several lines may name one member: it is taken once.
        if (json::HeldBytes(used) > kUsualBytes) {
          std::remove_cvref_t<decltype(used)>().swap(used);
        } else if (used.capacity() > kept.capacity()) {
          used.assign(kept.begin(), kept.end());
          kept.swap(used);
        }
      }
    });
    record = std::move(empty);
  }

  // Requires what the texts and lists of the record hold. The texts were judged before they were taken, by a
  // copy of the budget: those of a repeated key are not held, and a record that is used again may hold more.
  static std::size_t Require(const Record& record, json::Budget& budget) {
    const std::size_t held = HeldBytes(record);
    budget.Require(1, held);
    return held;
  }

  // By key; the kind of each is the first line that does the same.
  static constexpr std::array<detail::Line, kSize> kLines = [] {
    std::array<detail::Line, kSize> lines;
    std::size_t next = 0;
    ForEachMember(kTable, [&](const auto& line) { lines[next++] = detail::LineOf(line); });
    std::sort(lines.begin(), lines.end(),
              [](const detail::Line& left, const detail::Line& right) { return left.key < right.key; });
    for (std::size_t line = 0; line < kSize; ++line) {
      while (lines[lines[line].kind].fill_all != lines[line].fill_all) {
        ++lines[line].kind;
      }
    }
    return lines;
  }();
};

}  // namespace request
