// The history of a symbol's candles: from the package in memory or on disk, brought up to date when the
// metadata announces a newer version, with the history query service as substitute and for the tail.
// Thread-safe; its calls wait for the disk and the network, so they belong into tasks.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "charts/kline_package.h"
#include "reference/stock_common.h"

namespace charts {

/// Shared by the service and its tasks, and outlives whichever goes first.
class KLineHistory {
 public:
  /// All candles before today of one package. Empty when neither disk nor network has any. Two loads of one
  /// package follow each other.
  [[nodiscard]] Candles Load(const std::wstring& symbol, int period, int adjustment);

 private:
  using Package = std::pair<std::wstring, std::uint16_t>;  // symbol and package key

  // A package in memory, of one version and loaded on one day.
  struct Held {
    std::wstring version;
    std::uint32_t date = 0;
    std::shared_ptr<const Candles> candles;
  };

  class Turn;

  [[nodiscard]] std::shared_ptr<const Candles> Find(const Package& package,
                                                    const std::wstring& version) const;
  void Hold(const Package& package, const std::wstring& version, const Candles& candles);

  mutable std::mutex mutex_;  // guards the members below
  std::condition_variable turn_ended_;
  std::set<Package> loading_;
  std::map<Package, Held> held_;
};

}  // namespace charts
