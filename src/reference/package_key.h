// The number of a K-line package among those of its symbol. Constants and pure functions.
#pragma once

#include <cstdint>

namespace reference {

/// Period (1 day, 2 week, 3 month) in the high byte, adjustment (1 none, 2 forward, 3 backward) in the low
/// one. Of each argument the low eight bits count.
[[nodiscard]] constexpr std::uint16_t PackageKey(int period, int adjustment) {
  return static_cast<std::uint16_t>(((period & 0xFF) << 8) | (adjustment & 0xFF));
}

}  // namespace reference
