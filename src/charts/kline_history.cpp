#include "charts/kline_history.h"

#include <algorithm>
#include <optional>

#include "charts/kline_merge.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "host/files.h"
#include "host/network.h"
#include "host/tasks.h"
#include "host/text.h"
#include "reference/package_key.h"
#include "reference/package_version_store.h"
#include "reference/reference_data.h"
#include "request/ask.h"
#include "request/urls.h"

namespace charts {
namespace {

constexpr int kDownloadTries = 3;
constexpr int kDownloadSeconds = 30;
constexpr std::uint32_t kUsualLimit = 1000;
// Lines of a package. Thirty years of days are 8,000; more than this is a server's mischief.
constexpr std::size_t kMostLines = 1'000'000;

bool ReadFile(const std::wstring& path, Candles& candles) {
  std::string text;
  if (!GZipExtract(path.c_str(), text) || (text.size() > kMostLines && CountLines(text) > kMostLines)) {
    return false;
  }
  candles = ReadPackage(text);
  return true;
}

}  // namespace

struct KLineHistory::Wanted {
  const std::wstring& symbol;
  int period;
  int adjustment;
  KLineMetaInfo announced;
  std::uint32_t today;
  const std::function<bool()>& is_wanted;

  // The package on disk; empty for a symbol that may have none.
  [[nodiscard]] std::wstring Path() const {
    const std::wstring directory = reference::PackageDirectory(symbol.c_str());
    if (directory.empty()) {
      return {};
    }
    return directory + L"/" + std::to_wstring(period) + L"." + std::to_wstring(adjustment) + L".dat";
  }

  bool Download(const std::wstring& path, reference::PackageVersionStore& store, Candles& candles) const;
  bool LoadPackage(Candles& candles) const;
  [[nodiscard]] std::optional<Candles> QueryHistory(std::uint32_t limit) const;
};

// Fetches the announced package. The store follows the file, never the other way round.
bool KLineHistory::Wanted::Download(const std::wstring& path, reference::PackageVersionStore& store,
                                    Candles& candles) const {
  const std::wstring url = request::KLinePackageUrl(symbol.c_str(), period, adjustment,
                                                    common::ws2s(announced.version, common::kUtf8));
  if (url.empty() || !is_wanted()) {
    return false;
  }
  common::ForceRemoveFile(path.c_str());
  if (!DownloadFileSyncWithRetry(url, path, kDownloadTries, kDownloadSeconds) || !ReadFile(path, candles) ||
      (candles.empty() && announced.count > 0)) {
    return false;
  }
  store.Set(reference::PackageKey(period, adjustment), announced);
  return true;
}

// The package from disk, or from the server when the one on disk is older than announced, damaged or missing.
bool KLineHistory::Wanted::LoadPackage(Candles& candles) const {
  const std::wstring path = Path();
  if (path.empty()) {
    return false;
  }
  reference::PackageVersionStore store(symbol.c_str());
  const KLineMetaInfo stored = store.Get(reference::PackageKey(period, adjustment));
  const bool stale = common::Compare(announced.version, stored.version, false) >= 1;
  if (!stale && ReadFile(path, candles)) {
    return true;
  }
  return !announced.version.empty() && Download(path, store, candles);
}

// The newest `limit` candles; nothing when no good answer came.
std::optional<Candles> KLineHistory::Wanted::QueryHistory(std::uint32_t limit) const {
  if (!is_wanted()) {
    return std::nullopt;
  }
  const request::SyncAnswer answer =
      request::AskNow(request::KLineHistoryUrl(symbol.c_str(), period, adjustment, 0, limit));
  if (!answer.ok) {
    return std::nullopt;
  }
  const auto document = request::json::Document::Parse(answer.body.data(), answer.body.size());
  if (document.Error() != 0 || document.Root().Member("errno").Integer() != 0) {
    return std::nullopt;
  }
  return ReadHistory(document.Root());
}

namespace {

KLineMetaInfo Announced(const std::wstring& symbol, int period, int adjustment) {
  KLineMetaInfo info;
  reference::WithReferenceData(
      [&](IStockCommon& reference) { info = reference.GetKLineMetaInfo(symbol, period, adjustment); });
  return info;
}

// Rows that lie between two dates at most, with the one that holds the first of them.
std::uint32_t RowsBetween(std::uint32_t first, std::uint32_t last) {
  constexpr std::int64_t kSecondsPerDay = 86400;
  const std::int64_t days =
      (common::DateToTime(last, 0, 0, 0) - common::DateToTime(first, 0, 0, 0)) / kSecondsPerDay;
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(days + 1, 1, kUsualLimit));
}

}  // namespace

