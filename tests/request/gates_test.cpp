// What may become part of a path, an address or a statement.
#include "request/gates.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(SymbolGate, takesAMarketAndSixDigitsInAnyCase) {
  for (const wchar_t* symbol : {L"sh600000", L"sz000001", L"SH600000", L"Sz000001", L"sZ000001"}) {
    EXPECT_TRUE(request::IsPlainSymbol(symbol));
  }
}

TEST(SymbolGate, refusesEverythingElse) {
  for (const wchar_t* symbol : {L"", L"sh", L"sh60000", L"sh6000000", L"hs600000", L"sx600000", L"bk000001",
                                L"sh60000a", L" sh60000", L"sh60000 ", L"sh/00000", L"../..000",
                                L"sh\xFF10"
                                L"00000"}) {
    EXPECT_FALSE(request::IsPlainSymbol(symbol));
  }
  EXPECT_FALSE(request::IsPlainSymbol(std::wstring(L"sh60000\0", 8)));
  EXPECT_FALSE(request::IsPlainSymbol(std::wstring(L"sh600000\0", 9)));
}

TEST(VersionGate, takesPrintableAsciiOfUpTo64Characters) {
  for (const char* version :
       {"1", "20240315", "2024-03-15 09:00:00", "v1.2_3~x", "a'b", "(x)", " 1", "1 ", " "}) {
    EXPECT_TRUE(request::IsPlainVersion(version)) << version;
  }
  EXPECT_TRUE(request::IsPlainVersion(std::string(64, '9')));
}

TEST(VersionGate, refusesWhatIsEmptyOrTooLong) {
  EXPECT_FALSE(request::IsPlainVersion(""));
  EXPECT_FALSE(request::IsPlainVersion(std::string(65, '9')));
}

TEST(VersionGate, refusesCharactersWithAMeaningElsewhere) {
  for (const char character : std::string("\"\\/?#%&")) {
    EXPECT_FALSE(request::IsPlainVersion(std::string("1") + character + "2")) << character;
  }
}

TEST(VersionGate, refusesWhatIsNotPrintableAscii) {
  for (int code = 0; code < 256; ++code) {
    if (code >= 0x20 && code <= 0x7E) continue;
    EXPECT_FALSE(request::IsPlainVersion(std::string("1") + static_cast<char>(code) + "2")) << code;
  }
}

TEST(VersionGate, refusesTheNamesOfColumnsInAnyCase) {
  for (const char* name : {"id", "version", "count", "rowid", "oid", "_rowid_", "ID", "Version", "ROWID"}) {
    EXPECT_FALSE(request::IsPlainVersion(name)) << name;
  }
  EXPECT_TRUE(request::IsPlainVersion("idx"));
}

}  // namespace
