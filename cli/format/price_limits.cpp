#include "cli/format/price_limits.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>

namespace cli {
namespace {

constexpr int kNewlyListed = 5;
constexpr std::wstring_view kWideBoards[] = {L"sz300", L"sz301", L"sh688", L"sh689"};

bool StartsWith(std::wstring_view text, std::wstring_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

// In percent; nothing when there is none.
std::optional<int> LimitOf(const StockMarketItem& quote) {
  // The exchanges put an N before the name on the first day and a C on the next four.
  const bool marked =
      quote.name.size() > 1 && (quote.name[0] == L'N' || quote.name[0] == L'C') && quote.name[1] > 0x7f;
  if (marked || static_cast<int>(quote.status) == kNewlyListed) {
    return std::nullopt;
  }
  if (std::any_of(std::begin(kWideBoards), std::end(kWideBoards),
                  [&](std::wstring_view board) { return StartsWith(quote.code, board); })) {
    return 20;
  }
  return StartsWith(quote.name, L"ST") || StartsWith(quote.name, L"*ST") ? 5 : 10;
}

// To the fen, half a fen up.
PlainField<double> Moved(double preclose, int percent) {
  const std::int64_t fen = std::llround(preclose * 100);
  const std::int64_t moved = (fen * (100 + percent) + 50) / 100;
  return {static_cast<double>(moved) / 100, true};
}

}  // namespace

StockMarketItem WithLimitsOfBoard(StockMarketItem quote) {
  if (!quote.limit_up.present || !quote.limit_down.present) {
    return quote;
  }
  constexpr double kHalfAFen = 0.005;
  const std::optional<int> percent = LimitOf(quote);
  const bool can_tell = percent && quote.preclose.present && std::abs(quote.preclose.value) < 1e12;
  quote.limit_up = can_tell ? Moved(quote.preclose.value, *percent) : PlainField<double>();
  quote.limit_down = can_tell ? Moved(quote.preclose.value, -*percent) : PlainField<double>();
  const auto lies_beyond = [&](const auto& price) {
    return price.present && price.value > 0 &&
           (price.value > quote.limit_up.value + kHalfAFen ||
            price.value < quote.limit_down.value - kHalfAFen);
  };
  if (can_tell && (lies_beyond(quote.last) || lies_beyond(quote.high) || lies_beyond(quote.low))) {
    quote.limit_up = {};
    quote.limit_down = {};
  }
  return quote;
}

}  // namespace cli
