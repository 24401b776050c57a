// The clocks of the frame. Ticks of 100 ns of the system clock count request stamps and cache ages; the
// monotonic clock counts waits and back-offs. Header-only; callable from any thread. Not the server's time,
// which is the host's.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace frame {

inline constexpr std::int64_t kTicksPerMillisecond = 10'000;

using TickSource = std::int64_t (*)();
using SteadySource = std::int64_t (*)();

namespace detail {
inline std::atomic<TickSource> tick_source{nullptr};
inline std::atomic<SteadySource> steady_source{nullptr};
}  // namespace detail

/// Puts another clock in place of the system's; null restores it. For programs that script time.
inline void SetTickSource(TickSource source) {
  detail::tick_source.store(source);
}

/// The same for the monotonic clock.
inline void SetSteadySource(SteadySource source) {
  detail::steady_source.store(source);
}

/// Now, in ticks since 1970-01-01 UTC.
[[nodiscard]] inline std::int64_t Ticks() {
  if (const TickSource source = detail::tick_source.load()) {
    return source();
  }
  using TickDuration = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
  return std::chrono::duration_cast<TickDuration>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

/// Milliseconds of a clock that nobody sets, since some moment.
[[nodiscard]] inline std::int64_t SteadyMilliseconds() {
  if (const SteadySource source = detail::steady_source.load()) {
    return source();
  }
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

/// The difference of two tick counts in whole milliseconds, rounded toward zero.
[[nodiscard]] inline std::int64_t MillisecondsBetween(std::int64_t earlier, std::int64_t later) {
  // Wraps instead of overflowing: a clock may have been set far off.
  const auto ticks =
      static_cast<std::int64_t>(static_cast<std::uint64_t>(later) - static_cast<std::uint64_t>(earlier));
  return ticks / kTicksPerMillisecond;
}

}  // namespace frame
