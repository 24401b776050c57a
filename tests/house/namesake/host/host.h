// The client's own: nothing of the host contract.
#pragma once

namespace own {
inline constexpr int kHosts = 3;
}  // namespace own
