#include "cli/format/record_rows.h"

#include <cmath>
#include <limits>

#include "cli/format/figures.h"

namespace cli {
namespace {

constexpr int kWidestText = 24;

std::string Written(double figure, Writing writing) {
  switch (writing) {
    case Writing::kSignedPrice:
      return Signed(figure, 2);
    case Writing::kPercent:
      return std::isfinite(figure) ? Fixed(figure, 2) + "%" : kNoFigure;
    case Writing::kSignedPercent:
      return SignedPercent(figure, 2);
    case Writing::kAmount:
      return ShortAmount(figure);
    case Writing::kWhole:
      return Fixed(figure, 0);
    case Writing::kText:
    case Writing::kPrice:
    case Writing::kRatio:
      break;
  }
  return Fixed(figure, 2);
}

bool IsSigned(Writing writing) {
  return writing == Writing::kSignedPrice || writing == Writing::kSignedPercent;
}

}  // namespace

Cell CellOf(const MemberValue& value, const MemberColumn& column, std::optional<double> toned_by) {
  if (column.writing == Writing::kText) {
    return {Printable(value.text), Tone::kPlain};
  }
  // Figures that may move keep a column for the mark, so that they stand under each other with and without.
  const char* const no_mark = value.moves ? " " : "";
  if (!value.figure) {
    return {std::string(kNoFigure) + no_mark, Tone::kPlain};
  }
  std::string text = Written(*value.figure, column.writing);
  if (value.direction > 0) {
    text += kRose;
  } else {
    text += value.direction < 0 ? kFell : no_mark;
  }
  if (!column.toned_by.empty()) {
    return {text, ToneOf(toned_by.value_or(0))};
  }
  return {text, ToneOf(IsSigned(column.writing) ? *value.figure : value.direction)};
}

std::vector<Column> ColumnsOf(std::span<const MemberColumn> columns) {
  std::vector<Column> result;
  for (const MemberColumn& column : columns) {
    const bool is_text = column.writing == Writing::kText;
    result.push_back({std::string(column.title.empty() ? column.member : column.title),
                      is_text ? Align::kLeft : Align::kRight, column.min_width,
                      is_text ? kWidestText : std::numeric_limits<int>::max(), column.rank});
  }
  return result;
}

}  // namespace cli
