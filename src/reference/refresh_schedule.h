// When the reference data is loaded anew: rules on the server's clock, as functions of an instant.
// Thread-safe: no state.
#pragma once

#include <cstdint>
#include <optional>

namespace reference {

/// One round of the refresh thread.
struct RefreshRound {
  int seconds = 0;            ///< to wait first; at most two hours
  bool reload_lists = false;  ///< afterwards: everything, or the K-line metadata only
};

/// The round that begins at `now`: it ends at 09:14, 12:45 or 18:30, or after two hours if that is sooner.
/// It ends at once when one of these moments came after `since`, the end of the wait before: while that round
/// was at work. The lists are loaded anew after every round that began before 09:14.
[[nodiscard]] RefreshRound PlanRefresh(std::int64_t now, std::optional<std::int64_t> since = {});

/// 09:14:00 of the day of `now`: what is loaded from then on holds for the day.
[[nodiscard]] std::int64_t ListsFinalTime(std::int64_t now);

/// Whether a list that was loaded for the date `loaded` (0 never) must be loaded anew. At 09:14:00 itself it
/// need not be.
[[nodiscard]] bool ListIsStale(std::uint32_t loaded);

/// The same for the refresh thread, which takes 09:14:00 itself for late enough: a load holds from then on.
[[nodiscard]] bool ListIsDue(std::uint32_t loaded);

}  // namespace reference
