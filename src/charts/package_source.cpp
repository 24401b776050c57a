#include "charts/package_source.h"

#include <string>

#include "charts/kline_link.h"
#include "charts/kline_package.h"
#include "charts/symbol_case.h"
#include "host/files.h"
#include "host/network.h"
#include "host/text.h"
#include "json/budget.h"
#include "reference/package_key.h"
#include "reference/package_version_store.h"
#include "request/ask.h"
#include "request/urls.h"

namespace charts {
namespace {

constexpr int kDownloadTries = 3;
constexpr int kDownloadSeconds = 30;
// Lines of a package. Thirty years of days are 8,000; more than this is a server's mischief.
constexpr std::size_t kMostLines = 1'000'000;
// An index that trades on every trading day.
constexpr const wchar_t* kMarketIndex = L"sh000001";

// Nothing for a file that is missing or damaged, and for one without candles where some are announced.
std::optional<Candles> ReadFile(const std::wstring& path, int announced_count) {
  std::string text;
  if (!GZipExtract(path.c_str(), text) || (text.size() > kMostLines && CountLines(text) > kMostLines)) {
    return std::nullopt;
  }
  Candles candles = ReadPackage(text);
  if (candles.empty() && announced_count > 0) {
    return std::nullopt;
  }
  return candles;
}

}  // namespace

BroughtPackage BringPackage(const PackageWish& wish) {
  const Series& series = wish.series;
  const std::wstring symbol = LowerCase(series.symbol);
  const KLineMetaInfo& announced = wish.announced;
  BroughtPackage brought;
  reference::PackageVersionStore store(symbol.c_str());
  if (store.Directory().empty()) {
    return brought;
  }
  const std::wstring path = store.Directory() + L"/" + std::to_wstring(series.period) + L"." +
                            std::to_wstring(series.adjustment) + L".dat";
  const std::uint16_t key = reference::PackageKey(series.period, series.adjustment);
  const auto stored = store.Get(key);
  const bool stale = stored && common::Compare(announced.version, stored->version, false) >= 1;
  if (!stale || wish.keep_old) {
    brought.candles = ReadFile(path, announced.count);
  }
  if (stale) {
    brought.old = std::move(brought.candles).value_or(Candles());
    brought.candles.reset();
  } else if (brought.candles) {
    return brought;
  } else if (stored) {
    if (!announced.version.empty()) {
      store.Set(key, {});
      brought.next_load_downloads = true;
    }
    return brought;
  }
  const std::wstring url = request::KLinePackageUrl(symbol.c_str(), series.period, series.adjustment,
                                                    common::ws2s(announced.version, common::kUtf8));
  if (url.empty() || !wish.may_download || !wish.is_wanted()) {
    return brought;
  }
  if (stale) {
    common::ForceRemoveFile(path.c_str());
  }
  if (DownloadFileSyncWithRetry(url, path, kDownloadTries, kDownloadSeconds)) {
    brought.candles = ReadFile(path, announced.count);
  }
  if (brought.candles) {
    store.Set(key, announced);
  }
  brought.download_failed = !brought.candles;
  return brought;
}

std::optional<Candles> QueryHistory(const Series& series, std::uint32_t limit) {
  const request::SyncAnswer answer = request::AskNow(
      request::KLineHistoryUrl(LowerCase(series.symbol).c_str(), series.period, series.adjustment, 0, limit));
  if (!answer.ok) {
    return std::nullopt;
  }
  const auto document = request::json::Document::Parse(answer.body.data(), answer.body.size());
  if (document.Error() != 0 || document.Root().Member("errno").Integer() != 0) {
    return std::nullopt;
  }
  try {
    return ReadHistory(document.Root());
  } catch (const request::json::TooMuchMemory&) {
    return std::nullopt;
  }
}

bool HistoryReaches(std::uint32_t date) {
  const auto newest = QueryHistory({kMarketIndex}, 1);
  return newest && LastDate(*newest) >= date;
}

}  // namespace charts
