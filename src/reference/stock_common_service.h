// The reference-data service behind stock_common.h. Its threads' steps are operations of their own, so that
// tests call them without a thread and without waiting. Thread-safe.
#pragma once

#include <boost/thread/thread_only.hpp>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "frame/gate.h"
#include "reference/kline_metadata.h"
#include "reference/metadata_check.h"
#include "reference/plate_membership.h"
#include "reference/reference_lists.h"
#include "reference/refresh_schedule.h"
#include "reference/stock_common.h"

namespace request {
struct SyncAnswer;
}

namespace reference {

class CStockCommon final : public IStockCommon {
 public:
  CStockCommon() = default;
  CStockCommon(const CStockCommon&) = delete;
  CStockCommon& operator=(const CStockCommon&) = delete;

  /// Ends the refresh thread and the monitor of a start under way, whose call-back is then not called. Waits
  /// for what runs inside, and for the one exchange or download that the refresh thread may be in; not for
  /// those of a start.
  ~CStockCommon() override;

  void Init(const boost::function<void(bool)>& done) override;
  const std::vector<BaseInfoItem>& GetStockList(int kind) override;
  const std::vector<BaseInfoItem>& GetPlateList(int kind) override;
  const std::vector<BaseInfoItem>& GetIndexList(int kind) override;
  void Placeholder(int, int) override {}
  KLineMetaInfo GetKLineMetaInfo(const std::wstring& symbol, int period, int adjust) override;
  bool GetPlatesOfStock(const std::wstring& symbol,
                        std::vector<std::pair<std::wstring, std::wstring>>& out) override;

  // The steps of its threads

  /// A start is numbered, so that what comes late of a failed one does not count in the next.
  using StartNumber = std::uint64_t;

  enum class MonitorStep { kWait, kFailed, kSucceeded };

  /// One look of the monitor at its start. `kWait`: come back in `kMonitorWait` milliseconds.
  [[nodiscard]] MonitorStep StepMonitor(StartNumber start);

  /// What the refresh thread does after the wait of a round. Ends early when the thread is to end.
  void FinishRound(const RefreshRound& round);

  [[nodiscard]] StartNumber LatestStart();
  [[nodiscard]] bool HasRefreshThread();

  static constexpr int kMonitorWait = 300;

 private:
  // One of the lists that are asked for in one request: how, and what becomes of the answer.
  struct ListLoad {
    std::wstring (*url)();
    bool (CStockCommon::*take)(const request::SyncAnswer& answer, std::int64_t asked);
  };
  static const ListLoad kBaseInfo, kPlates, kIndices, kMembership;

  // Start
  void AddLoad(const ListLoad& load, StartNumber start);
  void AddMetadataCheck(StartNumber start);
  void CountLoad(StartNumber start, bool ok);
  void Monitor(StartNumber start, const boost::function<void(bool)>& done);
  void Conclude(StartNumber start, bool ok);
  bool Sleep();

  // Loads
  bool LoadNow(const ListLoad& load);
  bool TakeBaseInfo(const request::SyncAnswer& answer, std::int64_t asked);
  bool TakePlates(const request::SyncAnswer& answer, std::int64_t asked);
  bool TakeIndices(const request::SyncAnswer& answer, std::int64_t asked);
  bool TakeMembership(const request::SyncAnswer& answer, std::int64_t asked);
  bool TakeMetadata(MetadataCheck check);
  [[nodiscard]] std::string HeldMetadataVersion();

  void RefreshThread();

  std::mutex mutex_;  // guards all members below but the gate
  boost::thread refresh_thread_;
  bool stopping_ = false;
  std::condition_variable stopped_;  // `stopping_` is set

  bool initialising_ = false;
  int waited_ms_ = 0;
  int done_count_ = 0;
  StartNumber start_ = 0;

  std::uint32_t base_info_date_ = 0;  // YYYYMMDD; 0 is never
  HeldList all_stocks_, sh_stocks_, sz_stocks_, gem_stocks_, sme_stocks_;
  HeldList plates1_, plates2_;
  HeldList sh_indices_, sz_indices_;
  std::shared_ptr<KLineMetadata> kline_metadata_;
  PlateMembership stock_plates_;

  frame::CompletionGate gate_;
};

/// A service, owned by the caller; null when it cannot be made.
[[nodiscard]] IStockCommon* MakeStockCommon();

}  // namespace reference
