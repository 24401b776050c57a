// Loads the history of a series in the caller's thread: from memory; from the package, which is brought up to
// date when the metadata announce a newer version; with the history query service as substitute and for the
// tail; and with what was held before when all of them fail. Thread-safe; of one series there is one load at
// a time (kline_history.h).
#pragma once

#include <functional>
#include <optional>
#include <utility>

#include "charts/kline_today.h"
#include "charts/series_memory.h"
#include "reference/stock_common.h"

namespace charts {

class SeriesLoader {
 public:
  /// Nothing is sent any more once `is_wanted()` is false.
  explicit SeriesLoader(std::function<bool()> is_wanted) : is_wanted_(std::move(is_wanted)) {}

  /// Waits for disk and network. `candle` is today's as traded.
  [[nodiscard]] SeriesHistory Load(const Series& series, const std::optional<KLineCandle>& candle);

  /// The record of a request from what a load brought and today.
  void MakeRecord(const KLineRequest& request, const SeriesHistory& history, StockKLineData& record);

 private:
  struct Renewed {
    Candles candles;
    bool has_package = false;
    bool next_load_downloads = false;
  };

  [[nodiscard]] Renewed Renew(const Series& series, const KLineMetaInfo& announced, const Today& today,
                              const HeldSeries& before);

  const std::function<bool()> is_wanted_;
  SeriesMemory memory_;
};

}  // namespace charts
