// Texts of files, headers and addresses: ASCII alone, whatever the locale. No state.
#pragma once

#include <string_view>

namespace stock_host {

/// Letters from A to Z in lower case.
template <class Text>
[[nodiscard]] Text Lower(Text text) {
  for (auto& c : text) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<typename Text::value_type>(c + ('a' - 'A'));
    }
  }
  return text;
}

/// Without spaces, tabs and line ends around it.
[[nodiscard]] constexpr std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kSpaces = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kSpaces);
  return first == std::string_view::npos ? std::string_view()
                                         : text.substr(first, text.find_last_not_of(kSpaces) - first + 1);
}

}  // namespace stock_host
