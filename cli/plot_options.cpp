#include "cli/plot_options.h"

#include <unistd.h>

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>

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

void AddPlotOptions(CLI::App& app, PlotOptions& options) {
  CLI::Option* const plot = app.add_flag("--plot", options.plot, "a chart instead of a table");
  plot->excludes(app.get_option("--json"));
  const auto add = [&](const char* name, int& value, int least, const char* help) {
    app.add_option(name, value, help)
        ->type_name("N")
        ->check(CLI::Range(least, 1000).description(""))
        ->needs(plot);
  };
  add("--columns", options.columns, 40, "width of the chart. Default: that of the terminal, 80 elsewhere");
  add("--rows", options.rows, 12, "height of the chart. Default: that of the terminal, 24 elsewhere");
}

}  // namespace cli
