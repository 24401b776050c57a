// Symbols as users type them, understood without asking anybody. Pure functions. What the market knows is a
// matter of securities.h.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cli {

/// The symbol of a stock or an index, "sh600000": market and six digits in any case, or six digits alone,
/// whose first one decides the market (0 to 3 Shenzhen, 5, 6 and 9 Shanghai). Nothing for anything else.
[[nodiscard]] std::optional<std::wstring> ParseSymbol(std::string_view text);

/// The first symbol of that kind in a sentence: "浦发银行(600000)封涨停板". Six digits of a longer number are
/// none.
[[nodiscard]] std::optional<std::wstring> SymbolIn(std::string_view sentence);

}  // namespace cli
