// The fixed log texts of every fetch. Hosts search their logs for these, so each stands here once, as it is.
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

/// The three lines of a fetch; null for a line that the fetch does not have.
struct FetchTexts {
  const wchar_t* failed;          ///< the request failed: no complete answer
  const wchar_t* response_error;  ///< format: the answer carries an error number
  const wchar_t* parse_error;     ///< format: the answer is no JSON; the parser's code
};

[[nodiscard]] const FetchTexts& TextsOf(Fetch fetch);

/// Writes the fetch's line to the host's log, if it has that line.
void LogFailed(Fetch fetch);
void LogResponseError(Fetch fetch, int number);
void LogParseError(Fetch fetch, int code);

}  // namespace request
