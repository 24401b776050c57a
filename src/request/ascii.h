// Letters of texts that are ASCII by their nature, whatever the locale. Thread-safe: pure functions.
#pragma once

#include <algorithm>
#include <string_view>

namespace request {

/// Whether two texts are the same but for the case of the letters A to Z.
template <class Character>
[[nodiscard]] bool EqualsIgnoringCase(std::basic_string_view<Character> left,
                                      std::basic_string_view<Character> right) {
  const auto lower = [](Character letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<Character>(letter + ('a' - 'A')) : letter;
  };
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [lower](Character a, Character b) { return lower(a) == lower(b); });
}

}  // namespace request
