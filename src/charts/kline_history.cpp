#include "charts/kline_history.h"

#include <algorithm>

#include "charts/kline_merge.h"
#include "frame/reference_data.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "host/files.h"
#include "host/network.h"
#include "host/text.h"
#include "reference/package_key.h"
#include "reference/package_version_store.h"
#include "request/ask.h"
#include "request/urls.h"

namespace charts {
namespace {

constexpr int kDownloadTries = 3;
constexpr int kDownloadSeconds = 30;
constexpr std::uint32_t kUsualLimit = 1000;

// What one load is about.
struct Wanted {
  const std::wstring& symbol;
  int period;
  int adjustment;
  KLineMetaInfo announced;

  [[nodiscard]] std::wstring Path() const {
    const std::wstring directory = stock::GetKLineFilePath(symbol.c_str());
    if (directory.empty()) {
      return {};
    }
    return directory + L"/" + std::to_wstring(period) + L"." + std::to_wstring(adjustment) + L".dat";
  }
};

KLineMetaInfo Announced(const std::wstring& symbol, int period, int adjustment) {
  KLineMetaInfo info;
  frame::WithReferenceData(
      [&](IStockCommon& reference) { info = reference.GetKLineMetaInfo(symbol, period, adjustment); });
  return info;
}

bool ReadFile(const std::wstring& path, Candles& candles) {
  std::string text;
  if (path.empty() || !GZipExtract(path.c_str(), text)) {
    return false;
  }
  candles = ReadPackage(text);
  return true;
}

// Fetches the announced package. The store follows the file, never the other way round.
bool Download(const Wanted& wanted, const std::wstring& path, reference::PackageVersionStore& store,
              Candles& candles) {
  const std::wstring url = request::KLinePackageUrl(wanted.symbol.c_str(), wanted.period, wanted.adjustment,
                                                    common::ws2s(wanted.announced.version, common::kUtf8));
  common::ForceRemoveFile(path.c_str());
  if (url.empty() || !DownloadFileSyncWithRetry(url, path, kDownloadTries, kDownloadSeconds) ||
      !ReadFile(path, candles)) {
    return false;
  }
  store.Set(reference::PackageKey(wanted.period, wanted.adjustment), wanted.announced);
  return true;
}

// The package from disk, or from the server when the one on disk is older than announced, damaged or missing.
bool LoadPackage(const Wanted& wanted, Candles& candles) {
  const std::wstring path = wanted.Path();
  if (path.empty()) {
    return false;
  }
  reference::PackageVersionStore store(wanted.symbol.c_str());
  const KLineMetaInfo stored = store.Get(reference::PackageKey(wanted.period, wanted.adjustment));
  const bool stale = common::Compare(wanted.announced.version, stored.version, false) >= 1;
  if (!stale && ReadFile(path, candles)) {
    return true;
  }
  return !wanted.announced.version.empty() && Download(wanted, path, store, candles);
}

Candles QueryHistory(const Wanted& wanted, std::uint32_t limit) {
  const request::SyncAnswer answer = request::AskNow(
      request::KLineHistoryUrl(wanted.symbol.c_str(), wanted.period, wanted.adjustment, 0, limit));
  if (!answer.ok) {
    return {};
  }
  const auto document = request::json::Document::Parse(answer.body.data(), answer.body.size());
  return ReadHistory(document.Root());
}

// Rows that lie between two dates at most, with the one that holds the first of them.
std::uint32_t RowsBetween(std::uint32_t first, std::uint32_t last) {
  constexpr std::int64_t kSecondsPerDay = 86400;
  const std::int64_t days =
      (common::DateToTime(last, 0, 0, 0) - common::DateToTime(first, 0, 0, 0)) / kSecondsPerDay;
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(days + 1, 1, kUsualLimit));
}

}  // namespace

// The right to load one package; taken when nobody else loads it.
class KLineHistory::Turn {
 public:
  Turn(KLineHistory& history, Package package) : history_(history), package_(std::move(package)) {
    std::unique_lock<std::mutex> lock(history_.mutex_);
    history_.turn_ended_.wait(lock, [this] { return history_.loading_.count(package_) == 0; });
    history_.loading_.insert(package_);
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  ~Turn() {
    const std::lock_guard<std::mutex> lock(history_.mutex_);
    history_.loading_.erase(package_);
    history_.turn_ended_.notify_all();
  }

 private:
  KLineHistory& history_;
  const Package package_;
};

Candles KLineHistory::Load(const std::wstring& symbol, int period, int adjustment) {
  const Package package{symbol, reference::PackageKey(period, adjustment)};
  const Turn turn(*this, package);
  const Wanted wanted{symbol, period, adjustment, Announced(symbol, period, adjustment)};
  if (const auto held = Find(package, wanted.announced.version)) {
    return *held;
  }
  Candles candles;
  if (!LoadPackage(wanted, candles)) {
    const auto count = wanted.announced.count;
    return QueryHistory(wanted, count > 0 ? static_cast<std::uint32_t>(count) : kUsualLimit);
  }
  const std::uint32_t last_trading_date = stock::GetLastTradingDate(common::GetCurrentServerDate());
  if (!candles.empty() && candles.back().date < last_trading_date) {
    MergeTail(period, candles, QueryHistory(wanted, RowsBetween(candles.back().date, last_trading_date)));
  }
  Hold(package, wanted.announced.version, candles);
  return candles;
}

std::shared_ptr<const Candles> KLineHistory::Find(const Package& package, const std::wstring& version) const {
  const std::uint32_t today = common::GetCurrentServerDate();
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = held_.find(package);
  if (found == held_.end() || found->second.version != version || found->second.date != today) {
    return nullptr;
  }
  return found->second.candles;
}

void KLineHistory::Hold(const Package& package, const std::wstring& version, const Candles& candles) {
  const std::uint32_t today = common::GetCurrentServerDate();
  auto shared = std::make_shared<const Candles>(candles);
  const std::lock_guard<std::mutex> lock(mutex_);
  held_[package] = {version, today, std::move(shared)};
}

}  // namespace charts
