#include "cli/commands/options.h"

#include <algorithm>
#include <chrono>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/format/words.h"
#include "cli/run/output.h"
#include "cli/views/symbols.h"

namespace cli {
namespace {

constexpr const char* kSimulation = "Simulated market";

// What `read` makes of a text goes into `target`; where it makes nothing, `refusal` says what would do.
template <class Target, class Read>
Take IntoRead(Target& target, Read read, std::string refusal) {
  return [&target, read, refusal = std::move(refusal)](const std::string& text) {
    auto value = read(text);
    if (!value) {
      throw UsageError(refusal);
    }
    target = *std::move(value);
  };
}

template <class Number>
Take IntoReal(Number& number, double least, double most, std::string refusal) {
  return IntoRead(
      number,
      [least, most](const std::string& text) {
        const std::optional<double> read = ReadNumber(text);
        return read && *read >= least && *read <= most ? read : std::nullopt;
      },
      std::move(refusal));
}

// Seconds that a timer can be set to.
template <class Seconds>
Take IntoSeconds(Seconds& seconds) {
  return IntoReal(seconds, 0.1, 1e7, "it must be a number of seconds from 0.1 to 10000000");
}

std::optional<std::string> ReadUrl(const std::string& text) {
  const bool is_url = text.rfind("http://", 0) == 0 || text.rfind("https://", 0) == 0;
  return is_url ? std::optional(text) : std::nullopt;
}

std::optional<std::uint64_t> ReadUpdates(const std::string& text) {
  const std::optional<std::uint64_t> count = ReadCount(text);
  return count && *count > 0 ? count : std::nullopt;
}

std::string TextOf(double number) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << number;
  return text.str();
}

// Of the options of `form` that describe a simulated market.
std::vector<std::string> SimulationNames(const Form& form) {
  std::vector<std::string> names;
  for (const Option& option : form.options) {
    if (option.group == kSimulation) {
      names.push_back(option.name);
    }
  }
  return names;
}

}  // namespace

void AddSimulationOptions(Form& form, market_server::Options& options) {
  form.Add(
      {.name = "--seed",
       .help = "number of the market: each one gives another",
       .take = IntoRead(options.seed, &ReadCount, "it must be a whole number from 0 to 18446744073709551615"),
       .value = "NUMBER",
       .standard = std::to_string(options.seed),
       .group = kSimulation});
  form.Add({.name = "--clock",
            .help = "the market's time (China): now, replay, HH:MM[:SS], YYYY-MM-DD HH:MM[:SS] or @SECONDS. "
                    "Default: now while the market trades, else the last session from 10:30 on",
            .take = Into(options.clock),
            .value = "TIME",
            .group = kSimulation});
  form.Add({.name = "--speed",
            .help = "seconds of the market's time in one second; 0 stops it",
            .take = IntoReal(options.speed, 0, 100000, "it must be a number from 0 to 100000"),
            .value = "FACTOR",
            .standard = TextOf(options.speed),
            .group = kSimulation});
  form.Add({.name = "--scenario",
            .help = "a scripted day; csm serve --list lists them",
            .take = Into(options.scenario),
            .value = "NAME",
            .group = kSimulation});
  form.Add({.name = "--faults",
            .help = "name[:endpoint[:probability[:arguments]]], may be repeated; csm serve --list lists them",
            .take = Into(options.faults),
            .kind = Option::Kind::kSeveral,
            .value = "FAULT",
            .group = kSimulation});
}

void AddMarketOptions(Form& form, SessionOptions& options) {
  form.Add({.name = "--server",
            .help =
                "market server to ask. Default: a simulated market inside csm. Needs a key: CSM_KEY_ID and "
                "CSM_KEY, or a key file named in CSM_KEY_FILE",
            .take = IntoRead(options.server, &ReadUrl, "it must begin with http:// or https://"),
            .value = "URL"});
  const std::size_t server = form.options.size() - 1;
  AddSimulationOptions(form, options.simulation);
  form.options[server].excludes = SimulationNames(form);
}

