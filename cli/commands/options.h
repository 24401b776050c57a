// What commands take, each option added to a command by one call: the names, the help and where it
// goes. Values and the functions that fill them. Main thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/args/option.h"
#include "cli/run/show.h"
#include "cli/views/list_views.h"

namespace cli {

/// What was typed after a command that shows something. Each command fills some of it.
struct Chosen {
  ShowOptions show;
  bool plot = false;
  ChartSize chart{0, 0};  ///< 0: that of the terminal
  ListChoice list;
  std::vector<std::string> symbols;
  std::string text;
  std::uint32_t date = 0;  ///< 0: today
  int days = 1;
  int period = kByDay;
  int adjustment = kUnadjusted;
  std::optional<std::size_t> last;
  std::size_t limit = 20;
  std::int32_t count = 10;
  bool five_minutes = false;
  std::string list_name = "stocks";
  int kind = 1;
  std::uint32_t year = 0;  ///< 0: this year
};

/// The options of a simulated market, as a separate group.
void AddSimulationOptions(Form& form, market_server::Options& options);
/// --server and the simulation's options, which exclude each other.
void AddMarketOptions(Form& form, SessionOptions& options);
/// --replay; after those of the market.
void AddReplayOption(Form& form, SessionOptions& session);
void AddLanguageOption(Form& form);
/// --json, --no-color, --quiet, --lang.
void AddOutputOptions(Form& form, ShowOptions& options);
/// All of these, --csv and --replay.
void AddQueryOptions(Form& form, Chosen& chosen);
void AddForOption(Form& form, std::optional<double>& seconds);
void AddIntervalOption(Form& form, double& interval);
/// Those of every query, --for, --count and --interval.
void AddWatchOptions(Form& form, Chosen& chosen);

/// An option that takes one of the names; `number` until then is the default. A wrong name is a usage error
/// that lists the right ones.
void AddChoice(Form& form, const std::string& option, Choices choices, const std::string& description,
               int& number);
/// --sort, --asc, --desc; `order.columns` and the defaults must be set already.
void AddSortOptions(Form& form, Order& order);
/// --rows into `rows`; `standard` is what holds without it.
void AddRowsOption(Form& form, std::optional<RowRange>& rows, const RowRange& standard);
/// --columns: those of a list.
void AddColumnsOption(Form& form, const ListLook& look, std::string& names);
/// --date into `date`.
void AddDateOption(Form& form, std::uint32_t& date, const std::string& help);
/// --plot, --columns and --rows. A chart excludes --json and --csv.
void AddPlotOptions(Form& form, Chosen& chosen);
/// YYYYMMDD for "20240315" or "2024-03-15"; nothing for a text that is no day of the calendar from 1990 to
/// 2099.
[[nodiscard]] std::optional<std::uint32_t> ParseDate(const std::string& text);

}  // namespace cli
