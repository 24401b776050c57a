// The words that stand for the numbers of the interfaces in a request. Every number has a word; those outside
// a table have its fallback. Thread-safe: constants only.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>

namespace request {
namespace detail {

// Word `number`, from 1 on; `fallback` for a number that has none.
constexpr std::string_view Word(int number, std::string_view fallback,
                                std::initializer_list<std::string_view> words) {
  const auto place = static_cast<std::size_t>(number) - 1;
  return place < words.size() ? words.begin()[place] : fallback;
}

}  // namespace detail

/// Column of a stock list: 1 "code" to 19 "mc"; else "change".
[[nodiscard]] constexpr std::string_view StockSortField(int number) {
  return detail::Word(number, "change",
                      {"code", "name", "last", "change", "diff", "b1p", "s1p", "tr", "amt", "vol", "pe",
                       "high", "low", "open", "preclose", "amp", "qrr", "cr", "mc"});
}

/// Column of a plate list: as the stock list's but for 6 and 7, and 20 "lead" to 23 "cud"; else "change".
[[nodiscard]] constexpr std::string_view PlateSortField(int number) {
  return number == 6 || number == 7 ? "change"
         : number < 20              ? StockSortField(number)
                       : detail::Word(number - 19, "change", {"lead", "lead_change", "bpin", "cud"});
}

/// Board: 1 "cn_a", 2 "sh_a", 3 "sz_a", 4 "gem", 5 "sme"; else empty.
[[nodiscard]] constexpr std::string_view StockType(int number) {
  return detail::Word(number, "", {"cn_a", "sh_a", "sz_a", "gem", "sme"});
}

/// Kind of plate: 1 "hy" (industry), 2 "gn" (concept); else empty.
[[nodiscard]] constexpr std::string_view PlateType(int number) {
  return detail::Word(number, "", {"hy", "gn"});
}

/// Direction: 1 "asc", 2 "desc"; else empty.
[[nodiscard]] constexpr std::string_view SortDirection(int number) {
  return detail::Word(number, "", {"asc", "desc"});
}

/// K-line period: 1 "day", 2 "week", 3 "month"; else "day".
[[nodiscard]] constexpr std::string_view KLinePeriod(int number) {
  return detail::Word(number, "day", {"day", "week", "month"});
}

/// Price adjustment: 1 "bfq" (none), 2 "qfq" (today's prices hold, the past is adjusted), 3 "hfq" (the
/// listing's hold); else "bfq".
[[nodiscard]] constexpr std::string_view KLineAdjustment(int number) {
  return detail::Word(number, "bfq", {"bfq", "qfq", "hfq"});
}

}  // namespace request
