#include "cli/format/index_rows.h"

#include "cli/format/figures.h"

namespace cli {
namespace {

constexpr int kLongestName = 24;
constexpr std::uint32_t kLastIsNull = 1U << 0;
constexpr std::uint32_t kChangeIsNull = 1U << 1;
constexpr std::uint32_t kDiffIsNull = 1U << 2;

}  // namespace

std::vector<Column> IndexColumns() {
  return {{"code", Align::kLeft, 8, kLongestName},
          {"name", Align::kLeft, 10, kLongestName},
          {"last", Align::kRight, 10},
          {"diff", Align::kRight, 9},
          {"change", Align::kRight, 8}};
}

std::vector<Cell> IndexCells(const IndexMarketSummary& quote) {
  const auto has = [&quote](std::uint32_t null_bit) { return (quote.null_flags & null_bit) == 0; };
  const Tone tone = has(kDiffIsNull) ? ToneOf(quote.diff) : ToneOf(quote.change);
  return {{Printable(quote.code)},
          {Printable(quote.name)},
          {has(kLastIsNull) ? Fixed(quote.last, 2) : kNoFigure, tone},
          {has(kDiffIsNull) ? Signed(quote.diff, 2) : kNoFigure, tone},
          {has(kChangeIsNull) ? SignedPercent(quote.change, 2) : kNoFigure, tone}};
}

}  // namespace cli
