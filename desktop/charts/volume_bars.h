// Bars of volumes on a plot of their own, in the colours of rises and falls. Used by the UI thread.
#pragma once

#include <cstddef>
#include <vector>

#include "desktop/charts/chart_plot.h"

namespace desktop {

struct VolumeBar {
  double place = 0;  ///< on the bottom scale; its neighbour stands 1 beside it
  double volume = 0;
  bool rise = true;
};

/// How many neighbours share a bar, so that each bar has two pixels at least.
[[nodiscard]] std::size_t SharingABar(double neighbours, int pixels);

/// `bars` with so many of them as one: their mean, in the direction of the last.
[[nodiscard]] std::vector<VolumeBar> Joined(const std::vector<VolumeBar>& bars, std::size_t sharing);

/// Replaces what the plot shows by bars that `sharing` places share, and labels its left scale by the largest
/// volume.
void ShowVolumes(ChartPlot& plot, const std::vector<VolumeBar>& bars, std::size_t sharing);

}  // namespace desktop
