#include "charts/series_memory.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "charts/kline_link.h"
#include "charts/kline_today.h"
#include "frame/ticks.h"

namespace charts {
namespace {

constexpr std::size_t kMostSeries = 64;
constexpr std::size_t kMostBytes = std::size_t{32} << 20;
constexpr std::size_t kMostDays = 32;  // told beyond the end of a history

}  // namespace

SeriesMemory::Entry* SeriesMemory::MoveToFront(const Series& series) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&series](const Entry& entry) { return entry.series == series; });
  if (found == entries_.end()) {
    return nullptr;
  }
  entries_.splice(entries_.begin(), entries_, found);
  return &entries_.front();
}

HeldSeries SeriesMemory::Find(const Series& series) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const Entry* const entry = MoveToFront(series);
  return entry != nullptr ? entry->held : HeldSeries();
}

void SeriesMemory::Hold(const Series& series, const HeldSeries& held) {
  std::list<Entry> gone;  // let go of after the lock
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry* entry = MoveToFront(series);
  if (entry == nullptr) {
    entry = &entries_.emplace_front(Entry{series, {}, {}});
  }
  entry->held = held;
  std::size_t count = 0;
  std::size_t bytes = 0;
  const auto end = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& kept) {
    bytes += kept.held.candles->capacity() * sizeof(KLineCandle);
    return ++count > 1 && (count > kMostSeries || bytes > kMostBytes);
  });
  gone.splice(gone.end(), entries_, end, entries_.end());
}

Candles SeriesMemory::WithEarlierDays(const Series& series, const std::optional<KLineCandle>& told) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Entry* const entry = MoveToFront(series);
  if (entry == nullptr) {
    return told ? Candles(1, *told) : Candles();
  }
  Candles& days = entry->told;
  if (told && !(HasNoPrice(*told) && !days.empty() && days.back().date == told->date)) {
    // One without a price gives way to whatever follows; a later date than now was a wrong one.
    std::erase_if(days,
                  [&told](const KLineCandle& day) { return day.date >= told->date || HasNoPrice(day); });
    days.push_back(*told);
  }
  const std::uint32_t held_to = LastDate(*entry->held.candles);
  std::erase_if(
      days, [&](const KLineCandle& day) { return day.date <= held_to && (!told || day.date != told->date); });
  days.erase(days.begin(), days.end() - static_cast<std::ptrdiff_t>(std::min(days.size(), kMostDays)));
  return days;
}

bool SeriesMemory::MayDownload(const Series& series, const std::wstring& version) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = failed_.find(series);
  return found == failed_.end() || found->second.first != version ||
         frame::SteadyMilliseconds() - found->second.second >= kBackOff;
}

void SeriesMemory::DownloadFailed(const Series& series, const std::wstring& version) {
  const std::int64_t now = frame::SteadyMilliseconds();
  const std::lock_guard<std::mutex> lock(mutex_);
  std::erase_if(failed_, [now](const auto& other) { return now - other.second.second >= kBackOff; });
  failed_[series] = {version, now};
}

}  // namespace charts
