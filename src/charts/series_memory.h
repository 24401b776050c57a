// The series that charts show, in memory: those shown least recently go first. And which downloads failed
// lately. Thread-safe.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "charts/kline_series.h"

namespace charts {

/// What failed or came short is not tried again for so long, in milliseconds of the monotonic clock.
inline constexpr std::int64_t kBackOff = 600'000;

/// A series as it was loaded on one day for one announced version.
struct HeldSeries {
  std::shared_ptr<const Candles> candles;  ///< null: nothing is held
  std::uint32_t complete_to = 0;           ///< no trading day up to this one is missing
  std::wstring version;
  std::uint32_t date = 0;
  std::int64_t load_after = 0;  ///< on the monotonic clock: when to look for the package again
  std::int64_t tail_after = 0;  ///< when to ask for missing days again
};

class SeriesMemory {
 public:
  /// What is held of a series; it is the one shown most recently from now on.
  [[nodiscard]] HeldSeries Find(const Series& series);

  void Hold(const Series& series, const HeldSeries& held);

  /// The candles, as traded, that go on where the held series ends: `told`, today's, unless it has no price
  /// and would hide one that has; and those told on days before that the history does not have yet.
  [[nodiscard]] Candles WithEarlierDays(const Series& series, const std::optional<KLineCandle>& told);

  /// False for a while after a download of that version of the package failed.
  [[nodiscard]] bool MayDownload(const Series& series, const std::wstring& version) const;
  void DownloadFailed(const Series& series, const std::wstring& version);

 private:
  struct Entry {
    Series series;
    HeldSeries held;
    Candles told;  // one of each day that the history did not have yet
  };

  [[nodiscard]] Entry* MoveToFront(const Series& series);

  mutable std::mutex mutex_;  // guards the members below
  std::list<Entry> entries_;  // the one shown last first
  std::map<Series, std::pair<std::wstring, std::int64_t>> failed_;
};

}  // namespace charts
