#include "desktop/charts/volume_bars.h"

#include <qwt_plot_histogram.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace desktop {
namespace {

constexpr double kHalfWidth = 0.35;
constexpr double kAirAbove = 1.08;

}  // namespace

std::size_t SharingABar(double neighbours, int pixels) {
  return static_cast<std::size_t>(std::max(std::ceil(neighbours * 2 / std::max(pixels, 1)), 1.0));
}

std::vector<VolumeBar> Joined(const std::vector<VolumeBar>& bars, std::size_t sharing) {
  std::vector<VolumeBar> joined;
  for (std::size_t first = 0; first < bars.size(); first += sharing) {
    const std::size_t last = std::min(first + sharing, bars.size()) - 1;
    const auto count = static_cast<double>(last - first + 1);
    VolumeBar bar{(bars[first].place + bars[last].place) / 2, 0, bars[last].rise};
    for (std::size_t i = first; i <= last; ++i) {
      bar.volume += bars[i].volume / count;
    }
    joined.push_back(bar);
  }
  return joined;
}

void ShowVolumes(ChartPlot& plot, const std::vector<VolumeBar>& bars, std::size_t sharing) {
  const double half = kHalfWidth * static_cast<double>(sharing);
  plot.Clear();
  double most = 0;
  for (const bool rise : {true, false}) {
    QVector<QwtIntervalSample> samples;
    for (const VolumeBar& bar : bars) {
      most = std::max(most, bar.volume);
      if (bar.rise == rise && bar.volume > 0) {
        samples.push_back({bar.volume, bar.place - half, bar.place + half});
      }
    }
    auto* const histogram = new QwtPlotHistogram;
    histogram->setSymbol(MakeColumn(rise ? CurrentTheme().rise : CurrentTheme().fall));
    histogram->setSamples(samples);
    histogram->attach(&plot);
  }
  plot.SetTicks(QwtPlot::yLeft, 0, most > 0 ? most * kAirAbove : 1,
                most > 0 ? QList<double>{most} : QList<double>{});
}

}  // namespace desktop
