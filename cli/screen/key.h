// A key as the live screen understands it, whatever bytes the terminal sends for it. A value.
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
  kWheelUp,
  kWheelDown,
};

struct Key {
  KeyKind kind = KeyKind::kCharacter;
  char32_t character = 0;  ///< of `kCharacter` only

  bool operator==(const Key&) const = default;
};

/// The key that types `character`.
[[nodiscard]] constexpr Key Typed(char32_t character) {
  return {KeyKind::kCharacter, character};
}

}  // namespace cli
