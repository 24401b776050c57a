// A text made safe for Qt's parser, which leaks the earlier value of a repeated key when that value is an
// object or an array: a hostile server could grow the process with every answer. Thread-safe: pure functions.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "json/budget.h"

namespace request::json {

/// What every key begins with in a text for Qt. Its last character says whether the key's name goes without
/// the byte-order mark that follows.
inline constexpr int kKeyMarkSize = 6;
inline constexpr char kNameAsItIs = 'k';
inline constexpr char kNameWithoutMark = 'm';

/// A text in which no key is repeated: a mark of its own stands in front of each. Marks ascend, so that the
/// parser's members come in the order of the text. Nothing else changes, the parser's error included if the
/// text is no JSON.
struct QtText {
  std::string text;

  // What it comes to, at most:
  std::size_t cells = 0;         ///< of a document
  std::size_t own_bytes = 0;     ///< of its strings and keys
  std::size_t key_bytes = 0;     ///< of its row of keys
  std::size_t parser_bytes = 0;  ///< that Qt's parser takes, its result included

  /// Whether Qt may be asked.
  [[nodiscard]] bool Fits() const {
    return cells * sizeof(double) + own_bytes + key_bytes <= kMostDocumentMemory &&
           text.capacity() + parser_bytes <= kMostAnswerMemory - kMostDocumentMemory;
  }
};

[[nodiscard]] QtText MakeQtText(std::string_view text);

}  // namespace request::json
