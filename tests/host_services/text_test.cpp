// Conversion and comparison of text, down to every kind of invalid byte. No threads.
#include "host/text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <string>

namespace {

using common::Compare;
using common::kUtf8;
using common::s2ws;
using common::ws2s;

TEST(Text, wideTextOfEveryLengthOfSequence) {
  EXPECT_EQ(s2ws("a\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80", kUtf8), L"a\u00e9\u4e2d\U0001f600");
}

TEST(Text, everyCodePointSurvivesTheWayThereAndBack) {
  std::wstring all;
  for (std::uint32_t code = 0; code <= 0x10ffff; ++code) {
    if (code < 0xd800 || code > 0xdfff) {
      all += static_cast<wchar_t>(code);
    }
  }
  EXPECT_TRUE(s2ws(ws2s(all, kUtf8), kUtf8) == all);
}

TEST(Text, zeroBytesArePartOfTheText) {
  EXPECT_EQ(s2ws(std::string("a\0b", 3), kUtf8), std::wstring(L"a\0b", 3));
  EXPECT_EQ(ws2s(std::wstring(L"a\0b", 3), kUtf8), std::string("a\0b", 3));
}

TEST(Text, loneContinuationByteIsReplaced) {
  EXPECT_EQ(s2ws("a\x80z", kUtf8), L"a\ufffdz");
}

TEST(Text, sequenceThatBreaksOffIsReplacedOnce) {
  EXPECT_EQ(s2ws("\xe4\xb8", kUtf8), L"\ufffd");
  EXPECT_EQ(s2ws("\xf0\x9f\x98z", kUtf8), L"\ufffdz");
}

TEST(Text, overlongFormIsReplacedByteByByte) {
  EXPECT_EQ(s2ws("\xc0\xaf", kUtf8), L"\ufffd\ufffd");
  EXPECT_EQ(s2ws("\xe0\x80\xaf", kUtf8), L"\ufffd\ufffd\ufffd");
}

TEST(Text, surrogateInUtf8IsReplaced) {
  EXPECT_EQ(s2ws("\xed\xa0\x80", kUtf8), L"\ufffd\ufffd\ufffd");
}

TEST(Text, codeAboveUnicodeIsReplaced) {
  EXPECT_EQ(s2ws("\xf4\x90\x80\x80", kUtf8), L"\ufffd\ufffd\ufffd\ufffd");
  EXPECT_EQ(s2ws("\xff", kUtf8), L"\ufffd");
}

TEST(Text, wideUnitThatIsNoTextIsReplaced) {
  EXPECT_EQ(ws2s(std::wstring{static_cast<wchar_t>(0xd800), static_cast<wchar_t>(0x110000)}, kUtf8),
            "\xef\xbf\xbd\xef\xbf\xbd");
}

TEST(Text, otherCodePagesAreTakenForUtf8) {
  EXPECT_EQ(s2ws("\xe4\xb8\xad", 936), L"\u4e2d");
  EXPECT_EQ(ws2s(L"\u4e2d", 0), "\xe4\xb8\xad");
}

TEST(Text, conversionDoesNotAskTheLocale) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(s2ws("\xe4\xb8\xad", kUtf8), L"\u4e2d");
  EXPECT_EQ(ws2s(L"\u4e2d", kUtf8), "\xe4\xb8\xad");
  std::setlocale(LC_ALL, before.c_str());
}

TEST(Text, compareOrdersByCodeUnit) {
  EXPECT_EQ(Compare(L"abc", L"abc", false), 0);
  EXPECT_EQ(Compare(L"abc", L"abd", false), -1);
  EXPECT_EQ(Compare(L"b", L"abc", false), 1);
  EXPECT_EQ(Compare(L"ab", L"abc", false), -1);
  EXPECT_EQ(Compare(L"\u4e2d", L"z", false), 1);
  EXPECT_EQ(Compare(L"", L"", false), 0);
}

TEST(Text, compareGoesOnBehindAZero) {
  EXPECT_EQ(Compare(std::wstring(L"a\0b", 3), std::wstring(L"a\0c", 3), false), -1);
}

TEST(Text, compareTellsCasesApartUnlessAskedNotTo) {
  EXPECT_EQ(Compare(L"SH000001", L"sh000001", false), -1);
  EXPECT_EQ(Compare(L"SH000001", L"sh000001", true), 0);
}

TEST(Text, onlyAsciiLettersLoseTheirCase) {
  EXPECT_NE(Compare(L"\u00c4", L"\u00e4", true), 0);
  EXPECT_NE(Compare(L"[", L"{", true), 0);
}

}  // namespace
