// The history of a symbol's candles on its way to those who asked: loaded in a task by the first of them,
// told to all. How it is loaded is in series_loader.h. Thread-safe.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "charts/series_loader.h"
#include "frame/recycler.h"

namespace charts {

/// Shared by the service and its tasks, and outlives whichever goes first.
class KLineHistory : public std::enable_shared_from_this<KLineHistory> {
 public:
  using Request = std::shared_ptr<const KLineRequest>;
  /// Takes null when there was no memory for the record.
  using Tell = std::function<void(const KLineRequest&, const Record&)>;

  /// Nothing is sent any more once `is_wanted()` is false.
  KLineHistory(Tell tell, std::function<bool()> is_wanted)
      : tell_(std::move(tell)), loader_(std::move(is_wanted)) {}

  /// Loads the series in a task and tells its record there. While it is being loaded already the request
  /// waits for that load.
  void Ask(const Request& request);

 private:
  // One flight per series: the first who wants a series loads it, the others leave their request and hold no
  // thread. True for the first, who has to land. Of requests for views the newest waits alone.
  [[nodiscard]] bool Board(const Request& request);
  // Ends the flight. Whoever waits for the series; nobody when it has ended before.
  [[nodiscard]] std::vector<Request> Land(const Series& series);
  void Fly(const Request& first);
  void TellOf(const KLineRequest& request, const SeriesHistory& history);

  const Tell tell_;
  SeriesLoader loader_;
  frame::Recycler<StockKLineData> records_;
  std::mutex mutex_;  // guards waiting_
  std::map<Series, std::vector<Request>> waiting_;
};

}  // namespace charts
