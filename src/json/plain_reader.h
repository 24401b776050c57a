// Reads plain JSON, which is what servers send: it takes only what it is certain that Qt's parser reads the
// same way, and gives everything else up. Thread-safe: no state.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "json/cells.h"

namespace request::json::detail {

/// Fills `content` from `text`, an object or an array of less than 2 GiB, which it refers to. False, with
/// `content` in any state, when the text holds anything out of the plain: no JSON, escapes in a key, a
/// byte-order mark in front of a string, control characters, ill-formed UTF-8 or surrogates, numbers near the
/// ends of the range, more than 1,024 levels. Throws `TooMuchMemory` when the document would take more than
/// one may.
[[nodiscard]] bool ReadPlain(std::string_view text, Content& content);

/// Fills `numbers` from an array of exactly as many plain numbers, "[20240315,1.5,...]", that `text` begins
/// with, and returns its length. 0 for everything else, JSON or not.
[[nodiscard]] std::size_t ReadPlainNumbers(std::string_view text, std::span<double> numbers);

}  // namespace request::json::detail
