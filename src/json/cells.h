// What a document is made of. Behind json.h; only who makes documents writes cells.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/budget.h"

namespace request::json::detail {

// A document is a row of cells in the order of the text. A number is a cell with its double; what is no
// number stands in the payload of a NaN, which no number of JSON is: of a string, where it begins in the
// text, behind its quote, and its length. A container has a head of two cells, the number of all its cells
// and its `Count`; its elements or its members' values follow. Keys stand apart, because alike objects share
// them.
using Cell = std::uint64_t;

enum class Kind : std::uint16_t {
  kNull = 0xFFF8,
  kBoolean,
  kString,
  kEscaped,  // a string with escape sequences
  kArray,
  kObject,
  kUndefined,
};

constexpr unsigned kPayloadBits = 48;

constexpr Cell MakeCell(Kind kind, std::size_t payload = 0) {
  return (static_cast<Cell>(kind) << kPayloadBits) | payload;
}
constexpr bool IsNumber(Cell cell) {
  return cell < MakeCell(Kind::kNull);
}
constexpr bool IsContainer(Cell cell) {
  return cell >= MakeCell(Kind::kArray) && cell < MakeCell(Kind::kUndefined);
}
constexpr std::size_t PayloadOf(Cell cell) {
  return cell & ((Cell{1} << kPayloadBits) - 1);
}

// A string's place, and its length unless it is long.
constexpr unsigned kPlaceBits = 31;
constexpr std::size_t kLongString = (std::size_t{1} << (kPayloadBits - kPlaceBits)) - 1;

constexpr Cell StringCell(Kind kind, std::size_t begin, std::size_t length) {
  return MakeCell(kind, std::min(length, kLongString) << kPlaceBits | begin);
}
constexpr std::size_t BeginOf(Cell cell) {
  return cell & ((Cell{1} << kPlaceBits) - 1);
}
constexpr std::size_t LengthOf(Cell cell) {
  return PayloadOf(cell) >> kPlaceBits;
}

constexpr std::size_t kHead = 2;

// The elements of an array, or the members of an object, whose first key is `first_key` of the document's.
// Objects of one document with the same `Count` have the same keys in the same order.
struct Count {
  std::uint32_t first_key = 0;
  std::uint32_t entries = 0;
  bool operator==(const Count&) const = default;
};

// The first cell of the next value of the same container.
inline const Cell* Behind(const Cell* value) {
  return value + (IsContainer(*value) ? PayloadOf(*value) : 1);
}

// A key's bytes in the text, in UTF-8.
struct Key {
  std::uint32_t begin;
  std::uint32_t length;
};

struct Content {
  std::string_view text;
  std::unique_ptr<Cell[]> cells;
  std::vector<Key> keys;
  std::string own_text;  // unless the text is the caller's
};

// Writes cells into memory that grows, together with that of the keys, as far as a document may.
class CellWriter {
 public:
  explicit CellWriter(std::size_t expected) { Grow(std::min(expected + kHead, kMost)); }

  // For so many numbers and any value, which takes one cell or a head.
  void MakeRoom(const std::vector<Key>& keys, std::size_t numbers) {
    if (static_cast<std::size_t>(end_ - next_) < numbers + kHead) {
      const std::size_t least = Size() + numbers + kHead;
      const std::size_t most = kMost - std::min(keys.capacity(), kMost);
      if (least > most) {
        throw TooMuchMemory();
      }
      Grow(std::min(std::max(least, 2 * Capacity()), most));
    }
  }
  void MakeRoomForKeys(std::vector<Key>& keys, std::size_t more) const {
    const std::size_t size = keys.size() + more;
    if (size > keys.capacity()) {
      const std::size_t most = kMost - Capacity();
      if (size > most) {
        throw TooMuchMemory();
      }
      keys.reserve(std::max(size, std::min(2 * keys.capacity(), most)));
    }
  }

  void Put(Cell cell) { *next_++ = cell; }

  // For whoever writes several cells, for which there is room, and says where the next one stands then.
  [[nodiscard]] Cell* Next() const { return next_; }
  void Next(Cell* next) { next_ = next; }

  // Begins a container, and returns where.
  std::size_t Begin() {
    next_ += kHead;
    return Size() - kHead;
  }
  void End(std::size_t begin, Kind kind, Count count) {
    cells_[begin] = MakeCell(kind, Size() - begin);
    cells_[begin + 1] = std::bit_cast<Cell>(count);
  }

  std::unique_ptr<Cell[]> Take() { return std::move(cells_); }

 private:
  static_assert(sizeof(Key) == sizeof(Cell));
  static constexpr std::size_t kMost = kMostDocumentMemory / sizeof(Cell);

  [[nodiscard]] std::size_t Size() const { return static_cast<std::size_t>(next_ - cells_.get()); }

  [[nodiscard]] std::size_t Capacity() const { return static_cast<std::size_t>(end_ - cells_.get()); }

  void Grow(std::size_t capacity) {
    const std::size_t size = next_ == nullptr ? 0 : Size();
    auto grown = std::make_unique_for_overwrite<Cell[]>(capacity);
    std::copy_n(cells_.get(), size, grown.get());
    cells_ = std::move(grown);
    next_ = cells_.get() + size;
    end_ = cells_.get() + capacity;
  }

  std::unique_ptr<Cell[]> cells_;
  Cell* next_ = nullptr;
  Cell* end_ = nullptr;
};

}  // namespace request::json::detail
