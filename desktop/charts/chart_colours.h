// The colours of all charts: a value. What a piece of text means is a cli::Tone, as everywhere.
#pragma once

#include <QColor>
#include <array>

#include "cli/format/palette.h"

namespace desktop {

struct ChartColours {
  QColor background;
  QColor grid;
  QColor text;
  QColor dim;  ///< labels of axes
  QColor up;
  QColor down;
  QColor flat;
  QColor line;                     ///< a price, and the cross-hair
  QColor average;                  ///< the average of a minute line
  QColor warning;                  ///< events
  std::array<QColor, 4> averages;  ///< of 5, 10, 20 and 60 candles

  bool operator==(const ChartColours&) const = default;

  [[nodiscard]] const QColor& Of(cli::Tone tone) const;
  [[nodiscard]] const QColor& OfChange(double change) const;
  /// Rises in the colour of falls, and the other way round.
  [[nodiscard]] ChartColours WithRisesAndFallsExchanged() const;
};

/// Rises are red.
[[nodiscard]] const ChartColours& LightChartColours();
[[nodiscard]] const ChartColours& DarkChartColours();

}  // namespace desktop
