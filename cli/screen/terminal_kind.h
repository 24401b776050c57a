// What is known of the kind of terminal that TERM names. Main thread only.
#pragma once

namespace cli {

/// True when it is known how to write anywhere on a terminal of that kind.
[[nodiscard]] bool KnowsTerminalKind();

}  // namespace cli
