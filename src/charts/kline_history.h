// The history of a symbol's candles: from memory, from the package, which is brought up to date when the
// metadata announce a newer version, with the history query service as substitute and for the tail; and with
// what was held before when all of them fail. Thread-safe.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "charts/kline_merge.h"
#include "charts/series_flights.h"
#include "charts/series_memory.h"
#include "frame/recycler.h"
#include "reference/stock_common.h"

namespace charts {

/// Shared by the service and its tasks, and outlives whichever goes first.
class KLineHistory : public std::enable_shared_from_this<KLineHistory> {
 public:
  using Request = SeriesFlights::Request;
  /// Takes null when there was no memory for the record.
  using Tell = std::function<void(const KLineRequest&, const Record&)>;

  /// Nothing is sent any more once `is_wanted()` is false.
  KLineHistory(Tell tell, std::function<bool()> is_wanted)
      : tell_(std::move(tell)), is_wanted_(std::move(is_wanted)) {}

  /// Loads the series in a task and tells its record there. While it is being loaded already the request
  /// waits for that load.
  void Ask(const Request& request);

  /// Loads a series in the caller's thread, which waits for disk and network. `candle` is today's as traded.
  [[nodiscard]] SeriesHistory Load(const Series& series, const std::optional<KLineCandle>& candle);

 private:
  struct Renewed {
    Candles candles;
    bool has_package = false;
    bool next_load_downloads = false;
  };

  void Fly(const Request& first);
  void TellOf(const KLineRequest& request, const SeriesHistory& history);
  [[nodiscard]] Renewed Renew(const Series& series, const KLineMetaInfo& announced, const Today& today,
                              const HeldSeries& before);

  const Tell tell_;
  const std::function<bool()> is_wanted_;
  SeriesFlights flights_;
  SeriesMemory memory_;
  frame::Recycler<StockKLineData> records_;
};

}  // namespace charts
