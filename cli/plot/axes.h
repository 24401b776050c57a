// What frames a chart: values at its sides, times or dates below it, and bars and curves in it. Pure drawing
// on a canvas.
#pragma once

#include <string>
#include <vector>

#include "cli/plot/canvas.h"
#include "cli/plot/scale.h"

namespace cli {

/// How large a chart may be, in columns and rows of a terminal.
struct ChartSize {
  int columns = 80;
  int rows = 24;
};

/// What a chart takes at least, however small it may be.
inline constexpr ChartSize kLeastChart{40, 8};
/// In fewer rows the volumes are left out below the prices.
inline constexpr int kRowsForVolumes = 12;

/// Cells of a canvas.
struct Area {
  int column = 0;
  int row = 0;
  int columns = 0;
  int rows = 0;
};

/// A text beside a row of the canvas.
struct SideLabel {
  int row;
  std::string text;
  Tone tone = Tone::kDim;
};

/// A text below a column of the canvas.
struct BottomLabel {
  int column;
  std::string text;
};

/// At most `rows`, and so many that five labels have equal distances; at least five.
[[nodiscard]] int EvenRows(int rows);

/// Five rows from the top of an area to its end, as evenly as it goes; fewer when it is lower than that.
[[nodiscard]] std::vector<int> LabelledRows(const Area& area);

/// The widest text of the labels, in columns.
[[nodiscard]] int WidestLabel(const std::vector<SideLabel>& labels);

/// An upright line at the left of the area, and the labels before it.
void DrawLeftAxis(Canvas& canvas, const Area& area, const std::vector<SideLabel>& labels);
/// The same at its right, the labels after it.
void DrawRightAxis(Canvas& canvas, const Area& area, const std::vector<SideLabel>& labels);
/// A line below the area with a mark for every label, and the labels below it, each under its mark as far as
/// the canvas allows. Of labels that would touch each other the one that is given first is shown.
void DrawBottomAxis(Canvas& canvas, const Area& area, const std::vector<BottomLabel>& labels);

/// The column of a minute of the session in an area that is one day wide.
[[nodiscard]] int ColumnAt(const Area& area, int minute);

/// The times of a trading day below an area that is one day wide.
[[nodiscard]] std::vector<BottomLabel> SessionLabels(const Area& area);

/// A bar of `part` (0 to 1) of the area's height, from its last row up.
void DrawBar(Canvas& canvas, const Area& area, int column, double part, Tone tone);

/// A value at a minute of the session.
struct SessionPoint {
  int minute;
  double value;

  bool operator==(const SessionPoint&) const = default;
};

struct Curve {
  std::vector<SessionPoint> points;
  Tone tone = Tone::kPlain;
  bool dotted = false;

  bool operator==(const Curve&) const = default;
};

/// A curve in an area that is one day wide; a dotted one has its dots at equal distances however wide that
/// is.
void DrawCurve(Canvas& canvas, const Area& area, const Scale& scale, const Curve& curve);

/// What is drawn below `title`, of which only cells that there is room for are left.
[[nodiscard]] std::vector<StyledLine> WithTitle(const StyledLine& title, const Canvas& canvas);

/// A dashed line across a row, behind what is drawn already.
void DrawBaseline(Canvas& canvas, const Area& area, int row);

}  // namespace cli