void AddLanguageOption(Form& form) {
  form.Add({.name = "--lang",
            .help = "language of titles and columns: en or zh. Default: that of the locale",
            .take =
                [](const std::string& name) {
                  if (name != "en" && name != "zh") {
                    throw UsageError("it must be en or zh");
                  }
                  SetLanguage(name == "zh" ? Language::kChinese : Language::kEnglish);
                },
            .value = "NAME",
            .values = {"en", "zh"}});
}

void AddOutputOptions(Form& form, ShowOptions& options) {
  form.Add(Flag("--json", "one JSON object a line instead of a table", options.json));
  form.Add(Flag("--no-color", "no colours (NO_COLOR is respected, too)", options.no_color));
  form.Add({.name = "--quiet",
            .help = "only figures and failures; nothing about the server or the state of the data",
            .take = [](const std::string&) { Quiet(true); },
            .kind = Option::Kind::kFlag});
  AddLanguageOption(form);
}

void AddReplayOption(Form& form, SessionOptions& session) {
  std::vector<std::string> others = SimulationNames(form);
  std::replace(others.begin(), others.end(), std::string("--speed"), std::string("--server"));
  form.Add({.name = "--replay",
            .help = "directory of a record (csm record) to answer from instead of a server; --speed is that "
                    "of the recorded time, from 0.001",
            .take = Into(session.replay),
            .value = "DIR",
            .excludes = std::move(others)});
  form.checks.emplace_back([&session] {
    if (!session.replay.empty() && session.simulation.speed < 0.001) {
      throw UsageError("--speed: a replay cannot stand still: 0.001 is its least speed");
    }
  });
}

void AddQueryOptions(Form& form, Chosen& chosen) {
  ShowOptions& options = chosen.show;
  AddMarketOptions(form, options.session);
  AddReplayOption(form, options.session);
  AddOutputOptions(form, options);
  Option csv = Flag("--csv", "comma-separated values instead of a table", options.csv);
  csv.excludes = {"--json"};
  form.Add(std::move(csv));
}

void AddForOption(Form& form, std::optional<double>& seconds) {
  form.Add({.name = "--for",
            .help = "end after this many seconds",
            .take = IntoSeconds(seconds),
            .value = "SECONDS"});
}

void AddIntervalOption(Form& form, double& interval) {
  form.Add({.name = "--interval",
            .help = "seconds between two requests",
            .take = IntoSeconds(interval),
            .value = "SECONDS",
            .standard = TextOf(interval)});
}

void AddWatchOptions(Form& form, Chosen& chosen) {
  AddQueryOptions(form, chosen);
  AddForOption(form, chosen.show.seconds);
  form.Add({.name = "--count",
            .help = "end after this many updates",
            .take = IntoRead(chosen.show.count, &ReadUpdates, "it must be a whole number above 0"),
            .value = "N"});
  AddIntervalOption(form, chosen.show.interval);
}

void AddChoice(Form& form, const std::string& option, Choices choices, const std::string& description,
               int& number) {
  std::vector<std::string> names;
  for (const Choice& choice : choices) {
    names.emplace_back(choice.name);
  }
  form.Add({.name = option,
            .help = description,
            .take =
                [choices, &number](const std::string& name) {
                  const std::optional<int> chosen = NumberOf(choices, name);
                  if (!chosen) {
                    throw UsageError("\"" + name + "\" is not one of " + NamesOf(choices));
                  }
                  number = *chosen;
                },
            .value = "NAME",
            .standard = std::string(NameOf(choices, number)),
            .values = std::move(names)});
}

void AddSortOptions(Form& form, Order& order) {
  AddChoice(form, "--sort", order.columns, "the column to order by, see below", order.column);
  form.Add({.name = "--asc",
            .help = "the smallest first",
            .take = [&order](const std::string&) { order.direction = kAscending; },
            .kind = Option::Kind::kFlag});
  form.Add({.name = "--desc",
            .help = "the largest first (default)",
            .take = [&order](const std::string&) { order.direction = kDescending; },
            .kind = Option::Kind::kFlag,
            .excludes = {"--asc"}});
}

