#include "cli/plot/candle_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/format/figures.h"

namespace cli {
namespace {

constexpr int kGutter = 12;  // labels of prices and the line after them
constexpr int kBelow = 2;    // rows of the axis and its labels
constexpr int kDateColumns = 13;

Tone ToneOfAverage(int span) {
  return span == 5 ? Tone::kStrong : span == 10 ? Tone::kWarning : span == 20 ? Tone::kPlain : Tone::kDim;
}

enum class Ink { kNone, kWick, kBody };

// One cell of a candle from what stands in its halves.
const char* CellOf(Ink upper, Ink lower, bool hollow) {
  if (upper == Ink::kBody && lower == Ink::kBody) {
    return hollow ? "║" : "┃";
  }
  if (upper == Ink::kBody) {
    return lower == Ink::kWick ? "╿" : "╹";
  }
  if (lower == Ink::kBody) {
    return upper == Ink::kWick ? "╽" : "╻";
  }
  if (upper == Ink::kWick) {
    return lower == Ink::kWick ? "│" : "╵";
  }
  return lower == Ink::kWick ? "╷" : " ";
}

void DrawCandle(Canvas& canvas, const Area& area, int column, const Scale& scale, const KLineCandle& candle) {
  const bool rise = IsRise(candle);
  const int high = scale.HalfAt(candle.high);
  const int low = scale.HalfAt(candle.low);
  const int top = scale.HalfAt(std::max(candle.open, candle.close));
  const int bottom = scale.HalfAt(std::min(candle.open, candle.close));
  const auto ink = [&](int half) {
    if (half >= top && half <= bottom) {
      return Ink::kBody;
    }
    return half >= high && half <= low ? Ink::kWick : Ink::kNone;
  };
  for (int row = std::min(high, top) / 2; row <= std::max(low, bottom) / 2; ++row) {
    canvas.Put(column, area.row + row, CellOf(ink(2 * row), ink(2 * row + 1), rise),
               rise ? Tone::kRise : Tone::kFall);
  }
}

// Each span in its own tone, in dots, behind the candles; what lies outside of `range` has no place.
void DrawAverage(Canvas& canvas, const Area& area, const Range& range, const Average& average,
                 std::size_t count, int step) {
  const Scale scale(range.low, range.high, area.rows);
  const Tone tone = ToneOfAverage(average.span);
  std::optional<std::pair<int, int>> before;
  for (std::size_t i = average.values.size() - std::min(count, average.values.size());
       i < average.values.size(); ++i) {
    const auto place = static_cast<int>(i + count - average.values.size());
    if (!(average.values[i] >= range.low && average.values[i] <= range.high)) {
      before.reset();
      continue;
    }
    const std::pair<int, int> here{(area.column + place * step) * Canvas::kDotColumns,
                                   area.row * Canvas::kDotRows + scale.DotAt(average.values[i])};
    if (before) {
      canvas.Line(before->first, before->second, here.first, here.second, tone);
    }
    before = here;
  }
}

Area PriceArea(const ChartSize& size) {
  const int rows = std::max(size.rows, kLeastChart.rows) - 1 - kBelow;
  return {kGutter, 1, std::max(size.columns, kLeastChart.columns) - kGutter,
          EvenRows(size.rows < kRowsForVolumes ? rows : rows * 3 / 4)};
}

// From one candle to the next.
int StepOf(const Area& area, std::size_t count) {
  return count == 0 ? 1 : std::clamp((area.columns + 1) / static_cast<int>(count), 1, 4);
}

}  // namespace

bool IsRise(const KLineCandle& candle) {
  return candle.close > candle.open || (candle.close == candle.open && candle.close >= candle.preclose);
}

std::vector<KLineCandle> WithPrices(std::vector<KLineCandle> candles) {
  const auto is_price = [](double value) { return std::isfinite(value) && value > 0; };
  std::erase_if(candles, [&](const KLineCandle& candle) { return !is_price(candle.close); });
  for (KLineCandle& candle : candles) {
    for (double* const price : {&candle.open, &candle.high, &candle.low}) {
      *price = is_price(*price) ? *price : candle.close;
    }
  }
  return candles;
}

std::size_t CandlesThatFit(const ChartSize& size) {
  return static_cast<std::size_t>((PriceArea(size).columns + 1) / 2);
}

std::optional<std::size_t> CandleAt(const ChartSize& size, std::size_t count, int column) {
  const Area area = PriceArea(size);
  if (count == 0 || column < area.column || column >= area.column + area.columns) {
    return std::nullopt;
  }
  const int step = StepOf(area, count);
  return std::min(static_cast<std::size_t>((column - area.column + step / 2) / step), count - 1);
}

std::vector<Average> Averages(const std::vector<KLineCandle>& candles, std::size_t count) {
  std::vector<Average> averages;
  for (const int span : {5, 10, 20, 60}) {
    Average average{span, {}};
    const auto length = static_cast<std::size_t>(span);
    double sum = 0;
    for (std::size_t i = 0; i < candles.size(); ++i) {
      sum += candles[i].close - (i >= length ? candles[i - length].close : 0);
      if (candles.size() - i <= count) {
        average.values.push_back(i + 1 >= length ? sum / span : std::numeric_limits<double>::quiet_NaN());
      }
    }
    averages.push_back(std::move(average));
  }
  return averages;
}

std::vector<StyledLine> CandleChart(const std::vector<KLineCandle>& candles, const CandleChartLook& look) {
  const ChartSize& size = look.size;
  const Area prices = PriceArea(size);
  Canvas canvas(prices.column + prices.columns, std::max(size.rows, kLeastChart.rows));
  const int gap = size.rows < kRowsForVolumes ? 0 : 1;
  const Area volumes{prices.column, prices.row + prices.rows + gap, prices.columns,
                     gap == 0 ? 0 : canvas.rows() - kBelow - prices.row - prices.rows - gap};
  const std::size_t count = std::min(candles.size(), static_cast<std::size_t>(prices.columns));
  const auto first = candles.end() - static_cast<std::ptrdiff_t>(count);
  const int step = StepOf(prices, count);

  Range range;
  std::uint64_t most = 0;
  for (auto candle = first; candle != candles.end(); ++candle) {
    range.low = std::min({range.low, candle->low, candle->open, candle->close});
    range.high = std::max({range.high, candle->high, candle->open, candle->close});
    most = std::max(most, candle->volume);
  }
  const Scale scale(range.low, range.high, prices.rows);
  std::vector<BottomLabel> dates;
  int column = prices.column;
  int labelled_until = 0;
  for (const Average& average : look.averages) {
    DrawAverage(canvas, prices, range, average, count, step);
  }
  for (auto candle = first; candle != candles.end(); ++candle, column += step) {
    if (look.cross && candles.begin() + static_cast<std::ptrdiff_t>(*look.cross) == candle) {
      for (int row = prices.row; row < volumes.row + volumes.rows; ++row) {
        canvas.Put(column, row, "┆", Tone::kStrong);
      }
    }
    DrawCandle(canvas, prices, column, scale, *candle);
    if (most > 0) {
      DrawBar(canvas, volumes, column, static_cast<double>(candle->volume) / static_cast<double>(most),
              IsRise(*candle) ? Tone::kRise : Tone::kFall);
    }
    if (column >= labelled_until) {
      dates.push_back({column, DateText(candle->date)});
      labelled_until = column + kDateColumns;
    }
  }
  std::vector<SideLabel> labels;
  for (const int row : LabelledRows(prices)) {
    labels.push_back({row, count > 0 ? Fixed(scale.ValueAt(row - prices.row), 2) : kNoFigure});
  }
  DrawLeftAxis(canvas, prices, labels);
  if (volumes.rows > 0) {
    DrawLeftAxis(canvas, volumes, {{volumes.row, ShortAmount(static_cast<double>(most))}});
  }
  DrawBottomAxis(canvas, volumes, dates);
  StyledLine title = look.title;
  for (const Average& average : look.averages) {
    if (!average.values.empty()) {
      const double value = average.values[look.cross.value_or(average.values.size() - 1)];
      title.push_back({"  MA" + std::to_string(average.span) + " " + Fixed(value, 2), Tone::kDim});
    }
  }
  return WithTitle(title, canvas);
}

}  // namespace cli
