// Text that reaches a person: conversion, escaping, widths.
#include "cli/format/text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace cli {
namespace {

TEST(Utf8, keepsCharactersOfAllLengths) {
  EXPECT_EQ(Utf8(L"a\u00e9\u4e0a\U0001F600"), "a\xC3\xA9\xE4\xB8\x8A\xF0\x9F\x98\x80");
}

TEST(Utf8, replacesWhatIsNoCharacter) {
  const std::wstring text = {L'a', static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000),
                             static_cast<wchar_t>(-1), L'b'};
  EXPECT_EQ(Utf8(text), "a\uFFFD\uFFFD\uFFFDb");
}

TEST(Utf8, doesNotDependOnTheLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(Utf8(L"上证指数"), "上证指数");
  EXPECT_EQ(DisplayWidth("上证指数"), 8);
  std::setlocale(LC_ALL, before.c_str());
}

TEST(ValidUtf8, replacesBytesThatBelongToNoCharacter) {
  EXPECT_EQ(ValidUtf8("a\xFF"
                      "b\xE4\xB8"),
            "a\uFFFDb\uFFFD");
}

TEST(Printable, writesOutControlCharacters) {
  EXPECT_EQ(Printable(std::wstring(L"a\x1b[31m\n\r\t\0z", 11)), "a\\u{1b}[31m\\u{a}\\u{d}\\u{9}\\u{0}z");
  EXPECT_EQ(Printable(L"\x7f\u0085\u009b"), "\\u{7f}\\u{85}\\u{9b}");
}

TEST(Printable, writesOutBidirectionalAndOtherInvisibleCharacters) {
  EXPECT_EQ(Printable(L"\u202e\u2066\u200f\u061c"), "\\u{202e}\\u{2066}\\u{200f}\\u{61c}");
  EXPECT_EQ(Printable(L"\u200b\ufeff\u2028\u2029\U000E0041"),
            "\\u{200b}\\u{feff}\\u{2028}\\u{2029}\\u{e0041}");
}

TEST(Printable, leavesChineseTextAlone) {
  EXPECT_EQ(Printable(L"深证成指（A股）"), "深证成指（A股）");
}

TEST(Printable, neverLetsAnEscapeByteThrough) {
  for (wchar_t c = 0; c < 0x3000; ++c) {
    const std::string text = Printable(std::wstring(1, c));
    for (const char byte : text) {
      EXPECT_TRUE(static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7f) << static_cast<int>(c);
    }
  }
}

TEST(DisplayWidth, countsWideCharactersTwice) {
  EXPECT_EQ(DisplayWidth(""), 0);
  EXPECT_EQ(DisplayWidth("sh000001"), 8);
  EXPECT_EQ(DisplayWidth("上证指数"), 8);
  EXPECT_EQ(DisplayWidth("*ST深A"), 6);
  EXPECT_EQ(DisplayWidth("Ａ"), 2);
}

TEST(DisplayWidth, countsCombiningCharactersAsNothing) {
  EXPECT_EQ(DisplayWidth("e\xCC\x81"), 1);
}

TEST(Clip, leavesWhatFits) {
  EXPECT_EQ(Clip("上证指数", 8), "上证指数");
  EXPECT_EQ(Clip("abc", 3), "abc");
}

TEST(Clip, marksTheCutInItsLastColumn) {
  EXPECT_EQ(Clip("abcdef", 4), "abc…");
  EXPECT_EQ(Clip("abcdef", 1), "…");
  EXPECT_EQ(Clip("abcdef", 0), "");
  EXPECT_EQ(Clip("abcdef", -3), "");
}

TEST(Clip, neverHalvesAWideCharacter) {
  EXPECT_EQ(Clip("上证指数", 6), "上证…");
  EXPECT_EQ(Clip("上证指数", 7), "上证指…");
  for (int width = 0; width < 10; ++width) {
    EXPECT_LE(DisplayWidth(Clip("上证指数", width)), width);
  }
}

TEST(Pad, fillsByColumnsNotBytes) {
  EXPECT_EQ(Pad("上证", 6, Align::kLeft), "上证  ");
  EXPECT_EQ(Pad("上证", 6, Align::kRight), "  上证");
  EXPECT_EQ(Pad("上证指数", 6, Align::kLeft), "上证指数");
}

}  // namespace
}  // namespace cli
