#include "desktop/charts/chart_colours.h"

#include <utility>

namespace desktop {

const QColor& ChartColours::Of(cli::Tone tone) const {
  switch (tone) {
    case cli::Tone::kDim:
      return dim;
    case cli::Tone::kRise:
      return up;
    case cli::Tone::kFall:
      return down;
    case cli::Tone::kWarning:
      return warning;
    case cli::Tone::kPlain:
    case cli::Tone::kStrong:
      break;
  }
  return text;
}

const QColor& ChartColours::OfChange(double change) const {
  return change > 0 ? up : change < 0 ? down : flat;
}

ChartColours ChartColours::WithRisesAndFallsExchanged() const {
  ChartColours exchanged = *this;
  std::swap(exchanged.up, exchanged.down);
  return exchanged;
}

const ChartColours& LightChartColours() {
  static const ChartColours* const colours =
      new ChartColours{0xffffff,
                       0xe4e7ec,
                       0x1f2430,
                       0x5f6877,
                       0xd0202e,
                       0x0b8a45,
                       0x5f6877,
                       0x1f5fbf,
                       0xb26a00,
                       0x8a3ffc,
                       {QColor(0x1f5fbf), QColor(0xb26a00), QColor(0xa0309a), QColor(0x3d7a80)}};
  return *colours;
}

const ChartColours& DarkChartColours() {
  static const ChartColours* const colours =
      new ChartColours{0x14171d,
                       0x2a2f39,
                       0xe4e7ec,
                       0x98a1b0,
                       0xff5a5f,
                       0x2ecc71,
                       0x98a1b0,
                       0x7ab3ff,
                       0xf2b84b,
                       0xc79bff,
                       {QColor(0x7ab3ff), QColor(0xf2b84b), QColor(0xe58be0), QColor(0x7fd0d6)}};
  return *colours;
}

}  // namespace desktop
