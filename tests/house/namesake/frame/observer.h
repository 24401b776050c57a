// The client's own: no observer of the module.
#pragma once

namespace own {
inline constexpr int kFrames = 5;
}  // namespace own
