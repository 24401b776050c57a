// Dates: those of views, 0 standing for today, and the feed's, a text whose digits spell YYYYMMDD, with or
// without separators, or a number. Thread-safe.
#pragma once

#include <cstdint>

#include "host/clock.h"
#include "json/json.h"
#include "json/numbers.h"

namespace request {

/// True for a date that stands for today or is today's on the server.
[[nodiscard]] inline bool IsToday(std::uint32_t date) {
  return date == 0 || date == common::GetCurrentServerDate();
}

/// The number that the digits of a text spell; 0 for a text without digits and for what is no text. Low 32
/// bits.
[[nodiscard]] inline std::uint32_t DateFromText(const json::Value& value) {
  std::uint32_t date = 0;
  for (const wchar_t character : value.Text()) {
    if (character >= L'0' && character <= L'9') {
      date = date * 10 + static_cast<std::uint32_t>(character - L'0');
    }
  }
  return date;
}

/// The same, and a number as it is, truncated.
[[nodiscard]] inline std::uint32_t DateFromTextOrNumber(const json::Value& value) {
  const std::uint32_t date = DateFromText(value);
  return date != 0 ? date : ToUnsigned32(value.Number());
}

}  // namespace request