// Being the one who loads a package. The others leave their uses with it.
class KLineHistory::Turn {
 public:
  Turn(KLineHistory& history, const Package& package, const Use& use)
      : history_(history), package_(package), first_(Enter(use)) {}
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  ~Turn() {
    if (first_) {
      static_cast<void>(End());
    }
  }

  /// False when somebody else loads the package already, and keeps `use` for later.
  [[nodiscard]] explicit operator bool() const { return first_; }

  /// Ends the turn and returns the uses of the others.
  [[nodiscard]] std::vector<Use> End() {
    first_ = false;
    const std::lock_guard<std::mutex> lock(history_.mutex_);
    auto node = history_.loading_.extract(package_);
    return std::move(node.mapped());
  }

 private:
  bool Enter(const Use& use) {
    const std::lock_guard<std::mutex> lock(history_.mutex_);
    const auto [place, first] = history_.loading_.try_emplace(package_);
    if (!first) {
      place->second.push_back(use);
    }
    return first;
  }

  KLineHistory& history_;
  const Package& package_;
  bool first_;
};

std::shared_ptr<const Candles> KLineHistory::Load(const std::wstring& symbol, int period, int adjustment,
                                                  const Use& later, const std::function<bool()>& is_wanted) {
  const Package package{symbol, reference::PackageKey(period, adjustment)};
  Turn turn(*this, package, later);
  if (!turn) {
    return nullptr;
  }
  const Wanted wanted{
      symbol,   period, adjustment, Announced(symbol, period, adjustment), common::GetCurrentServerDate(),
      is_wanted};
  Shared candles = LoadNow(package, wanted);
  for (const Use& other : turn.End()) {
    base::TaskManagerInstance()->AddTask([other, candles] { other(*candles); });
  }
  return candles;
}

KLineHistory::Shared KLineHistory::LoadNow(const Package& package, const Wanted& wanted) {
  Held held = Find(package, wanted);
  if (held.has_tail) {
    return held.candles;
  }
  Candles candles;
  if (held.candles) {
    candles = *held.candles;
  } else if (!wanted.LoadPackage(candles)) {
    const auto count = wanted.announced.count;
    const auto limit = count > 0 ? static_cast<std::uint32_t>(count) : kUsualLimit;
    return std::make_shared<const Candles>(wanted.QueryHistory(limit).value_or(Candles()));
  }
  held.has_tail = true;
  const std::uint32_t last_trading_date = stock::GetLastTradingDate(wanted.today);
  if (!candles.empty() && LastDate(candles) < last_trading_date) {
    const auto tail = wanted.QueryHistory(RowsBetween(LastDate(candles), last_trading_date));
    held.has_tail = tail.has_value();
    MergeTail(wanted.period, candles, tail.value_or(Candles()));
  }
  held.version = wanted.announced.version;
  held.date = wanted.today;
  held.candles = std::make_shared<const Candles>(std::move(candles));
  Hold(package, held);
  return held.candles;
}

KLineHistory::Held KLineHistory::Find(const Package& package, const Wanted& wanted) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = held_.find(package);
  if (found == held_.end() || found->second.version != wanted.announced.version ||
      found->second.date != wanted.today) {
    return {};
  }
  return found->second;
}

void KLineHistory::Hold(const Package& package, const Held& held) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::erase_if(held_, [&held](const auto& other) { return other.second.date != held.date; });
  held_[package] = held;
}

}  // namespace charts
