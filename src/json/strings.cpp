#include "json/strings.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace request::json {
namespace {

int HexDigit(char character) {
  if (character >= '0' && character <= '9') {
    return character - '0';
  }
  const char lower = static_cast<char>(character | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

constexpr std::uint64_t kLowBits = 0x0101010101010101U;

constexpr std::size_t kWord = sizeof(std::uint64_t);

std::uint64_t WordAt(const char* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, sizeof(word));
  return word;
}

// Every byte that does not continue another begins a character.
std::size_t CountCharacters(std::string_view text) {
  const auto continuing_in = [](std::uint64_t word) -> std::size_t {
    // The product adds the marks of all eight bytes up in the highest one.
    return (((word >> 7U) & ~(word >> 6U) & kLowBits) * kLowBits) >> 56U;
  };
  std::size_t continuing = 0;
  std::size_t left = text.size();
  for (const char* at = text.data(); left >= kWord; at += kWord, left -= kWord) {
    continuing += continuing_in(WordAt(at));
  }
  if (std::endian::native == std::endian::little && left != 0 && text.size() >= kWord) {
    // The last ones of the last word.
    return text.size() - continuing -
           continuing_in(WordAt(text.data() + text.size() - kWord) >> 8 * (kWord - left));
  }
  for (; left != 0; --left) {
    continuing += (text[text.size() - left] & 0xC0) == 0x80 ? 1U : 0U;
  }
  return text.size() - continuing;
}

std::uint32_t PassCharacter(const char*& at) {
  const auto byte = [&at](int place) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(at[place]));
  };
  const auto rest = [&byte](int place) { return byte(place) & 0x3F; };
  const std::uint32_t lead = byte(0);
  std::uint32_t code = lead;
  int length = 1;
  if (lead >= 0xF0) {
    code = ((lead & 0x07) << 18) | (rest(1) << 12) | (rest(2) << 6) | rest(3);
    length = 4;
  } else if (lead >= 0xE0) {
    code = ((lead & 0x0F) << 12) | (rest(1) << 6) | rest(2);
    length = 3;
  } else if (lead >= 0x80) {
    code = ((lead & 0x1F) << 6) | rest(1);
    length = 2;
  }
  at += length;
  return code;
}

// The characters of a word of ASCII.
void WidenWord(std::uint64_t word, wchar_t* out) {
  using Bytes [[gnu::vector_size(sizeof(word))]] = std::uint8_t;
  using Characters [[gnu::vector_size(sizeof(word) * sizeof(wchar_t))]] = wchar_t;
  const Characters wide = __builtin_convertvector(std::bit_cast<Bytes>(word), Characters);
  std::memcpy(out, &wide, sizeof(wide));
}

// Widens what most texts consist of, ASCII and characters of three bytes that cannot be surrogates, up to
// anything else.
void PassUsual(const char*& text, const char* end, wchar_t*& wide) {
  const char* at = text;
  wchar_t* next = wide;
  while (at != end) {
    const auto lead = static_cast<unsigned char>(*at);
    if (lead >= 0x80) {
      if ((lead & 0xF0) != 0xE0 || lead == 0xED) {
        break;
      }
      *next++ = static_cast<wchar_t>(((lead & 0x0F) << 12) | ((at[1] & 0x3F) << 6) | (at[2] & 0x3F));
      at += 3;
      continue;
    }
    if (static_cast<std::size_t>(end - at) >= kWord) {
      const std::uint64_t word = WordAt(at);
      if ((word & (kLowBits << 7U)) == 0) {
        WidenWord(word, next);
        at += kWord;
        next += kWord;
        continue;
      }
    }
    *next++ = static_cast<wchar_t>(*at++);
  }
  text = at;
  wide = next;
}

}  // namespace

int EscapedUnit(const char* at, const char* end) {
  if (end - at < 6 || at[0] != '\\' || at[1] != 'u') {
    return -1;
  }
  int unit = 0;
  for (int place = 2; place < 6; ++place) {
    const int digit = HexDigit(at[place]);
    if (digit < 0) {
      return -1;
    }
    unit = unit * 16 + digit;
  }
  return unit;
}

std::uint32_t PassEscape(const char*& at, const char* end) {
  if (const int unit = EscapedUnit(at, end); unit >= 0) {
    at += 6;
    const int low = unit >= 0xD800 && unit < 0xDC00 ? EscapedUnit(at, end) : -1;
    if (low < 0xDC00 || low >= 0xE000) {
      return static_cast<std::uint32_t>(unit);
    }
    at += 6;
    return static_cast<std::uint32_t>(0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
  }
  ++at;
  switch (const char escape = *at++) {
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return static_cast<unsigned char>(escape);
  }
}

void AppendUtf8(std::string& out, std::uint32_t code) {
  const auto put = [&out](std::uint32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
  const auto put_rest = [&put, code](unsigned shift) { put(0x80 | ((code >> shift) & 0x3F)); };
  if (code < 0x80) {
    put(code);
    return;
  }
  if (code < 0x800) {
    put(0xC0 | (code >> 6));
  } else {
    if (code < 0x10000) {
      put(0xE0 | (code >> 12));
    } else {
      put(0xF0 | (code >> 18));
      put_rest(12);
    }
    put_rest(6);
  }
  put_rest(0);
}

void WidenInto(std::wstring& out, std::string_view text, bool escaped, Budget& budget) {
  std::size_t most = text.size();
  if (!escaped || most > out.capacity()) {
    most = CountCharacters(text);
  }
  if (most > out.capacity()) {
    budget.Require(1, most * sizeof(wchar_t) + kAllocationOverhead);
    out = std::wstring(most, L'\0');  // grown, it would take twice what it had
  } else {
    budget.Require(1, HeldBytes(out));
    out.resize(most);
  }
  wchar_t* next = out.data();
  const char* at = text.data();
  const char* const end = at + text.size();
  if (!escaped) {
    PassUsual(at, end, next);
  }
  while (at != end) {
    const std::uint32_t code = escaped && *at == '\\' ? PassEscape(at, end) : PassCharacter(at);
    *next++ = static_cast<wchar_t>(IsSurrogate(code) ? 0xFFFD : code);
  }
  if (escaped) {
    out.resize(static_cast<std::size_t>(next - out.data()));
  }
}

}  // namespace request::json
