#include "cli/options.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace cli {
namespace {

constexpr const char* kSimulation = "Simulated market";

Take IntoUrl(std::string& url) {
  return [&url](const std::string& text) {
    if (text.rfind("http://", 0) != 0 && text.rfind("https://", 0) != 0) {
      throw UsageError("it must begin with http:// or https://");
    }
    url = text;
  };
}

// Seconds that a timer can be set to.
template <class Seconds>
Take IntoSeconds(Seconds& seconds) {
  return [&seconds](const std::string& text) {
    const std::optional<double> number = ReadNumber(text);
    if (!number || !(*number >= 0.1 && *number <= 1e7)) {
      throw UsageError("it must be a number of seconds from 0.1 to 10000000");
    }
    seconds = *number;
  };
}

Take IntoSpeed(double& speed) {
  return [&speed](const std::string& text) {
    const std::optional<double> number = ReadNumber(text);
    if (!number || !(*number >= 0 && *number <= 100000)) {
      throw UsageError("it must be a number from 0 to 100000");
    }
    speed = *number;
  };
}

Take IntoSeed(std::uint64_t& seed) {
  return [&seed](const std::string& text) {
    const std::optional<std::uint64_t> number = ReadCount(text);
    if (!number) {
      throw UsageError("it must be a whole number from 0 to 18446744073709551615");
    }
    seed = *number;
  };
}

Take IntoCount(std::optional<std::uint64_t>& count) {
  return [&count](const std::string& text) {
    const std::optional<std::uint64_t> number = ReadCount(text);
    if (!number || *number < 1) {
      throw UsageError("it must be a whole number above 0");
    }
    count = number;
  };
}

std::string TextOf(double number) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text << number;
  return text.str();
}

// Of the options of `form` that a simulated market is told by.
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

std::chrono::milliseconds WatchOptions::Interval() const {
  return std::chrono::milliseconds(std::llround(interval * 1000));
}

void AddSimulationOptions(Form& form, market_server::Options& options) {
  form.Add({.name = "--seed",
            .help = "another number is another market",
            .take = IntoSeed(options.seed),
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
            .take = IntoSpeed(options.speed),
            .value = "FACTOR",
            .standard = TextOf(options.speed),
            .group = kSimulation});
  form.Add({.name = "--scenario",
            .help = "a scripted day; csm serve --list names them",
            .take = Into(options.scenario),
            .value = "NAME",
            .group = kSimulation});
  form.Add({.name = "--faults",
            .help = "name[:endpoint[:probability[:arguments]]], may be repeated; csm serve --list names them",
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
            .take = IntoUrl(options.server),
            .value = "URL"});
  const std::size_t server = form.options.size() - 1;
  AddSimulationOptions(form, options.simulation);
  form.options[server].excludes = SimulationNames(form);
}

void AddOutputOptions(Form& form, QueryOptions& options) {
  form.Add(Flag("--json", "one JSON object a line instead of a table", options.json));
  form.Add(Flag("--no-color", "no colours (NO_COLOR is respected, too)", options.no_color));
}

void AddQueryOptions(Form& form, QueryOptions& options) {
  AddMarketOptions(form, options.session);
  std::vector<std::string> others = SimulationNames(form);
  std::replace(others.begin(), others.end(), std::string("--speed"), std::string("--server"));
  form.Add({.name = "--replay",
            .help = "directory of a record (csm record) to answer from instead of a server; --speed is that "
                    "of the recorded time, from 0.001",
            .take = Into(options.session.replay),
            .value = "DIR",
            .excludes = std::move(others)});
  AddOutputOptions(form, options);
  form.checks.emplace_back([&session = options.session] {
    if (!session.replay.empty() && session.simulation.speed < 0.001) {
      throw UsageError("--speed: a replay cannot stand still: 0.001 is its least speed");
    }
  });
}

void AddForOption(Form& form, std::optional<double>& seconds) {
  form.Add({.name = "--for",
            .help = "end after so many seconds",
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

void AddWatchOptions(Form& form, WatchOptions& options) {
  AddQueryOptions(form, options);
  AddForOption(form, options.seconds);
  form.Add({.name = "--count",
            .help = "end after so many updates",
            .take = IntoCount(options.count),
            .value = "N"});
  AddIntervalOption(form, options.interval);
}

}  // namespace cli
