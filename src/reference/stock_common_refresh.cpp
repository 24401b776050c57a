// The refresh of the reference data: what its thread does in one round.
#include <algorithm>
#include <optional>

#include "frame/succeeds.h"
#include "host/clock.h"
#include "reference/stock_common_service.h"

namespace reference {
namespace {

constexpr std::int64_t kWaitWithoutPlan = 3000;  // milliseconds

}  // namespace

bool CStockCommon::RunRound() {
  RefreshRound round;
  std::int64_t planned = 0;
  const bool is_planned = frame::Succeeds([&] {
    const std::int64_t now = common::GetCurrentServerTime();
    round = PlanRefresh(now, waited_until_);
    planned = now + round.seconds;
  });
  if (!is_planned) {
    return waits_.For(kWaitWithoutPlan);
  }
  // The server's time, when it is learned or corrected during the wait, may be of another year.
  if (!waits_.Planned(round.seconds, [this] { holidays_.FollowYear(); })) {
    return false;
  }
  // The server's clock may be a little behind the wait.
  static_cast<void>(frame::Succeeds(
      [&] { waited_until_ = std::max<std::int64_t>(planned, common::GetCurrentServerTime()); }));
  // The wait may have lasted a night, or the lists may be those of a start before 09:14.
  round.reload_lists = round.reload_lists || frame::Succeeds([this] { return lists_.AnyIsDue(); });
  if (!round.reload_lists) {
    holidays_.AskIfMissing();
  }
  FinishRound(round);
  return !waits_.IsStopped();
}

void CStockCommon::FinishRound(const RefreshRound& round) {
  const auto load = [this](ListName list) {
    if (!waits_.IsStopped()) {
      lists_.Load(list);
    }
  };
  if (round.reload_lists) {
    load(ListName::kStocks);
    load(ListName::kPlates);
    load(ListName::kIndices);
    if (!waits_.IsStopped()) {
      holidays_.Ask();
    }
    load(ListName::kPlatesOfStocks);
  }
  MetadataCheck check = CheckMetadata(
      [this] { return waits_.IsStopped() ? std::nullopt : std::optional(metadata_.Version()); });
  metadata_.Replace(std::move(check.loaded));
}

bool CStockCommon::HasRefreshThread() {
  const std::lock_guard<std::mutex> lock(thread_mutex_);
  return refresh_thread_.joinable();
}

}  // namespace reference
