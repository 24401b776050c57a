// How much two real figures of the feed must differ to be two. A constant.
#pragma once

namespace request {

inline constexpr double kTolerance = 0.001;

}  // namespace request
