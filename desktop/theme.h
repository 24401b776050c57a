// Colours of the viewer, light and dark, with rises red and falls green or the other way. One theme is in
// force at a time; main thread only.
#pragma once

#include <QtGui/QColor>
#include <QtGui/QFont>
#include <QtGui/QPalette>

#include <array>

#include "cli/format/table.h"

namespace desktop {

struct Theme {
  bool is_dark = true;
  bool green_up = false;
  QColor window;   ///< between the panes
  QColor base;     ///< of lists and charts
  QColor stripe;   ///< of every second row
  QColor heading;  ///< of titles and headers
  QColor line;     ///< between cells and in charts
  QColor text;
  QColor dim;
  QColor selection;
  QColor accent;
  QColor rise;
  QColor fall;
  QColor warning;
  QColor event;                    ///< a mark on a minute line
  std::array<QColor, 4> averages;  ///< of candles; the first two are a price and its average, too

  [[nodiscard]] QColor Of(cli::Tone tone) const;
  [[nodiscard]] QPalette Palette() const;
  [[nodiscard]] QString StyleSheet() const;
};

[[nodiscard]] Theme MakeTheme(bool is_dark, bool green_up);

/// Puts it in force for all windows. Everything is painted anew.
void SetTheme(const Theme& theme);
[[nodiscard]] const Theme& CurrentTheme();

/// Figures of one width, so that they stand under each other and do not tremble.
[[nodiscard]] QFont FigureFont(double scale = 1, bool bold = false);

/// The text as HTML in that colour.
[[nodiscard]] QString Coloured(const QString& text, const QColor& colour);

/// False when no font of this machine can show Chinese.
[[nodiscard]] bool HasChineseFont();

}  // namespace desktop
