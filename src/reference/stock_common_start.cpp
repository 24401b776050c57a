// The start of the reference data: five loads and a monitor on the host's task pool. What waits for the
// server runs outside the gate and without the object, so that the end of the service does not wait for it.
#include <optional>

#include "frame/succeeds.h"
#include "host/tasks.h"
#include "reference/stock_common_service.h"

namespace reference {
namespace {

template <class MakeTask>
[[nodiscard]] bool IsQueued(MakeTask&& make_task) noexcept {
  return frame::Succeeds([&] { base::TaskManagerInstance()->AddTask(make_task()); });
}

}  // namespace

void CStockCommon::Init(const boost::function<void(bool)>& done) {
  holidays_.Ask();
  const std::optional<StartCount::Number> start = start_.Begin();
  if (!start) {
    return;
  }
  const Done count = [this, number = *start](bool ok) { start_.Count(number, ok); };
  for (const ListName list : {ListName::kStocks, ListName::kPlates, ListName::kIndices}) {
    QueueLoad(list, count);
  }
  QueueMetadataCheck(count);
  QueueLoad(ListName::kPlatesOfStocks, count);
  if (!IsQueued([&] { return gate_.Guard([this, start, done] { Monitor(*start, done); }); })) {
    Conclude(*start, false);
    if (done) {
      done(false);
    }
  }
}

void CStockCommon::QueueLoad(ListName list, const Done& done) noexcept {
  const bool queued = IsQueued([&] {
    // No number when the gate is closed: nothing is sent then.
    auto begin = gate_.Guard(
        [this, list](std::optional<HeldLists::LoadNumber>& number) { number = lists_.Begin(list); });
    auto finish = gate_.Guard([this, list, done](HeldLists::LoadNumber number, const ListAnswer& answer) {
      done(lists_.Finish(list, number, answer));
    });
    return [list, begin, finish]() mutable {
      std::optional<HeldLists::LoadNumber> number;
      begin(number);
      if (number) {
        finish(*number, AskForList(list));
      }
    };
  });
  if (!queued) {
    done(false);
  }
}

void CStockCommon::QueueMetadataCheck(const Done& done) noexcept {
  const bool queued = IsQueued([&] {
    // Nothing when the gate is closed: the check is no longer wanted.
    auto read_held = gate_.Guard([this](std::optional<std::string>& held) { held = metadata_.Version(); });
    auto finish = gate_.Guard([this, done](MetadataCheck check) {
      metadata_.Replace(std::move(check.loaded));
      done(check.ok);
    });
    return [read_held, finish]() mutable {
      finish(CheckMetadata([&read_held] {
        std::optional<std::string> held;
        read_held(held);
        return held;
      }));
    };
  });
  if (!queued) {
    done(false);
  }
}

void CStockCommon::Monitor(StartCount::Number start, const boost::function<void(bool)>& done) {
  StartCount::Step step = start_.Look(start);
  while (step == StartCount::Step::kWait) {
    if (!waits_.For(StartCount::kWaitMilliseconds)) {
      return;
    }
    step = start_.Look(start);
  }
  const bool ok = step == StartCount::Step::kSucceeded;
  // The loads have brought the server's time. It may be of another year than the machine's.
  if (ok) {
    holidays_.AskIfMissing();
  } else {
    holidays_.FollowYear();
  }
  struct AtTheEnd {
    CStockCommon& service;
    StartCount::Number start;
    bool ok;
    ~AtTheEnd() { service.Conclude(start, ok); }
  };
  const AtTheEnd conclude{*this, start, ok};
  if (done) {
    done(ok);
  }
}

void CStockCommon::Conclude(StartCount::Number start, bool ok) noexcept {
  const std::lock_guard<std::mutex> lock(thread_mutex_);
  if (ok && !refresh_thread_.joinable()) {
    // Without the thread the lists stay as they are; the next start tries again.
    static_cast<void>(frame::Succeeds([this] {
      refresh_thread_ = std::thread([this] {
        while (RunRound()) {
        }
      });
    }));
  }
  if (!ok && start_.Latest() == start) {
    lists_.ForgetStockDate();
  }
  start_.Conclude(start);
}

}  // namespace reference
