// The options of commands that draw charts. Values, without any locking.
#pragma once

#include "cli/command.h"
#include "cli/plot/axes.h"

namespace cli {

struct PlotOptions {
  bool plot = false;
  int columns = 0;  ///< 0: those of the terminal
  int rows = 0;

  /// What a chart on standard output may take: the terminal without the rows of the next prompt, 80 by 24
  /// elsewhere.
  [[nodiscard]] ChartSize Size() const;
};

/// Adds --plot, --columns and --rows. A chart and --json exclude each other.
void AddPlotOptions(Form& form, PlotOptions& options);

/// Adds --csv, which excludes a chart and --json, too.
void AddCsvOption(Form& form, bool& csv);

}  // namespace cli
