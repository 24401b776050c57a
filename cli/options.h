// The options that commands share, each added to the help by one call. Values, without any locking.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "cli/command.h"
#include "cli/session.h"

namespace cli {

/// For a command that shows something once.
struct QueryOptions {
  SessionOptions session;
  bool json = false;
  bool no_color = false;
};

/// For a command that follows a feed.
struct WatchOptions : QueryOptions {
  std::optional<double> seconds;       ///< ends after so long
  std::optional<std::uint64_t> count;  ///< ends after so many updates
  double interval = 3;                 ///< seconds between two requests

  [[nodiscard]] std::chrono::milliseconds Interval() const;
};

/// Adds what a simulated market can be told, to `form` as a group of its own.
void AddSimulationOptions(Form& form, market_server::Options& options);

/// Adds --server and the simulation's options, which exclude each other.
void AddMarketOptions(Form& form, SessionOptions& options);

/// Adds --json and --no-color.
void AddOutputOptions(Form& form, QueryOptions& options);

/// Adds --server, --replay, --json, --no-color and the simulation's options.
void AddQueryOptions(Form& form, QueryOptions& options);

void AddForOption(Form& form, std::optional<double>& seconds);
void AddIntervalOption(Form& form, double& interval);

/// Adds --server, --replay, --json, --for, --count, --interval, --no-color and the simulation's options.
void AddWatchOptions(Form& form, WatchOptions& options);

}  // namespace cli