void AddRowsOption(Form& form, std::optional<RowRange>& rows, const RowRange& standard) {
  form.Add({.name = "--rows",
            .help = "rows A to B - 1 of the list, counted from 0; A: are all from A on",
            .take =
                [&rows](const std::string& text) {
                  rows = ParseRows(text);
                  if (!rows) {
                    throw UsageError(
                        "\"" + text +
                        "\" is no range: A:B are the rows from A up to B - 1, counted from 0; A: are all "
                        "from A on");
                  }
                },
            .value = "A:B",
            .standard = RowsText(standard)});
}

void AddColumnsOption(Form& form, const ListLook& look, std::string& names) {
  form.Add(
      {.name = "--columns",
       .help =
           "columns of the table, with commas between them, or all of them: all. Default: those that fit a "
           "screen",
       .take =
           [&look, &names](const std::string& typed) {
             try {
               static_cast<void>(look.Chosen(typed));
             } catch (const std::invalid_argument& wrong) {
               throw UsageError(wrong.what());
             }
             names = typed;
           },
       .value = "NAMES"});
}

std::optional<std::uint32_t> ParseDate(const std::string& text) {
  std::string digits = text;
  if (text.size() == 10 && text[4] == '-' && text[7] == '-') {
    digits = text.substr(0, 4) + text.substr(5, 2) + text.substr(8);
  }
  if (digits.size() != 8 ||
      !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    return std::nullopt;
  }
  const auto date = static_cast<std::uint32_t>(std::stoul(digits));
  const std::chrono::year_month_day day{std::chrono::year(static_cast<int>(date / 10000)),
                                        std::chrono::month(date / 100 % 100), std::chrono::day(date % 100)};
  return day.ok() && date >= 19900101 && date < 21000101 ? std::optional(date) : std::nullopt;
}

void AddDateOption(Form& form, std::uint32_t& date, const std::string& help) {
  form.Add({.name = "--date",
            .help = help,
            .take = IntoRead(date, &ParseDate,
                             "it must be a day of the calendar from 1990 to 2099: 20240315 or 2024-03-15"),
            .value = "DATE"});
}

void AddPlotOptions(Form& form, Chosen& chosen) {
  Option plot = Flag("--plot", "a chart instead of a table", chosen.plot);
  plot.excludes = {"--json", "--csv"};
  form.Add(std::move(plot));
  form.Add({.name = "--columns",
            .help = "width of the chart. Default: that of the terminal, 80 elsewhere",
            .take = Into(chosen.chart.columns, kLeastChart.columns, 1000),
            .value = "N",
            .needs = {"--plot"}});
  form.Add({.name = "--rows",
            .help = "height of the chart. Default: that of the terminal, 24 elsewhere",
            .take = Into(chosen.chart.rows, kLeastChart.rows, 1000),
            .value = "N",
            .needs = {"--plot"}});
}

void AddSymbols(Form& form, std::vector<std::wstring>& symbols, bool several) {
  form.Add(
      {.name = "SYMBOL",
       .help = several ? "stocks or indices, sh600000 or 600000" : "a stock or an index, sh600000 or 600000",
       .take =
           [&symbols](const std::string& text) {
             const std::optional<std::wstring> symbol = ParseSymbol(text);
             if (!symbol) {
               throw UsageError("\"" + text + "\" is no symbol: sh or sz and six digits");
             }
             if (std::find(symbols.begin(), symbols.end(), *symbol) == symbols.end()) {
               symbols.push_back(*symbol);
             }
           },
       .kind = several ? Option::Kind::kSeveral : Option::Kind::kOne,
       .value = "",
       .is_required = true});
}

}  // namespace cli
