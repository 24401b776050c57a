#include "cli/commands/options.h"

#include <algorithm>
#include <chrono>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "cli/format/words.h"
#include "cli/run/output.h"
#include "cli/views/securities.h"

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
  const std::size_t first = form.options.size();
  form.Add("--seed NUMBER", "number of the market: each one gives another",
           IntoRead(options.seed, &ReadCount, "it must be a whole number from 0 to 18446744073709551615"))
      .standard = std::to_string(options.seed);
  form.Add(
      "--clock TIME",
      "the market's time (China): now, replay, HH:MM[:SS], YYYY-MM-DD HH:MM[:SS] or @SECONDS. Default: now "
      "while the market trades, else the last session from 10:30 on",
      Into(options.clock));
  form.Add("--speed FACTOR", "seconds of the market's time in one second; 0 stops it",
           IntoReal(options.speed, 0, 100000, "it must be a number from 0 to 100000"))
      .standard = TextOf(options.speed);
  form.Add("--scenario NAME", "a scripted day; csm serve --list lists them", Into(options.scenario));
  form.Add("--faults FAULT",
           "name[:endpoint[:probability[:arguments]]], may be repeated; csm serve --list lists them",
           Into(options.faults))
      .kind = Option::Kind::kSeveral;
  for (std::size_t i = first; i < form.options.size(); ++i) {
    form.options[i].group = kSimulation;
  }
}

void AddMarketOptions(Form& form, SessionOptions& options) {
  form.Add(
      "--server URL",
      "market server to ask. Default: a simulated market inside csm. Needs a key: CSM_KEY_ID and CSM_KEY, or "
      "a key file named in CSM_KEY_FILE",
      IntoRead(options.server, &ReadUrl, "it must begin with http:// or https://"));
  const std::size_t server = form.options.size() - 1;
  AddSimulationOptions(form, options.simulation);
  form.options[server].excludes = SimulationNames(form);
}

void AddLanguageOption(Form& form) {
  const auto take = [](const std::string& name) {
    if (name != "en" && name != "zh") {
      throw UsageError("it must be en or zh");
    }
    SetLanguage(name == "zh" ? Language::kChinese : Language::kEnglish);
  };
  form.Add("--lang NAME", "language of labels and columns: en or zh. Default: that of the locale", take)
      .values = {"en", "zh"};
}

void AddOutputOptions(Form& form, ShowOptions& options) {
  form.AddFlag("--json", "one JSON object a line instead of a table", options.json);
  form.AddFlag("--no-color", "no colours (NO_COLOR is respected, too)", options.no_color);
  form.AddFlag("--quiet", "only figures and failures; nothing about the server or the state of the data",
               [](const std::string&) { Quiet(true); });
  AddLanguageOption(form);
}

void AddReplayOption(Form& form, SessionOptions& session) {
  std::vector<std::string> others = SimulationNames(form);
  std::replace(others.begin(), others.end(), std::string("--speed"), std::string("--server"));
  form.Add("--replay DIR",
           "directory of a record (csm record) to answer from instead of a server; --speed is that of the "
           "recorded time, from 0.001",
           Into(session.replay))
      .excludes = std::move(others);
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
  form.AddFlag("--csv", "comma-separated values instead of a table", options.csv).excludes = {"--json"};
}

void AddForOption(Form& form, std::optional<double>& seconds) {
  form.Add("--for SECONDS", "end after this many seconds", IntoSeconds(seconds));
}

void AddIntervalOption(Form& form, double& interval) {
  form.Add("--interval SECONDS", "seconds between two requests", IntoSeconds(interval)).standard =
      TextOf(interval);
}

void AddWatchOptions(Form& form, Chosen& chosen) {
  AddQueryOptions(form, chosen);
  AddForOption(form, chosen.show.seconds);
  form.Add("--count N", "end after this many updates",
           IntoRead(chosen.show.count, &ReadUpdates, "it must be a whole number above 0"));
  AddIntervalOption(form, chosen.show.interval);
}

void AddChoice(Form& form, const std::string& option, Choices choices, const std::string& description,
               int& number) {
  const auto take = [choices, &number](const std::string& name) {
    const std::optional<int> chosen = NumberOf(choices, name);
    if (!chosen) {
      throw UsageError("\"" + name + "\" is not one of " + NamesOf(choices));
    }
    number = *chosen;
  };
  Option& added = form.Add(option + " NAME", description, take);
  added.standard = NameOf(choices, number);
  for (const Choice& choice : choices) {
    added.values.emplace_back(choice.name);
  }
}

void AddSortOptions(Form& form, Order& order) {
  AddChoice(form, "--sort", order.columns, "the column to order by, see below", order.column);
  form.AddFlag("--asc", "the smallest first", [&order](const std::string&) { order.direction = kAscending; });
  form.AddFlag("--desc", "the largest first (default)",
               [&order](const std::string&) { order.direction = kDescending; })
      .excludes = {"--asc"};
}

void AddRowsOption(Form& form, std::optional<RowRange>& rows, const RowRange& standard) {
  const auto take = [&rows](const std::string& text) {
    rows = ParseRows(text);
    if (!rows) {
      throw UsageError(
          "\"" + text +
          "\" is no range: A:B are the rows from A up to B - 1, counted from 0; A: are all from A on");
    }
  };
  form.Add("--rows A:B", "rows A to B - 1 of the list, counted from 0; A: are all from A on", take).standard =
      RowsText(standard);
}

void AddColumnsOption(Form& form, const ListLook& look, std::string& names) {
  const auto take = [&look, &names](const std::string& typed) {
    try {
      static_cast<void>(look.Chosen(typed));
    } catch (const std::invalid_argument& wrong) {
      throw UsageError(wrong.what());
    }
    names = typed;
  };
  form.Add(
      "--columns NAMES",
      "columns of the table, with commas between them, or all of them: all. Default: those that fit a screen",
      take);
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
  form.Add("--date DATE", help,
           IntoRead(date, &ParseDate,
                    "it must be a day of the calendar from 1990 to 2099: 20240315 or 2024-03-15"));
}

void AddPlotOptions(Form& form, Chosen& chosen) {
  form.AddFlag("--plot", "a chart instead of a table", chosen.plot).excludes = {"--json", "--csv"};
  form.Add("--columns N", "width of the chart. Default: that of the terminal, 80 elsewhere",
           Into(chosen.chart.columns, kLeastChart.columns, 1000))
      .needs = {"--plot"};
  form.Add("--rows N", "height of the chart. Default: that of the terminal, 24 elsewhere",
           Into(chosen.chart.rows, kLeastChart.rows, 1000))
      .needs = {"--plot"};
}

}  // namespace cli
