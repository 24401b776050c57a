#include "cli/plot/minute_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/plot/scale.h"

namespace cli {
namespace {

constexpr int kLeastDayColumns = 6;
constexpr int kAxisRows = 2;  // rows of the axis and its labels

ChartSize AtLeast(const ChartSize& size) {
  return {std::max(size.columns, kLeastChart.columns), std::max(size.rows, kLeastChart.rows)};
}

// The places of prices and volumes.
struct Layout {
  Area prices;
  Area volumes;
};

Layout LayOut(const ChartSize& size, int left, int right) {
  const int columns = size.columns - left - 2 - (right > 0 ? right + 2 : 0);
  const int rows = size.rows - 1 - kAxisRows;
  if (size.rows < kRowsForVolumes) {
    const int all = EvenRows(rows);
    return {{left + 2, 1, columns, all}, {left + 2, 1 + all, columns, 0}};
  }
  const int prices = EvenRows(rows * 3 / 4);
  const int volumes = std::max(rows - prices - 1, 1);
  return {{left + 2, 1, columns, prices}, {left + 2, 1 + prices + 1, columns, volumes}};
}

// The minutes that share a column.
struct Volume {
  std::uint64_t sum = 0;
  std::uint64_t minutes = 0;
  Tone tone = Tone::kPlain;

