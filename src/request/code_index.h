// Finds rows by their code in time linear in the rows, with the result of a linear search for the first
// match. Not thread-safe; made for one comparison of two answers and thrown away.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "json/budget.h"

namespace request {

/// What an index finds a code by. It depends on a secret of this process: a server cannot choose codes that
/// are hard to tell apart. No two codes of at most eight ASCII characters, as those of the market are, have
/// the same; it tells by `IsWholeCode` that it is one of theirs.
[[nodiscard]] std::uint64_t HashOfCode(std::wstring_view code);
[[nodiscard]] constexpr bool IsWholeCode(std::uint64_t hash) {
  return hash >> 63U != 0;
}

/// The hashes of the codes of rows, in their order.
using CodeHashes = std::vector<std::uint64_t>;

template <class Record>
[[nodiscard]] CodeHashes HashesOfCodes(const std::vector<Record>& rows) {
  CodeHashes hashes(rows.size());
  std::transform(rows.begin(), rows.end(), hashes.begin(),
                 [](const Record& row) { return HashOfCode(row.code); });
  return hashes;
}

/// An index of the codes of `rows`, records with a member `code`. The rows must outlive it.
template <class Record>
class CodeIndex {
 public:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  explicit CodeIndex(const std::vector<Record>& rows)
      : rows_(rows), own_hashes_(HashesOfCodes(rows)), hashes_(own_hashes_) {
    Fill();
  }

  /// The same when the hashes of the rows' codes are known, which must outlive it as well: usual rows are not
  /// looked at.
  CodeIndex(const std::vector<Record>& rows, const CodeHashes& hashes) : rows_(rows), hashes_(hashes) {
    Fill();
  }
  CodeIndex(const std::vector<Record>& rows, CodeHashes&& hashes) = delete;
  CodeIndex(const CodeIndex&) = delete;
  CodeIndex& operator=(const CodeIndex&) = delete;

  /// The first row with that code, whose hash may be known.
  [[nodiscard]] std::size_t First(std::wstring_view code) const { return First(code, HashOfCode(code)); }
  [[nodiscard]] std::size_t First(std::wstring_view code, std::uint64_t hash) const {
    return Row(slots_[Find(code, hash)].first);
  }

  /// The first row with that code that was not taken before; it is taken now.
  [[nodiscard]] std::size_t Take(std::wstring_view code) {
    Slot& slot = slots_[Find(code, HashOfCode(code))];
    const std::uint32_t row = slot.untaken;
    if (row != kEnd) {
      slot.untaken = later_.empty() ? kEnd : later_[row];
    }
    return Row(row);
  }

 private:
  static constexpr std::uint32_t kEnd = 0xFFFFFFFFU;

  struct Slot {
    std::uint32_t first = kEnd;
    std::uint32_t untaken = kEnd;
  };

  static constexpr std::size_t kSlotsPerRow = 2;  // at least; less than twice as many

 public:
  /// What an index takes for each row at most, the hashes of the codes on both sides included.
  static constexpr std::size_t kBytesPerRow =
      2 * kSlotsPerRow * sizeof(Slot) + sizeof(std::uint32_t) + 2 * sizeof(CodeHashes::value_type);
  static_assert(kBytesPerRow <= json::kIndexBytes);

 private:
  static std::size_t Row(std::uint32_t row) { return row == kEnd ? kNone : row; }

  void Fill() {
    std::size_t capacity = 16;
    while (capacity < rows_.size() * kSlotsPerRow) {
      capacity *= 2;
    }
    slots_.resize(capacity);
    // From the back, so that the first row of a code comes to stand in front.
    for (std::size_t row = rows_.size(); row-- > 0;) {
      Slot& slot = slots_[Find(rows_[row].code, hashes_[row])];
      if (slot.first != kEnd) {
        later_.resize(rows_.size(), kEnd);
        later_[row] = slot.first;
      }
      slot.first = static_cast<std::uint32_t>(row);
      slot.untaken = slot.first;
    }
  }

  // The slot of the code, or the free one where it belongs.
  [[nodiscard]] std::size_t Find(std::wstring_view code, std::uint64_t hash) const {
    for (std::size_t place = hash;; ++place) {
      const std::size_t index = place & (slots_.size() - 1);
      const std::uint32_t row = slots_[index].first;
      if (row == kEnd || (hashes_[row] == hash && (IsWholeCode(hash) || rows_[row].code == code))) {
        return index;
      }
    }
  }

  const std::vector<Record>& rows_;
  const CodeHashes own_hashes_;  // unless they were known
  const CodeHashes& hashes_;
  std::vector<Slot> slots_;
  std::vector<std::uint32_t> later_;  // the next row of the same code; empty while every row has its own
};

}  // namespace request
