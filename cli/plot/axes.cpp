#include "cli/plot/axes.h"

#include <algorithm>
#include <cmath>

#include "cli/format/text.h"

namespace cli {
namespace {

constexpr int kLabelledRows = 5;
constexpr int kDotDistance = 3;  // of a dotted curve

void DrawSideLine(Canvas& canvas, const Area& area, int column, const std::vector<SideLabel>& labels,
                  const char* mark) {
  for (int row = area.row; row < area.row + area.rows; ++row) {
    const bool labelled =
        std::any_of(labels.begin(), labels.end(), [row](const SideLabel& label) { return label.row == row; });
    canvas.Put(column, row, labelled ? mark : "│", Tone::kDim);
  }
}

}  // namespace

int EvenRows(int rows) {
  return std::max(rows - (rows - 1) % (kLabelledRows - 1), kLabelledRows);
}

std::vector<int> LabelledRows(const Area& area) {
  std::vector<int> rows;
  const int count = std::clamp(area.rows, 0, kLabelledRows);
  rows.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    rows.push_back(area.row + (count == 1 ? 0 : i * (area.rows - 1) / (count - 1)));
  }
  return rows;
}

int WidestLabel(const std::vector<SideLabel>& labels) {
  int width = 0;
  for (const SideLabel& label : labels) {
    width = std::max(width, DisplayWidth(label.text));
  }
  return width;
}

void DrawLeftAxis(Canvas& canvas, const Area& area, const std::vector<SideLabel>& labels) {
  DrawSideLine(canvas, area, area.column - 1, labels, "┤");
  for (const SideLabel& label : labels) {
    canvas.Write(area.column - 2 - DisplayWidth(label.text), label.row, label.text, label.tone);
  }
}

void DrawRightAxis(Canvas& canvas, const Area& area, const std::vector<SideLabel>& labels) {
  DrawSideLine(canvas, area, area.column + area.columns, labels, "├");
  for (const SideLabel& label : labels) {
    canvas.Write(area.column + area.columns + 2, label.row, label.text, label.tone);
  }
}

void DrawBottomAxis(Canvas& canvas, const Area& area, const std::vector<BottomLabel>& labels) {
  const int row = area.row + area.rows;
  canvas.Put(area.column - 1, row, "└", Tone::kDim);
  for (int column = area.column; column < area.column + area.columns; ++column) {
    canvas.Put(column, row, "─", Tone::kDim);
  }
  std::vector<std::pair<int, int>> taken;
  for (const BottomLabel& label : labels) {
    const int width = DisplayWidth(label.text);
    const int begin = std::clamp(label.column - width / 2, 0, std::max(canvas.columns() - width, 0));
    const int end = begin + width;
    const bool free = std::none_of(taken.begin(), taken.end(), [begin, end](const auto& other) {
      return begin <= other.second && other.first <= end;
    });
    if (free) {
      taken.emplace_back(begin, end);
      canvas.Put(label.column, row, "┬", Tone::kDim);
      canvas.Write(begin, row + 1, label.text, Tone::kDim);
    }
  }
}

int ColumnAt(const Area& area, int minute) {
  return area.column + minute * (area.columns - 1) / kSessionMinutes;
}

std::vector<BottomLabel> SessionLabels(const Area& area) {
  return {{ColumnAt(area, 0), "09:30"},
          {ColumnAt(area, kSessionMinutes), "15:00"},
          {ColumnAt(area, kSessionMinutes / 2), "11:30/13:00"},
          {ColumnAt(area, kSessionMinutes / 4), "10:30"},
          {ColumnAt(area, kSessionMinutes * 3 / 4), "14:00"}};
}

void DrawBar(Canvas& canvas, const Area& area, int column, double part, Tone tone) {
  const double height = std::isfinite(part) ? std::clamp(part, 0.0, 1.0) * area.rows : 0.0;
  for (int i = 0; i < area.rows && height > i; ++i) {
    const char* const bar = EighthFromBelow(height - i);
    if (*bar != ' ') {
      canvas.Put(column, area.row + area.rows - 1 - i, bar, tone);
    }
  }
}

void DrawCurve(Canvas& canvas, const Area& area, const Scale& scale, const Curve& curve) {
  const int left = area.column * Canvas::kDotColumns;
  const int top = area.row * Canvas::kDotRows;
  const int dots = area.columns * Canvas::kDotColumns;
  const SessionPoint* before = nullptr;
  for (const SessionPoint& point : curve.points) {
    if (point.minute < 0 || !std::isfinite(point.value)) {
      continue;
    }
    const auto x = [&](const SessionPoint& at) { return left + at.minute * (dots - 1) / kSessionMinutes; };
    const auto y = [&](const SessionPoint& at) { return top + scale.DotAt(at.value); };
    const SessionPoint& from = before == nullptr ? point : *before;
    if (!curve.dotted) {
      canvas.Line(x(from), y(from), x(point), y(point), curve.tone);
    }
    for (int dot = x(from); curve.dotted && dot <= x(point); ++dot) {
      if (dot % kDotDistance == 0) {
        const double part =
            x(point) == x(from) ? 1 : static_cast<double>(dot - x(from)) / (x(point) - x(from));
        canvas.Dot(dot, top + scale.DotAt(from.value + (point.value - from.value) * part), curve.tone);
      }
    }
    before = &point;
  }
}

std::vector<StyledLine> WithTitle(const StyledLine& title, const Canvas& canvas) {
  std::vector<StyledLine> lines = canvas.Lines();
  if (!lines.empty()) {
    lines.front() = WholeCells(title, canvas.columns());
  }
  return lines;
}

void DrawBaseline(Canvas& canvas, const Area& area, int row) {
  for (int column = area.column; column < area.column + area.columns; ++column) {
    canvas.PutBehind(column, row, "┄", Tone::kDim);
  }
}

}  // namespace cli