  [[nodiscard]] std::uint64_t Mean() const { return minutes == 0 ? 0 : sum / minutes; }
};

std::vector<Volume> VolumesOf(const MLineDay& day, double preclose, int columns) {
  std::vector<Volume> volumes(static_cast<std::size_t>(std::max(columns, 1)));
  double before = preclose;
  for (const MinutePoint& point : day.points) {
    const int minute = SessionMinute(point.time);
    if (minute >= 0) {
      Volume& volume = volumes[static_cast<std::size_t>(minute * (columns - 1) / kSessionMinutes)];
      volume.sum += point.volume;
      ++volume.minutes;
      volume.tone = point.price < before ? Tone::kFall : Tone::kRise;
    }
    before = point.price;
  }
  return volumes;
}

// The largest volume of a column of a day that is `columns` wide.
std::uint64_t MostIn(const MLineDay& day, int columns) {
  std::uint64_t most = 0;
  for (const Volume& volume : VolumesOf(day, 0, columns)) {
    most = std::max(most, volume.Mean());
  }
  return most;
}

Curve CurveOf(const MLineDay& day, double MinutePoint::*value, Tone tone, bool dotted) {
  Curve curve{{}, tone, dotted};
  for (const MinutePoint& point : day.points) {
    curve.points.push_back({SessionMinute(point.time), point.*value});
  }
  return curve;
}

// One day with its volumes, of which `most` fills the height.
void DrawDay(Canvas& canvas, const Layout& layout, const Scale& scale, std::uint64_t most,
             const MLineDay& day, double preclose, bool average) {
  if (average) {
    DrawCurve(canvas, layout.prices, scale, CurveOf(day, &MinutePoint::avg_price, Tone::kWarning, true));
  }
  DrawCurve(canvas, layout.prices, scale, CurveOf(day, &MinutePoint::price, Tone::kStrong, false));
  const std::vector<Volume> volumes = VolumesOf(day, preclose, layout.volumes.columns);
  for (std::size_t i = 0; i < volumes.size() && most > 0; ++i) {
    DrawBar(canvas, layout.volumes, layout.volumes.column + static_cast<int>(i),
            static_cast<double>(volumes[i].Mean()) / static_cast<double>(most), volumes[i].tone);
  }
}

Layout DayLayout(const Layout& layout, int day, int days) {
  const int begin = layout.prices.columns * day / days;
  const int columns = layout.prices.columns * (day + 1) / days - begin - (day + 1 < days ? 1 : 0);
  Layout part = layout;
  part.prices.column += begin;
  part.prices.columns = columns;
  part.volumes.column += begin;
  part.volumes.columns = columns;
  return part;
}

// What is drawn where: the days that there is room for, and what stands beside them.
struct Frame {
  std::vector<MLineDay> days;
  Scale scale;
  std::vector<SideLabel> prices;
  std::vector<SideLabel> rates;
  Layout layout;
};

Frame FrameOf(const StockMLineData& line, const MinuteChartLook& look) {
  const ChartSize size = AtLeast(look.size);
  std::vector<MLineDay> days = line.days;
  const auto most_days = static_cast<std::size_t>(size.columns / 2 / kLeastDayColumns);
  if (days.size() > most_days) {
    days.erase(days.begin(), days.end() - static_cast<std::ptrdiff_t>(most_days));
  }
  const bool has_preclose = line.preclose > 0;
  const Range range = RangeOfDays(days, line.preclose, look.average);

  // The gutters are as wide as their labels, which need the scale: rows are known beforehand.
  const Area rows = LayOut(size, 0, 0).prices;
  const Scale scale(range.low, range.high, rows.rows);
  std::vector<SideLabel> prices;
  std::vector<SideLabel> rates;
  for (const int row : LabelledRows(rows)) {
    const double value = scale.ValueAt(row - rows.row);
    const Tone tone = has_preclose ? ToneOf(std::round((value - line.preclose) * 1000)) : Tone::kDim;
    prices.push_back({row, Fixed(value, 2), tone});
    if (has_preclose) {
      rates.push_back({row, SignedPercent((value - line.preclose) / line.preclose * 100, 2), tone});
    }
  }
  const Layout layout = LayOut(size, std::max(WidestLabel(prices), 8), WidestLabel(rates));
  return {std::move(days), scale, std::move(prices), std::move(rates), layout};
}

}  // namespace

std::optional<std::size_t> PointAt(const StockMLineData& line, const MinuteChartLook& look, int column) {
  const Frame frame = FrameOf(line, look);
  const int count = static_cast<int>(frame.days.size());
  if (count == 0 || frame.days.back().points.empty()) {
    return std::nullopt;
  }
  const Area area = DayLayout(frame.layout, count - 1, count).prices;
  if (column < area.column || column >= area.column + area.columns) {
    return std::nullopt;
  }
  const std::vector<MinutePoint>& points = frame.days.back().points;
  const auto nearest = std::ranges::min_element(points, {}, [&](const MinutePoint& point) {
    return std::abs(ColumnAt(area, SessionMinute(point.time)) - column);
  });
  return static_cast<std::size_t>(nearest - points.begin());
}

std::vector<StyledLine> MinuteChart(const StockMLineData& line, const MinuteChartLook& look) {
  const ChartSize size = AtLeast(look.size);
  const auto [days, scale, prices, rates, layout] = FrameOf(line, look);
  const bool has_preclose = line.preclose > 0;
  Canvas canvas(size.columns, size.rows);
  const int count = static_cast<int>(days.size());
  std::uint64_t most = 0;
  for (int i = 0; i < count; ++i) {
    most = std::max(most,
                    MostIn(days[static_cast<std::size_t>(i)], DayLayout(layout, i, count).volumes.columns));
  }
  std::vector<BottomLabel> labels = count <= 1 ? SessionLabels(layout.volumes) : std::vector<BottomLabel>();
  for (int i = 0; i < count; ++i) {
    const MLineDay& day = days[static_cast<std::size_t>(i)];
    const Layout part = DayLayout(layout, i, count);
    DrawDay(canvas, part, scale, most, day, line.preclose, look.average);
    if (count > 1) {
      labels.push_back({part.volumes.column + part.volumes.columns / 2, DateText(day.date).substr(5)});
    }
    if (i + 1 < count) {
      for (int row = layout.prices.row; row < layout.volumes.row + layout.volumes.rows; ++row) {
        canvas.PutBehind(part.prices.column + part.prices.columns, row, "┊", Tone::kDim);
      }
    }
  }
  if (look.cross && count > 0 && SessionMinute(*look.cross) >= 0) {
    const int column = ColumnAt(DayLayout(layout, count - 1, count).prices, SessionMinute(*look.cross));
    for (int row = layout.prices.row; row < layout.volumes.row + layout.volumes.rows; ++row) {
      canvas.PutBehind(column, row, "┆", Tone::kStrong);
    }
  }
  if (has_preclose) {
    DrawBaseline(canvas, layout.prices,
                 layout.prices.row + static_cast<int>(std::lround(scale.Place(line.preclose))));
  }
  DrawLeftAxis(canvas, layout.prices, prices);
  if (layout.volumes.rows > 0) {
    DrawLeftAxis(canvas, layout.volumes,
                 {{layout.volumes.row, ShortAmount(static_cast<double>(most)), Tone::kDim}});
  }
  if (has_preclose) {
    DrawRightAxis(canvas, layout.prices, rates);
    DrawRightAxis(canvas, layout.volumes, {});
  }
  DrawBottomAxis(canvas, layout.volumes, labels);
  return WithTitle(look.title, canvas);
}

std::vector<StyledLine> SessionChart(const std::vector<Curve>& curves, int decimals, const StyledLine& title,
                                     const ChartSize& wanted) {
  const ChartSize size = AtLeast(wanted);
  Range range;
  for (const Curve& curve : curves) {
    for (const SessionPoint& point : curve.points) {
      range.Add(point.value);
    }
  }
  Area area{0, 1, 0, EvenRows(size.rows - 1 - kAxisRows)};
  const Scale scale(range.low, range.high, area.rows);
  std::vector<SideLabel> labels;
  for (const int row : LabelledRows(area)) {
    labels.push_back({row, Fixed(scale.ValueAt(row - area.row), decimals), Tone::kDim});
  }
  area.column = WidestLabel(labels) + 2;
  area.columns = size.columns - area.column;
  Canvas canvas(size.columns, area.row + area.rows + kAxisRows);
  for (const Curve& curve : curves) {
    DrawCurve(canvas, area, scale, curve);
  }
  if (range.low < 0 && range.high > 0) {
    DrawBaseline(canvas, area, area.row + static_cast<int>(std::lround(scale.Place(0))));
  }
  DrawLeftAxis(canvas, area, labels);
  DrawBottomAxis(canvas, area, SessionLabels(area));
  return WithTitle(title, canvas);
}

}  // namespace cli
