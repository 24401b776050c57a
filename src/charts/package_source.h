// Where the history of a series comes from: the package on disk, the static file server, the history query
// service. What is done when one of them fails is a matter of series_loader.h. Thread-safe: no state of its
// own; its calls wait for disk and network.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "charts/kline_series.h"
#include "reference/stock_common.h"

namespace charts {

/// A package that is to be brought.
struct PackageWish {
  const Series& series;
  KLineMetaInfo announced;
  bool may_download = true;
  bool keep_old = true;                    ///< whether the candles of a stale package are of use
  const std::function<bool()>& is_wanted;  ///< nothing is sent any more once it says false
};

struct BroughtPackage {
  std::optional<Candles> candles;  ///< of the announced version, or one that is not older
  Candles old;                     ///< those of a stale package
  bool download_failed = false;
  bool next_load_downloads = false;
};

/// The package from disk; from the server when the store says that the one on disk is stale, or says nothing
/// and there is none. The store follows the file, never the other way round.
[[nodiscard]] BroughtPackage BringPackage(const PackageWish& wish);

/// The newest `limit` candles that the history service has; nothing when no good answer came.
[[nodiscard]] std::optional<Candles> QueryHistory(const Series& series, std::uint32_t limit);

/// True when the history service has that trading day at all: a symbol that lacks it did not trade then.
[[nodiscard]] bool HistoryReaches(std::uint32_t date);

}  // namespace charts
