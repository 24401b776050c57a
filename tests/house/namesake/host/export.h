// The client's own: nothing of the host contract.
#pragma once

namespace own {
inline constexpr int kExports = 4;
}  // namespace own
