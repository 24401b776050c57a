#include "request/vocabulary.h"

#include <array>
#include <cstddef>

namespace request {
namespace {

// Word `number` of a table that starts at 1; `fallback` for a number outside it and for a gap.
template <std::size_t Size>
std::string_view Word(const std::array<std::string_view, Size>& words, int number,
                      std::string_view fallback) {
  if (number < 1 || static_cast<std::size_t>(number) > Size) {
    return fallback;
  }
  const std::string_view word = words[static_cast<std::size_t>(number) - 1];
  return word.empty() ? fallback : word;
}

constexpr std::array<std::string_view, 19> kStockSortFields = {
    "code", "name", "last", "change", "diff",     "b1p", "s1p", "tr", "amt", "vol",
    "pe",   "high", "low",  "open",   "preclose", "amp", "qrr", "cr", "mc"};

// The bid and ask columns of the stock list are a gap here.
constexpr std::array<std::string_view, 23> kPlateSortFields = {
    "code", "name", "last",     "change", "diff", "",   "",   "tr",   "amt",         "vol",  "pe", "high",
    "low",  "open", "preclose", "amp",    "qrr",  "cr", "mc", "lead", "lead_change", "bpin", "cud"};

constexpr std::array<std::string_view, 5> kStockTypes = {"cn_a", "sh_a", "sz_a", "gem", "sme"};
constexpr std::array<std::string_view, 2> kPlateTypes = {"hy", "gn"};
constexpr std::array<std::string_view, 2> kDirections = {"asc", "desc"};
constexpr std::array<std::string_view, 3> kPeriods = {"day", "week", "month"};
constexpr std::array<std::string_view, 3> kAdjustments = {"bfq", "qfq", "hfq"};

}  // namespace

std::string_view StockSortField(int number) {
  return Word(kStockSortFields, number, "change");
}

std::string_view PlateSortField(int number) {
  return Word(kPlateSortFields, number, "change");
}

std::string_view StockType(int number) {
  return Word(kStockTypes, number, "");
}

std::string_view PlateType(int number) {
  return Word(kPlateTypes, number, "");
}

std::string_view SortDirection(int number) {
  return Word(kDirections, number, "");
}

std::string_view KLinePeriod(int number) {
  return Word(kPeriods, number, "day");
}

std::string_view KLineAdjustment(int number) {
  return Word(kAdjustments, number, "bfq");
}

}  // namespace request
