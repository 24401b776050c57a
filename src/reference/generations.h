// Values of which references are handed out and that are replaced now and then. Not thread-safe: its owner
// guards it.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <utility>

namespace reference {

/// A replaced value is kept until seven more have come, so that whoever copies at once never reads freed
/// memory.
template <class Value>
class Generations {
 public:
  using Pointer = std::unique_ptr<const Value>;

  Generations() { generations_.front() = std::make_unique<const Value>(); }

  [[nodiscard]] const Value& Get() const { return *generations_[newest_]; }

  /// Puts `value` in its place and returns the generation that nobody may read any more, to be freed where no
  /// lock is held. An equal value changes nothing and comes back.
  [[nodiscard]] Pointer Replace(Pointer value) {
    if (*value == Get()) {
      return value;
    }
    newest_ = (newest_ + 1) % generations_.size();
    return std::exchange(generations_[newest_], std::move(value));
  }

 private:
  std::array<Pointer, 8> generations_;
  std::size_t newest_ = 0;
};

}  // namespace reference
