#include "cli/options.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <charconv>
#include <cmath>
#include <string>
#include <system_error>

namespace cli {
namespace {

constexpr const char* kSimulation = "Simulated market";

std::string CheckUrl(const std::string& text) {
  const bool is_url = text.rfind("http://", 0) == 0 || text.rfind("https://", 0) == 0;
  return is_url ? "" : "it must begin with http:// or https://";
}

// A number of seconds that a timer can be set to.
std::string CheckSeconds(const std::string& text) {
  double seconds = 0;
  const bool is_number = CLI::detail::lexical_cast(text, seconds) && std::isfinite(seconds);
  return is_number && seconds >= 0.1 && seconds <= 1e7
             ? ""
             : "it must be a number of seconds from 0.1 to 10000000";
}

std::string CheckSpeed(const std::string& text) {
  double speed = 0;
  const bool is_number = CLI::detail::lexical_cast(text, speed);
  return is_number && speed >= 0 && speed <= 100000 ? "" : "it must be a number from 0 to 100000";
}

bool IsWhole(const std::string& text, std::uint64_t& number) {
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end;
}

std::string CheckSeed(const std::string& text) {
  std::uint64_t seed = 0;
  return IsWhole(text, seed) ? "" : "it must be a whole number from 0 to 18446744073709551615";
}

std::string CheckCount(const std::string& text) {
  std::uint64_t count = 0;
  return IsWhole(text, count) && count >= 1 ? "" : "it must be a whole number above 0";
}

}  // namespace

std::chrono::milliseconds WatchOptions::Interval() const {
  return std::chrono::milliseconds(std::llround(interval * 1000));
}

void AddSimulationOptions(CLI::App& app, market_server::Options& options) {
  app.add_option("--seed", options.seed, "another number is another market")
      ->type_name("NUMBER")
      ->check(CLI::Validator(CheckSeed, ""))
      ->capture_default_str()
      ->group(kSimulation);
  app.add_option("--clock", options.clock,
                 "the market's time (China): now, replay, HH:MM[:SS], YYYY-MM-DD HH:MM[:SS] or @SECONDS. "
                 "Default: now "
                 "while the market trades, else a replay of the last session")
      ->type_name("TIME")
      ->group(kSimulation);
  app.add_option("--speed", options.speed, "seconds of the market's time in one second; 0 stops it")
      ->type_name("FACTOR")
      ->check(CLI::Validator(CheckSpeed, ""))
      ->capture_default_str()
      ->group(kSimulation);
  app.add_option("--scenario", options.scenario, "a scripted day; csm serve --list names them")
      ->type_name("NAME")
      ->group(kSimulation);
  app.add_option("--faults", options.faults,
                 "name[:endpoint[:probability[:arguments]]], may be repeated; csm serve --list names them")
      ->type_name("FAULT")
      ->allow_extra_args(false)
      ->take_all()
      ->group(kSimulation);
}

void AddMarketOptions(CLI::App& app, SessionOptions& options) {
  CLI::Option* const server = app.add_option("--server", options.server,
                                             "market server to ask. Default: a simulated market inside csm. "
                                             "Needs a key: CSM_KEY_ID and CSM_KEY, or "
                                             "a key file named in CSM_KEY_FILE")
                                  ->type_name("URL")
                                  ->check(CLI::Validator(CheckUrl, ""));
  AddSimulationOptions(app, options.simulation);
  for (CLI::Option* const option : app.get_options()) {
    if (option->get_group() == kSimulation) {
      server->excludes(option);
    }
  }
}

void AddOutputOptions(CLI::App& app, QueryOptions& options) {
  app.add_flag("--json", options.json, "one JSON object a line instead of a table");
  app.add_flag("--no-color", options.no_color, "no colours (NO_COLOR is respected, too)");
}

void AddQueryOptions(CLI::App& app, QueryOptions& options) {
  AddMarketOptions(app, options.session);
  CLI::Option* const replay =
      app.add_option("--replay", options.session.replay,
                     "directory of a record (csm record) to answer from instead of a server; --speed is that "
                     "of the recorded time, from 0.001")
          ->type_name("DIR");
  for (CLI::Option* const option : app.get_options()) {
    if (option->get_group() == kSimulation ? !option->check_name("--speed")
                                           : option->check_name("--server")) {
      replay->excludes(option);
    }
  }
  AddOutputOptions(app, options);
  app.final_callback([&session = options.session] {
    if (!session.replay.empty() && session.simulation.speed < 0.001) {
      throw CLI::ValidationError("--speed", "a replay cannot stand still: 0.001 is its least speed");
    }
  });
}

void AddForOption(CLI::App& app, std::optional<double>& seconds) {
  app.add_option("--for", seconds, "end after so many seconds")
      ->type_name("SECONDS")
      ->check(CLI::Validator(CheckSeconds, ""));
}

void AddIntervalOption(CLI::App& app, double& interval) {
  app.add_option("--interval", interval, "seconds between two requests")
      ->type_name("SECONDS")
      ->check(CLI::Validator(CheckSeconds, ""))
      ->capture_default_str();
}

void AddWatchOptions(CLI::App& app, WatchOptions& options) {
  AddQueryOptions(app, options);
  AddForOption(app, options.seconds);
  app.add_option("--count", options.count, "end after so many updates")
      ->type_name("N")
      ->check(CLI::Validator(CheckCount, ""));
  AddIntervalOption(app, options.interval);
}

}  // namespace cli
