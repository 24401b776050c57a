// The history of a symbol's candles: from the package in memory or on disk, brought up to date when the
// metadata announces a newer version, with the history query service as substitute and for the tail.
// Thread-safe; its calls wait for the disk and the network, so they belong into tasks.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "charts/kline_package.h"
#include "reference/stock_common.h"

namespace charts {

/// Shared by the service and its tasks, and outlives whichever goes first.
class KLineHistory {
 public:
  using Use = std::function<void(const Candles&)>;

  /// All candles before today of one package; an empty list when neither disk nor network has any. Null while
  /// another thread loads the same package: nobody waits, `later` gets that thread's candles in a task of its
  /// own. Nothing is sent any more once `is_wanted()` is false.
  [[nodiscard]] std::shared_ptr<const Candles> Load(const std::wstring& symbol, int period, int adjustment,
                                                    const Use& later, const std::function<bool()>& is_wanted);

 private:
  using Package = std::pair<std::wstring, std::uint16_t>;  // symbol and package key
  using Shared = std::shared_ptr<const Candles>;

  // A package in memory, of one version and loaded on one day.
  struct Held {
    std::wstring version;
    std::uint32_t date = 0;
    Shared candles;
    bool has_tail = false;  // it reaches the last trading day as far as the server knows
  };
  // What one load is about.
  struct Wanted;
  class Turn;

  [[nodiscard]] Shared LoadNow(const Package& package, const Wanted& wanted);
  [[nodiscard]] Held Find(const Package& package, const Wanted& wanted) const;
  void Hold(const Package& package, const Held& held);

  mutable std::mutex mutex_;                     // guards the members below
  std::map<Package, std::vector<Use>> loading_;  // packages that a thread loads, and who waits for them
  std::map<Package, Held> held_;
};

}  // namespace charts
