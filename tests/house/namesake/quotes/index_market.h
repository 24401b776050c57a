// The client's own: no index quotes.
#pragma once

namespace own {
inline constexpr int kColumns = 6;
}  // namespace own
