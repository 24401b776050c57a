#include "cli/plot_options.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "cli/terminal.h"

namespace cli {
namespace {

constexpr int kPromptRows = 2;
constexpr int kMostRows = 40;  // higher charts of a day are no clearer

}  // namespace

ChartSize PlotOptions::Size() const {
  ChartSize size;
  if (isatty(STDOUT_FILENO) == 1) {
    const Terminal::Size terminal = Terminal::SizeOf(STDOUT_FILENO);
    size = {terminal.columns, std::min(terminal.rows - kPromptRows, kMostRows)};
  }
  return {columns > 0 ? columns : size.columns, rows > 0 ? rows : size.rows};
}

void AddPlotOptions(Form& form, PlotOptions& options) {
  Option plot = Flag("--plot", "a chart instead of a table", options.plot);
  plot.excludes = {"--json"};
  form.Add(std::move(plot));
  form.Add({.name = "--columns",
            .help = "width of the chart. Default: that of the terminal, 80 elsewhere",
            .take = Into(options.columns, 40, 1000),
            .value = "N",
            .needs = {"--plot"}});
  form.Add({.name = "--rows",
            .help = "height of the chart. Default: that of the terminal, 24 elsewhere",
            .take = Into(options.rows, 12, 1000),
            .value = "N",
            .needs = {"--plot"}});
}

void AddCsvOption(Form& form, bool& csv) {
  Option option = Flag("--csv", "comma-separated values instead of a table", csv);
  option.excludes = {"--json", "--plot"};
  form.Add(std::move(option));
}

}  // namespace cli
