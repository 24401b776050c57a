// Shows views on standard output: once, or every update until somebody has had enough. The screen is
// screen/'s matter. Main thread only.
#pragma once

#include <functional>

#include "cli/run/market_run.h"

namespace cli {

/// What is shown.
struct Shown {
  Needs needs = Needs::kNothing;
  bool needs_all = true;      ///< false: what could not be loaded is only said
  bool says_session = false;  ///< says so when figures of another day than today are shown
  /// Makes the views when what they need was loaded. What it throws ends the run.
  std::function<Views(const ViewContext& context, IStockCommon& reference)> make;
};

/// Waits until each view has data and writes them. Returns an exit code. When it is certain that no answer
/// will come, throws std::runtime_error with the reason.
[[nodiscard]] int ShowOnce(const ShowOptions& options, const Shown& shown);

/// Writes every update until the options say that it is enough. Returns an exit code.
[[nodiscard]] int Follow(const ShowOptions& options, const Shown& shown);

}  // namespace cli
