// A key or a use of the mouse as the live screen understands it, whatever bytes the terminal sends for it. A
// value.
#pragma once

namespace cli {

enum class KeyKind {
  kCharacter,
  kUp,
  kDown,
  kLeft,
  kRight,
  kPageUp,
  kPageDown,
  kHome,
  kEnd,
  kTab,
  kBackTab,
  kEnter,
  kEscape,
  kBackspace,
  kDelete,
  kClick,
  kWheelUp,
  kWheelDown,
};

struct Key {
  KeyKind kind = KeyKind::kCharacter;
  char32_t character = 0;  ///< of `kCharacter` only
  int column = 0;          ///< where the mouse is, from the left, counted from 0; of clicks and the wheel
  int row = 0;             ///< the same from the top of what the key is handed to

  bool operator==(const Key&) const = default;
};

/// The key that types `character`.
[[nodiscard]] constexpr Key Typed(char32_t character) {
  return {KeyKind::kCharacter, character};
}

}  // namespace cli
