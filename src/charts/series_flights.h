// One flight per series: the first who wants a series loads it, the others leave their request and hold no
// thread. Thread-safe.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "charts/kline_series.h"

namespace charts {

class SeriesFlights {
 public:
  using Request = std::shared_ptr<const KLineRequest>;

  /// True for the first, who has to load the series and to land. Of requests for views the newest waits
  /// alone.
  [[nodiscard]] bool Board(const Request& request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<Request>& waiting = waiting_[request->series];
    for (Request& other : waiting) {
      if (!request->done && !other->done) {
        other = frame::MayFollow(request->stamp, other->stamp) ? request : other;
        return false;
      }
    }
    waiting.push_back(request);
    return waiting.size() == 1;
  }

  /// Ends the flight and returns whoever waits for the series; nobody when it has ended before.
  [[nodiscard]] std::vector<Request> Land(const Series& series) {
    const std::lock_guard<std::mutex> lock(mutex_);
    auto node = waiting_.extract(series);
    return node.empty() ? std::vector<Request>() : std::move(node.mapped());
  }

 private:
  std::mutex mutex_;  // guards waiting_
  std::map<Series, std::vector<Request>> waiting_;
};

}  // namespace charts
