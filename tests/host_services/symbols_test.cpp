// Kinds of symbols, the gate of symbols, and trading status by its text.
#include "symbols.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "host/calendar.h"

namespace {

using stock::CheckSymbol;
using stock::ConvertStockStatus;
using stock_host::SecuritySymbol;

TEST(CheckSymbol, indices) {
  for (const wchar_t* symbol : {L"sh000001", L"SH000300", L"Sz399001", L"sz399999"}) {
    EXPECT_EQ(CheckSymbol(symbol), stock::kSymbolIndex) << symbol;
  }
}

TEST(CheckSymbol, stocks) {
  for (const wchar_t* symbol :
       {L"sh600000", L"sz000001", L"SZ300750", L"sh688981", L"sh001000", L"sz398999"}) {
    EXPECT_EQ(CheckSymbol(symbol), stock::kSymbolStock) << symbol;
  }
}

TEST(CheckSymbol, plates) {
  for (const wchar_t* symbol :
       {L"bk0475", L"BK0475", L"bk_hy_12", L"bk-1", L"bK 1", L"bk/..", L"bk\u94f6\u884c"}) {
    EXPECT_EQ(CheckSymbol(symbol), stock::kSymbolPlate) << symbol;
  }
}

TEST(CheckSymbol, everythingElseIsUnknown) {
  EXPECT_EQ(CheckSymbol(nullptr), stock::kSymbolUnknown);
  for (const wchar_t* symbol :
       {L"", L"s", L"sh", L"sh00001", L"sh0000011", L"sh00000a", L" sh000001", L"sh000001 ", L"bj430047",
        L"bk", L"kb0475", L" bk1", L"b", L"sh\xff10\xff10\xff10\xff10\xff10\xff11", L"sh-00001", L"../../x",
        L"hs000001", L"\u0455h000001"}) {
    EXPECT_EQ(CheckSymbol(symbol), stock::kSymbolUnknown) << symbol;
  }
}

TEST(SecuritySymbol, letsSymbolsThroughInLowerCase) {
  EXPECT_EQ(SecuritySymbol(L"SH600000"), L"sh600000");
  EXPECT_EQ(SecuritySymbol(L"sz000001"), L"sz000001");
}

TEST(SecuritySymbol, stopsEverythingElse) {
  for (const std::wstring& text :
       std::vector<std::wstring>{L"", L"bk0475", L"sh60000", L"sh6000000", L"sh60000/", L"sh60000.",
                                 L"sh600000\n", std::wstring(L"sh60000\0", 8), std::wstring(L"sh600000\0", 9),
                                 L"s\u0125600000", L"sh\u0661\u0661\u0661\u0661\u0661\u0661"}) {
    EXPECT_EQ(SecuritySymbol(text), L"") << text;
  }
}

TEST(ConvertStockStatus, digitsAreTheirNumber) {
  for (int status = 0; status <= 7; ++status) {
    EXPECT_EQ(ConvertStockStatus(std::to_wstring(status)), status);
  }
}

TEST(ConvertStockStatus, knownWordsHaveTheirNumber) {
  for (const auto& [word, status] :
       std::vector<std::pair<std::wstring, int>>{{L"normal", 0},
                                                 {L"Suspended", 1},
                                                 {L"\u505c\u724c", 1},
                                                 {L"halted", 2},
                                                 {L"\u4e34\u65f6\u505c\u724c", 2},
                                                 {L"delisted", 3},
                                                 {L"\u9000\u5e02", 3},
                                                 {L"unlisted", 4},
                                                 {L"\u672a\u4e0a\u5e02", 4},
                                                 {L"delisting", 3},
                                                 {L"\u9000\u5e02\u6574\u7406", 3},
                                                 {L"PAUSED", 4},
                                                 {L"\u6682\u505c\u4e0a\u5e02", 4},
                                                 {L"terminated", 7}}) {
    EXPECT_EQ(ConvertStockStatus(word), status) << word;
  }
}

// 5 is new and 6 is ex rights: such a security trades, and its prices are shown.
TEST(ConvertStockStatus, noWordForAHaltIsANumberThatTrades) {
  for (const wchar_t* word :
       {L"suspended", L"\u505c\u724c", L"halted", L"delisted", L"unlisted", L"delisting",
        L"\u9000\u5e02\u6574\u7406", L"paused", L"\u6682\u505c\u4e0a\u5e02", L"terminated"}) {
    const int status = ConvertStockStatus(word);
    EXPECT_TRUE((status >= 1 && status <= 4) || status == 7) << word << ": " << status;
  }
}

TEST(ConvertStockStatus, emptyAndUnknownAreNormal) {
  for (const std::wstring& text : std::vector<std::wstring>{L"", L"8", L"-1", L"12", L" 1", L"what",
                                                            L"\uff11", std::wstring(L"1\0", 2)}) {
    EXPECT_EQ(ConvertStockStatus(text), stock::kStockNormal) << text;
  }
}

}  // namespace
