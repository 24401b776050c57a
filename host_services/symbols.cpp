// Kinds of symbols and of trading status, by their texts. No state.
#include "symbols.h"

#include <array>
#include <cwchar>
#include <string_view>
#include <utility>

#include "ascii.h"
#include "host/calendar.h"

namespace stock_host {
namespace {

bool IsDigit(wchar_t c) {
  return c >= L'0' && c <= L'9';
}

}  // namespace

std::wstring SecuritySymbol(std::wstring_view text) {
  if (text.size() != 8) {
    return {};
  }
  std::wstring symbol = Lower(std::wstring(text));
  const bool market = symbol[0] == L's' && (symbol[1] == L'h' || symbol[1] == L'z');
  for (std::size_t i = 2; i < symbol.size(); ++i) {
    if (!IsDigit(symbol[i])) {
      return {};
    }
  }
  return market ? symbol : std::wstring();
}

}  // namespace stock_host

namespace stock {

SymbolType CheckSymbol(const wchar_t* symbol) {
  if (symbol == nullptr) {
    return kSymbolUnknown;
  }
  const std::wstring security = stock_host::SecuritySymbol(symbol);
  if (!security.empty()) {
    return security.starts_with(L"sh000") || security.starts_with(L"sz399") ? kSymbolIndex : kSymbolStock;
  }
  const std::wstring text = stock_host::Lower(std::wstring(symbol));
  return text.size() > 2 && text.starts_with(L"bk") ? kSymbolPlate : kSymbolUnknown;
}

StockStatus ConvertStockStatus(const std::wstring& text) {
  if (text.size() == 1 && text[0] >= L'0' && text[0] <= L'7') {
    return static_cast<StockStatus>(text[0] - L'0');
  }
  // Every one of these words but the first is a halt: 5 and 6, which trade, come as digits only.
  static constexpr std::array<std::pair<std::wstring_view, int>, 15> kWords{{
      {L"normal", 0},
      {L"正常", 0},
      {L"suspended", 1},
      {L"停牌", 1},
      {L"halted", 2},
      {L"临时停牌", 2},
      {L"delisted", 3},
      {L"退市", 3},
      {L"unlisted", 4},
      {L"未上市", 4},
      {L"delisting", 3},
      {L"退市整理", 3},
      {L"paused", 4},
      {L"暂停上市", 4},
      {L"terminated", 7},
  }};
  const std::wstring lower = stock_host::Lower(std::wstring(text));
  for (const auto& [word, status] : kWords) {
    if (lower == word) {
      return static_cast<StockStatus>(status);
    }
  }
  return kStockNormal;
}

}  // namespace stock
