// The options that commands share, each added to the help by one call. Values, without any locking.
#pragma once

#include <CLI/App.hpp>
#include <chrono>
#include <cstdint>
#include <optional>

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

/// Adds what a simulated market can be told, to `app` as a group of its own.
void AddSimulationOptions(CLI::App& app, market_server::Options& options);

/// Adds --server and the simulation's options, which exclude each other.
void AddMarketOptions(CLI::App& app, SessionOptions& options);

/// Adds --json and --no-color.
void AddOutputOptions(CLI::App& app, QueryOptions& options);

/// Adds --server, --replay, --json, --no-color and the simulation's options.
void AddQueryOptions(CLI::App& app, QueryOptions& options);

void AddForOption(CLI::App& app, std::optional<double>& seconds);
void AddIntervalOption(CLI::App& app, double& interval);

/// Adds --server, --replay, --json, --for, --count, --interval, --no-color and the simulation's options.
void AddWatchOptions(CLI::App& app, WatchOptions& options);

}  // namespace cli
