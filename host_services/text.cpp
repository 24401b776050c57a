// Text conversion and comparison of the host contract. No state. All code pages are treated as UTF-8.
#include "host/text.h"

#include <algorithm>
#include <cstdint>

namespace common {
namespace {

constexpr wchar_t kReplacement = L'\xfffd';

std::uint32_t Code(wchar_t c) {
  return static_cast<std::uint32_t>(c);
}

std::uint32_t Folded(wchar_t c, bool ignore_case) {
  return ignore_case && c >= L'A' && c <= L'Z' ? Code(c) + ('a' - 'A') : Code(c);
}

// Reads one character at `at` and moves past it. Of a sequence that is none, the longest beginning that could
// have been one is passed over and stands for one replacement character.
wchar_t Take(const std::string& text, std::size_t& at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at++);
  if (lead < 0x80) {
    return static_cast<wchar_t>(lead);
  }
  int more = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xbf;
  std::uint32_t code = 0;
  if (lead >= 0xc2 && lead <= 0xdf) {
    more = 1;
    code = lead & 0x1fU;
  } else if (lead >= 0xe0 && lead <= 0xef) {
    more = 2;
    code = lead & 0x0fU;
    low = lead == 0xe0 ? 0xa0 : 0x80;
    high = lead == 0xed ? 0x9f : 0xbf;
  } else if (lead >= 0xf0 && lead <= 0xf4) {
    more = 3;
    code = lead & 0x07U;
    low = lead == 0xf0 ? 0x90 : 0x80;
    high = lead == 0xf4 ? 0x8f : 0xbf;
  } else {
    return kReplacement;
  }
  for (; more > 0; --more) {
    if (at >= text.size() || byte(at) < low || byte(at) > high) {
      return kReplacement;
    }
    code = (code << 6) | (byte(at++) & 0x3fU);
    low = 0x80;
    high = 0xbf;
  }
  return static_cast<wchar_t>(code);
}

}  // namespace

int Compare(const std::wstring& left, const std::wstring& right, bool ignore_case) {
  const std::size_t common_size = std::min(left.size(), right.size());
  for (std::size_t i = 0; i < common_size; ++i) {
    const std::uint32_t a = Folded(left[i], ignore_case);
    const std::uint32_t b = Folded(right[i], ignore_case);
    if (a != b) {
      return a < b ? -1 : 1;
    }
  }
  return left.size() == right.size() ? 0 : left.size() < right.size() ? -1 : 1;
}

std::wstring s2ws(const std::string& text, unsigned /*code_page*/) {
  std::wstring wide;
  wide.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    wide += Take(text, at);
  }
  return wide;
}

std::string ws2s(const std::wstring& text, unsigned /*code_page*/) {
  std::string narrow;
  narrow.reserve(text.size());
  const auto put = [&](std::uint32_t byte) { narrow += static_cast<char>(static_cast<unsigned char>(byte)); };
  for (const wchar_t c : text) {
    std::uint32_t code = Code(c);
    if (code > 0x10ffff || (code >= 0xd800 && code <= 0xdfff)) {
      code = Code(kReplacement);
    }
    if (code < 0x80) {
      put(code);
    } else if (code < 0x800) {
      put(0xc0 | (code >> 6));
      put(0x80 | (code & 0x3f));
    } else if (code < 0x10000) {
      put(0xe0 | (code >> 12));
      put(0x80 | ((code >> 6) & 0x3f));
      put(0x80 | (code & 0x3f));
    } else {
      put(0xf0 | (code >> 18));
      put(0x80 | ((code >> 12) & 0x3f));
      put(0x80 | ((code >> 6) & 0x3f));
      put(0x80 | (code & 0x3f));
    }
  }
  return narrow;
}

}  // namespace common
