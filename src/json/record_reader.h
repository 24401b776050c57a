// Fills records from JSON objects by their tables. One decoder per table, made at compile time. Which member
// a key fills is looked for once for all rows that are alike. Thread-safe: no state.
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

// Apart, so that what comes for every level stays short.
template <class Type>
[[gnu::noinline]] void MakeLevels(std::vector<BookLevel<Type>>& side) {
  side.resize(kBookLevels);
}

template <class Record, class Type>
[[gnu::always_inline]] inline void Fill(const Level& how, Record& record,
                                        std::vector<BookLevel<Type>> Record::*member,
                                        const json::Value& value) {
  std::vector<BookLevel<Type>>& side = record.*member;
  if (side.size() < kBookLevels) {
    MakeLevels(side);
  }
  BookLevel<Type> level;
  Convert(value, level.value);
  level.present = true;
  side[how.index] = level;
}

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
    json::Budget texts = budget;
    object.ForEachInText([&](std::string_view key, const json::Value& value) {
      if (const Line* const line = LineOf(key)) {
        line->fill(record, value, texts);
      }
    });
    return Require(record, budget);
  }

  /// What the values of an object fill, which holds for all objects of the same shape in one document.
  class Plan;

  /// The same for one of many objects of a document, which share a plan.
  static std::size_t Fill(Record& record, const json::Object& object, Plan& plan, json::Budget& budget) {
    if (plan.shape != object.Shape()) {
      plan = PlanFor(object);
    }
    json::Budget texts = budget;
    if (object.HasPlainValues()) {
      std::apply([&](const auto&... list) { (PutAll(record, object, list), ...); }, plan.figures.lists);
      PutAll(record, object, plan.prices);
      PutAll(record, object, plan.volumes);
      for (const PutOther& other : plan.others) {
        other.fill(record, object.PlainValueAt(other.place), texts);
      }
    } else {
      auto fill = plan.fills.begin();
      object.ForEachValue([&](const json::Value& value) { (*fill++)(record, value, texts); });
    }
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
        next = records.emplace(next);
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

  using FillKey = void(Record&, const json::Value&, json::Budget&);

  // The usual figures need no call: where the number stands, and where it goes.
  template <class Field>
  struct PutFigure {
    std::size_t place;
    Field Record::*member;
  };
  template <class Type>
  struct PutLevel {
    std::size_t place;
    std::vector<BookLevel<Type>> Record::*member;
    std::size_t index;
  };
  template <class... Fields>
  struct FigureLists {
    template <class Field>
    static constexpr bool kHas = (std::is_same_v<Field, Fields> || ...);

    std::tuple<std::vector<PutFigure<Fields>>...> lists;
  };
  using Figures = FigureLists<TickField<double>, TickField<std::uint64_t>, PlainField<double>,
                              PlainField<std::uint64_t>, CountField, TrendValue>;

  struct PutOther {
    std::size_t place;
    FillKey* fill;
  };

  using PlanKey = void(Plan&, std::size_t place);

  struct Line {
    std::string_view key;
    FillKey* fill = nullptr;
    PlanKey* plan = nullptr;
  };

  static constexpr std::size_t kRecordBytes = [] {
    if constexpr (requires(Record record) { record.code; }) {
      return sizeof(Record) + json::kIndexBytes;
    } else {
      return sizeof(Record);
    }
  }();

  // What its texts and lists hold. All levels are lines of one list, which counts with the first.
  static std::size_t HeldBytes(const Record& record) {
    return [&record]<std::size_t... kIndices>(std::index_sequence<kIndices...>) {
      return (HeldBytesOf<kIndices>(record) + ...);
    }
    (std::make_index_sequence<kSize>());
  }
  template <std::size_t kIndex>
  static std::size_t HeldBytesOf([[maybe_unused]] const Record& record) {
    constexpr const auto& kLine = std::get<kIndex>(kTable.members);
    constexpr bool kIsLaterLevel = [] {
      if constexpr (requires { kLine.how.index; }) {
        return kLine.how.index != 0;
      }
      return false;
    }();
    if constexpr (!kIsLaterLevel && requires { (record.*kLine.member).capacity(); }) {
      return json::HeldBytes(record.*kLine.member);
    }
    return 0;
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

  template <class Field>
  static void PutAll(Record& record, const json::Object& object, const std::vector<PutFigure<Field>>& puts) {
    for (const PutFigure<Field>& put : puts) {
      detail::Fill(Figure{}, record, put.member, object.PlainValueAt(put.place));
    }
  }

  template <class Type>
  static void PutAll(Record& record, const json::Object& object, const std::vector<PutLevel<Type>>& puts) {
    for (const PutLevel<Type>& put : puts) {
      detail::Fill(Level{put.index}, record, put.member, object.PlainValueAt(put.place));
    }
  }

  static Plan PlanFor(const json::Object& object) {
    Plan plan;
    plan.shape = object.Shape();
    std::vector<std::string_view> known;
    object.ForEachInText([&](std::string_view key, const json::Value&) {
      const Line* const line = LineOf(key);
      plan.fills.push_back(line == nullptr ? [](Record&, const json::Value&, json::Budget&) {} : line->fill);
      if (line != nullptr) {
        line->plan(plan, plan.fills.size() - 1);
        known.push_back(key);
      }
    });
    std::sort(known.begin(), known.end());
    const auto has = [&known](const Line& line) {
      return std::binary_search(known.begin(), known.end(), line.key);
    };
    plan.is_whole = std::all_of(kLines.begin(), kLines.end(), has);
    return plan;
  }

  static const Line* LineOf(std::string_view key) {
    const auto line =
        std::lower_bound(kLines.begin(), kLines.end(), key,
                         [](const Line& entry, std::string_view wanted) { return entry.key < wanted; });
    return line != kLines.end() && line->key == key ? &*line : nullptr;
  }

  template <std::size_t kIndex>
  static constexpr std::string_view kKeyOf = std::get<kIndex>(kTable.members).key;

  template <std::size_t kIndex, bool kHasKey>
  static void FillLine(Record& record, const json::Value& value, [[maybe_unused]] json::Budget& budget) {
    if constexpr (kHasKey) {
      constexpr const auto& kLine = std::get<kIndex>(kTable.members);
      if constexpr (requires { detail::Fill(kLine.how, record, kLine.member, value, budget); }) {
        detail::Fill(kLine.how, record, kLine.member, value, budget);
      } else {
        detail::Fill(kLine.how, record, kLine.member, value);
      }
    }
  }

  template <std::size_t kIndex, bool kHasKey>
  static void PlanLine(Plan& plan, std::size_t place) {
    if constexpr (kHasKey) {
      constexpr const auto& kLine = std::get<kIndex>(kTable.members);
      using Field = std::remove_cvref_t<decltype(std::declval<Record&>().*kLine.member)>;
      if constexpr (Figures::template kHas<Field>) {
        std::get<std::vector<PutFigure<Field>>>(plan.figures.lists).push_back({place, kLine.member});
      } else if constexpr (std::is_same_v<Field, std::vector<BookLevel<float>>>) {
        plan.prices.push_back({place, kLine.member, kLine.how.index});
      } else if constexpr (std::is_same_v<Field, std::vector<BookLevel<std::uint32_t>>>) {
        plan.volumes.push_back({place, kLine.member, kLine.how.index});
      } else {
        plan.others.push_back({place, &FillLine<kIndex, true>});
      }
    }
  }

  // All lines with the key of one, which may be several.
  template <std::size_t kLine, std::size_t... kIndices>
  static constexpr Line LineOf(std::index_sequence<kIndices...>) {
    return {kKeyOf<kLine>,
            [](Record& record, const json::Value& value, json::Budget& budget) {
              (FillLine<kIndices, kKeyOf<kIndices> == kKeyOf<kLine>>(record, value, budget), ...);
            },
            [](Plan& plan, std::size_t place) {
              (PlanLine<kIndices, kKeyOf<kIndices> == kKeyOf<kLine>>(plan, place), ...);
            }};
  }

  // By key.
  static constexpr std::array<Line, kSize> kLines =
      []<std::size_t... kIndices>(std::index_sequence<kIndices...> all) {
    std::array<Line, kSize> lines{LineOf<kIndices>(all)...};
    std::sort(lines.begin(), lines.end(),
              [](const Line& left, const Line& right) { return left.key < right.key; });
    return lines;
  }
  (std::make_index_sequence<kSize>());
};

template <const auto& kTable>
class RecordReader<kTable>::Plan {
  friend RecordReader;

  json::detail::Count shape;
  std::vector<FillKey*> fills;  // one after the other
  // The same by kinds, each in their order, so that the last of repeated keys counts here as well.
  Figures figures;
  std::vector<PutLevel<float>> prices;
  std::vector<PutLevel<std::uint32_t>> volumes;
  std::vector<PutOther> others;
  bool is_whole = false;  // no key of the table is missing

  // Nothing stays of what a record held.
  [[nodiscard]] bool FillsAll(const json::Object& object) const {
    return is_whole && shape == object.Shape();
  }
};

}  // namespace request
