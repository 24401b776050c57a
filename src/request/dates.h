// Dates: those of views, 0 standing for today, and the feed's, a text whose digits spell YYYYMMDD, with or
// without separators, or a number. Thread-safe.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

/// The date that a text with just eight digits spells; nothing for any other text.
[[nodiscard]] inline std::optional<std::uint32_t> ExactDate(std::wstring_view text) {
  constexpr int kDateDigits = 8;
  std::uint32_t date = 0;
  int digits = 0;
  for (const wchar_t character : text) {
    if (character >= L'0' && character <= L'9') {
      date = date * 10 + static_cast<std::uint32_t>(character - L'0');
      ++digits;
    }
  }
  const std::uint32_t month = date / 100 % 100;
  const std::uint32_t day = date % 100;
  if (digits != kDateDigits || month < 1 || month > 12 || day < 1 || day > 31) {
    return std::nullopt;
  }
  return date;
}

/// The same of a text or, truncated, of a number.
[[nodiscard]] inline std::optional<std::uint32_t> ExactDate(const json::Value& value) {
  return ExactDate(value.IsNumber() ? std::to_wstring(ToUnsigned64(value.Number())) : value.Text());
}

}  // namespace request
