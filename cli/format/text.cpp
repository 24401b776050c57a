#include "cli/format/text.h"

#include <unictype.h>
#include <unistr.h>
#include <uniwidth.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <sstream>

namespace cli {
namespace {

constexpr ucs4_t kReplacement = 0xFFFD;

void Append(std::string& text, ucs4_t c) {
  std::array<std::uint8_t, 6> bytes{};
  const int length = u8_uctomb(bytes.data(), c, bytes.size());
  text.append(bytes.begin(), bytes.begin() + std::max(length, 0));
}

// Calls `visit(character, bytes)` for each character; a byte that belongs to none is U+FFFD.
template <class Visitor>
void ForEachCharacter(std::string_view text, Visitor&& visit) {
  const auto* next = reinterpret_cast<const std::uint8_t*>(text.data());
  for (std::size_t left = text.size(); left > 0;) {
    ucs4_t c = kReplacement;
    const auto length = static_cast<std::size_t>(u8_mbtouc(&c, next, left));
    visit(c, length);
    next += length;
    left -= length;
  }
}

int WidthOf(ucs4_t c) {
  return std::max(uc_width(c, "UTF-8"), 0);
}

bool MustBeEscaped(ucs4_t c) {
  return uc_is_general_category_withtable(
      c, UC_CATEGORY_MASK_Cc | UC_CATEGORY_MASK_Cf | UC_CATEGORY_MASK_Zl | UC_CATEGORY_MASK_Zp);
}

// Lines of prose, which neither begin with a blank nor end with a colon, on one line.
std::string Filled(const std::string& text) {
  std::string filled;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_inside = text[i] == '\n' && i > 0 && i + 1 < text.size() && text[i - 1] != '\n' &&
                           text[i - 1] != ':' && text[i + 1] != '\n' && text[i + 1] != ' ';
    const std::size_t line = text.rfind('\n', i - (i > 0 ? 1 : 0));
    const bool is_prose = text[line == std::string::npos ? 0 : line + 1] != ' ';
    filled += is_inside && is_prose ? ' ' : text[i];
  }
  return filled;
}

}  // namespace

std::string Utf8(std::wstring_view text) {
  std::string utf8;
  utf8.reserve(text.size() * 3);
  for (const wchar_t wide : text) {
    const auto c = static_cast<ucs4_t>(wide);
    const bool is_character = c < 0xD800 || (c > 0xDFFF && c <= 0x10FFFF);
    Append(utf8, is_character ? c : kReplacement);
  }
  return utf8;
}

std::string ValidUtf8(std::string_view text) {
  std::string valid;
  valid.reserve(text.size());
  ForEachCharacter(text, [&](ucs4_t c, std::size_t) { Append(valid, c); });
  return valid;
}

std::string Printable(std::string_view text) {
  std::string printable;
  printable.reserve(text.size());
  ForEachCharacter(text, [&](ucs4_t c, std::size_t) {
    if (MustBeEscaped(c)) {
      std::array<char, 16> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u{%x}", static_cast<unsigned>(c));
      printable += escape.data();
    } else {
      Append(printable, c);
    }
  });
  return printable;
}

std::string Printable(std::wstring_view text) {
  return Printable(Utf8(text));
}

int DisplayWidth(std::string_view text) {
  return u8_width(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), "UTF-8");
}

std::string Clip(std::string_view text, int width) {
  if (width <= 0) {
    return {};
  }
  // What fits is known only at the end; until then the cut that leaves a column for the mark is kept.
  int used = 0;
  std::size_t bytes = 0;
  std::size_t cut = 0;
  ForEachCharacter(text, [&](ucs4_t c, std::size_t length) {
    used += WidthOf(c);
    bytes += length;
    if (used < width) {
      cut = bytes;
    }
  });
  if (used <= width) {
    return std::string(text);
  }
  return std::string(text.substr(0, cut)) + "…";
}

std::string Pad(std::string_view text, int width, Align align) {
  const std::string blanks(static_cast<std::size_t>(std::max(width - DisplayWidth(text), 0)), ' ');
  return align == Align::kLeft ? std::string(text) + blanks : blanks + std::string(text);
}

std::string Wrapped(const std::string& text, int width, std::size_t indent) {
  std::string wrapped;
  std::istringstream lines(Filled(text));
  for (std::string line; std::getline(lines, line);) {
    std::size_t begin = indent;
    if (begin == 0) {
      const std::size_t blanks = std::min(line.find_first_not_of(' '), line.size());
      const std::size_t gap = line.find("   ", blanks);
      begin = gap == std::string::npos ? blanks : line.find_first_not_of(' ', gap);
      begin = begin == std::string::npos || static_cast<int>(begin) > width * 2 / 3 ? blanks + 4 : begin;
    }
    while (DisplayWidth(line) > width) {
      std::size_t cut = line.size();
      do {
        cut = line.rfind(' ', cut - 1);
      } while (cut != std::string::npos && cut > begin && DisplayWidth(line.substr(0, cut)) > width);
      if (cut == std::string::npos || cut <= begin) {
        cut = line.find(' ', begin + 1);  // after a word that no line has room for
      }
      if (cut == std::string::npos) {
        break;
      }
      wrapped += line.substr(0, line.find_last_not_of(' ', cut) + 1) + "\n";
      line = std::string(begin, ' ') + line.substr(cut + 1);
    }
    wrapped += line + "\n";
  }
  if (!wrapped.empty()) {
    wrapped.pop_back();
  }
  return wrapped;
}

}  // namespace cli
