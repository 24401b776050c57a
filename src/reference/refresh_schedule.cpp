#include "reference/refresh_schedule.h"

#include <algorithm>
#include <array>

#include "host/clock.h"

namespace reference {
namespace {

constexpr std::int64_t kLongestWait = 7200;

std::int64_t TimeToday(std::int64_t now, int hour, int minute) {
  return common::DateToTime(common::TimeToDate(now), hour, minute, 0);
}

}  // namespace

RefreshRound PlanRefresh(std::int64_t now, std::optional<std::int64_t> since) {
  const std::array<std::int64_t, 3> loads = {ListsFinalTime(now), TimeToday(now, 12, 45),
                                             TimeToday(now, 18, 30)};
  RefreshRound round;
  std::int64_t wait = kLongestWait;
  for (const std::int64_t load : loads) {
    if (load > now) {
      wait = std::min(wait, load - now);
    } else if (since && load > *since) {
      wait = 0;
    }
  }
  round.seconds = static_cast<int>(wait);
  round.reload_lists = now < loads.front();
  return round;
}

std::int64_t ListsFinalTime(std::int64_t now) {
  return TimeToday(now, 9, 14);
}

bool ListIsStale(std::uint32_t loaded) {
  if (loaded == common::GetCurrentServerDate()) {
    return false;
  }
  const std::int64_t now = common::GetCurrentServerTime();
  return now > ListsFinalTime(now);
}

bool ListIsDue(std::uint32_t loaded) {
  const std::int64_t now = common::GetCurrentServerTime();
  return loaded != common::TimeToDate(now) && now >= ListsFinalTime(now);
}

}  // namespace reference
