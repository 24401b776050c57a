// The class of the reference-data service, whose face is stock_common.h: start, refresh and look-ups. The
// data is in held_lists.h and held_metadata.h. The steps of its threads are separate operations, so that
// tests call them without a thread. Thread-safe.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "frame/gate.h"
#include "frame/stoppable_wait.h"
#include "reference/held_lists.h"
#include "reference/held_metadata.h"
#include "reference/legal_holidays.h"
#include "reference/metadata_check.h"
#include "reference/refresh_schedule.h"
#include "reference/start_count.h"
#include "reference/stock_common.h"

namespace reference {

class CStockCommon : public IStockCommon {
 public:
  CStockCommon() = default;
  CStockCommon(const CStockCommon&) = delete;
  CStockCommon& operator=(const CStockCommon&) = delete;

  /// Ends the refresh thread and the monitor of a start under way, whose call-back is then not called. Waits
  /// for what runs inside, and for the one exchange or download that the refresh thread may be in; not for
  /// those of a start. What a start has queued sends nothing any more.
  ~CStockCommon() override;

  void Init(const boost::function<void(bool)>& done) override;
  const std::vector<BaseInfoItem>& GetStockList(int kind) override;
  const std::vector<BaseInfoItem>& GetPlateList(int kind) override;
  const std::vector<BaseInfoItem>& GetIndexList(int kind) override;
  void Placeholder(int, int) override {}
  KLineMetaInfo GetKLineMetaInfo(const std::wstring& symbol, int period, int adjust) override;
  bool GetPlatesOfStock(const std::wstring& symbol,
                        std::vector<std::pair<std::wstring, std::wstring>>& out) override;

  /// The plates of all stocks, for a caller that needs those of many at once: look them up in the table with
  /// `FirstPlateOf`; it stays as it is for as long as it is kept. The server is asked at most once per call,
  /// in the caller's thread, and only when no table is held. It is not asked while another thread loads the
  /// table, nor within 30 seconds of an attempt that failed or brought nothing: the table is empty then.
  /// Never null, never throws.
  [[nodiscard]] std::shared_ptr<const PlateMembership> PlatesAtHand() { return lists_.PlatesAtHand(); }

  // The steps of its threads

  /// One look of the monitor at its start. `kWait`: come back in `StartCount::kWaitMilliseconds`.
  [[nodiscard]] StartCount::Step StepMonitor(StartCount::Number start) { return start_.Look(start); }
  [[nodiscard]] StartCount::Number LatestStart() { return start_.Latest(); }

  /// One round of the refresh thread: plan, wait, reload what is old. False when the service ends.
  [[nodiscard]] bool RunRound();

  /// What the refresh thread does after the wait of a round. Ends early when the service ends.
  void FinishRound(const RefreshRound& round);

  [[nodiscard]] bool HasRefreshThread();

  /// The first step of the end: every wait is over, and no round begins another request.
  void Stop() { waits_.Stop(); }

 private:
  void BringUpToDate(ListName list);

  // Work on the task pool. What waits for the server runs outside the gate and without the object. Nothing is
  // sent, and `done` is not called, once the service has ended; it failed when the pool takes no task.
  using Done = std::function<void(bool ok)>;
  void QueueLoad(ListName list, const Done& done) noexcept;
  void QueueMetadataCheck(const Done& done) noexcept;

  // Start
  void Monitor(StartCount::Number start, const boost::function<void(bool)>& done);
  void Conclude(StartCount::Number start, bool ok) noexcept;

  frame::StoppableWait waits_;
  frame::CompletionGate gate_;
  LegalHolidays holidays_{gate_};
  HeldLists lists_;
  HeldMetadata metadata_;
  StartCount start_;
  std::optional<std::int64_t> waited_until_;  // of the refresh thread alone: when its last wait ended

  std::mutex thread_mutex_;  // guards refresh_thread_
  std::thread refresh_thread_;
};

}  // namespace reference
