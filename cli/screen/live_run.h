// The live screen in the course of csm: session, terminal, panels, reference data, requests at the interval,
// and the end by key, time or signal. Main thread only.
#pragma once

#include "cli/run/show.h"

namespace cli {

/// True when standard output is a terminal that the live screen can be drawn on.
[[nodiscard]] bool CanShowLiveScreen();
/// True when it can, and `options` want neither lines for other programs nor a number of updates.
[[nodiscard]] bool IsForLiveScreen(const ShowOptions& options);

/// Runs the live screen until the person has had enough. Returns an exit code.
[[nodiscard]] int RunLiveScreen(const ShowOptions& options);

/// The same with nothing but the views that are shown. Returns an exit code.
[[nodiscard]] int RunViewsOnScreen(const ShowOptions& options, const Shown& shown);

}  // namespace cli
