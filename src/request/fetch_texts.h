// What is fixed of every fetch: its log texts, which hosts search their logs for, and how it goes over the
// wire. Thread-safe.
#pragma once

namespace request {

/// Every fetch of the module.
enum class Fetch {
  kIndexQuotes,
  kStockQuotes,
  kStockItems,
  kSingleStock,
  kOptionalStocks,
  kPlateQuotes,
  kPlateItems,
  kPlateStocks,
  kStockRanking,
  kPlateRanking,
  kMinuteLine,
  kHistoryMinuteLine,
  kKLine,
  kUnusualEvents,
  kStockInOut,
  kStrengthRating,
  kDistribution,
  kMoneyEffect,
  kMarginTrade,
  kStockPurchase,
  kLegalHolidays,
  kBaseInfo,
  kIndexList,
  kPlateList,
  kStockInPlates,
  kMetadataVersion,
  kPackageCounts,
};

/// The setting that requests of the fetch are sent with: seconds for the whole exchange.
[[nodiscard]] int SecondsOf(Fetch fetch);

/// True for the one fetch whose answer is parsed even when it has no body or did not arrive whole, so that a
/// failure leaves two lines (kept).
[[nodiscard]] bool ParsesIncomplete(Fetch fetch);

/// Writes the fetch's line to the host's log, if it has that line. A log that fails is left alone.
void LogFailed(Fetch fetch) noexcept;
void LogResponseError(Fetch fetch, int number) noexcept;
void LogParseError(Fetch fetch, int code) noexcept;

}  // namespace request
