#include "cli/views/symbols.h"

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <locale>
#include <utility>

namespace cli {
namespace {

constexpr std::size_t kDigits = 6;

bool AreDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

std::string MarketOf(char first_digit) {
  switch (first_digit) {
    case '0':
    case '1':
    case '2':
    case '3':
      return "sz";
    case '5':
    case '6':
    case '9':
      return "sh";
    default:
      return "";
  }
}

}  // namespace

std::optional<std::wstring> ParseSymbol(std::string_view text) {
  std::string symbol = boost::algorithm::to_lower_copy(std::string(text), std::locale::classic());
  if (symbol.size() == kDigits && AreDigits(symbol)) {
    symbol.insert(0, MarketOf(symbol.front()));
  }
  const std::string_view market = std::string_view(symbol).substr(0, 2);
  if (symbol.size() != kDigits + 2 || (market != "sh" && market != "sz") || !AreDigits(symbol.substr(2))) {
    return std::nullopt;
  }
  return std::wstring(symbol.begin(), symbol.end());
}

std::optional<std::wstring> SymbolIn(std::string_view sentence) {
  constexpr std::string_view kDigitsOfAll = "0123456789";
  std::size_t end = 0;
  for (std::size_t at = sentence.find_first_of(kDigitsOfAll); at != std::string_view::npos;
       at = sentence.find_first_of(kDigitsOfAll, end)) {
    end = std::min(sentence.find_first_not_of(kDigitsOfAll, at), sentence.size());
    if (end - at != kDigits) {
      continue;
    }
    const auto with_market = at >= 2 ? ParseSymbol(sentence.substr(at - 2, kDigits + 2)) : std::nullopt;
    if (auto symbol = with_market ? with_market : ParseSymbol(sentence.substr(at, kDigits))) {
      return symbol;
    }
  }
  return std::nullopt;
}

}  // namespace cli
