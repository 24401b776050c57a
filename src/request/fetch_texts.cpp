#include "request/fetch_texts.h"

#include <array>
#include <cstddef>

#include "frame/succeeds.h"
#include "host/log.h"

// The three lines of a fetch whose lines share one name, and the two of a load whose lines do not.
#define CSM_LINES(name) \
  L##name L" Failed.", L##name L" Response Error Code: %d", L##name L" Json Parse Error Code: %d"
#define CSM_LOAD_LINES(response, parse) \
  nullptr, L##response L" Response Error Code: %d", L##parse L" Json Parse Error Code: %d"

namespace request {
namespace {

constexpr int kQuick = 3;  // seconds
constexpr int kUsual = 30;
constexpr int kHolidays = 8;

struct Entry {
  Fetch fetch;
  int seconds;
  const wchar_t* failed;          // the request failed: no complete answer
  const wchar_t* response_error;  // format: the answer carries an error number
  const wchar_t* parse_error;     // format: the answer is no JSON; the parser's code
};

constexpr std::array kEntries = {
    Entry{Fetch::kIndexQuotes, kQuick, CSM_LINES("IndexMarket::FetchIndexMarkets")},
    Entry{Fetch::kStockQuotes, kUsual, CSM_LINES("StockMarket::FetchStockMarkets")},
    Entry{Fetch::kStockItems, kUsual, CSM_LINES("StockMarket::FetchStockItems")},
    Entry{Fetch::kSingleStock, kUsual, CSM_LINES("SingleStockMarket::FetchStockMarket")},
    Entry{Fetch::kOptionalStocks, kUsual, CSM_LINES("OptionalStockMarket::FetchStockMarkets")},
    Entry{Fetch::kPlateQuotes, kUsual, CSM_LINES("PlateMarket::FetchPlateMarkets")},
    Entry{Fetch::kPlateItems, kUsual, CSM_LINES("PlateMarket::FetchPlateItems")},
    Entry{Fetch::kPlateStocks, kUsual, CSM_LINES("PlateStockMarket::FetchStockMarkets")},
    Entry{Fetch::kStockRanking, kUsual, CSM_LINES("StockRanking::FetchStockRanking")},
    Entry{Fetch::kPlateRanking, kUsual, CSM_LINES("PlateRanking::FetchPlateRanking")},
    Entry{Fetch::kMinuteLine, kUsual, CSM_LINES("StockMLine::FetchMLine")},
    Entry{Fetch::kHistoryMinuteLine, kUsual, CSM_LINES("StockMLine::FetchHistoryMLine")},
    Entry{Fetch::kKLine, kUsual, CSM_LINES("StockKLine::FetchKLine")},
    Entry{Fetch::kUnusualEvents, kUsual, CSM_LINES("StockUnusualEvent::FetchUnusualEvent")},
    Entry{Fetch::kStockInOut, kUsual, CSM_LINES("StockInOut::FetchStockInOutInfo")},
    Entry{Fetch::kStrengthRating, kQuick, CSM_LINES("StrengthRating::FetchStrengthRating")},
    Entry{Fetch::kDistribution, kQuick, CSM_LINES("StockDistribution::FetchDistribution")},
    Entry{Fetch::kMoneyEffect, kQuick, CSM_LINES("MoneyEffect::FetchMoneyEffect")},
    Entry{Fetch::kMarginTrade, kUsual, CSM_LINES("CMarginTrade::FetchMarginTradeInfo")},
    Entry{Fetch::kStockPurchase, kUsual, CSM_LINES("CStockPurchase::FetchPurchaseInfo")},
    Entry{Fetch::kLegalHolidays, kHolidays, CSM_LINES("StockCommon::InitLegalHolidays")},
    Entry{Fetch::kBaseInfo, kUsual,
          CSM_LOAD_LINES("StockCommon::InitBaseInfo", "StockCommon::InitBaseInfoItems")},
    Entry{Fetch::kIndexList, kUsual,
          CSM_LOAD_LINES("StockCommon::InitIndexItem", "StockCommon::InitIndexItemList")},
    Entry{Fetch::kPlateList, kUsual,
          CSM_LOAD_LINES("StockCommon::InitPlateItem", "StockCommon::InitPlateItemList")},
    Entry{Fetch::kStockInPlates, kUsual,
          CSM_LOAD_LINES("StockCommon::InitStockInPlates", "StockCommon::InitStockInPlates")},
    // Kept: the version fetch writes the lines of the membership load.
    Entry{Fetch::kMetadataVersion, kUsual,
          CSM_LOAD_LINES("StockCommon::InitStockInPlates", "StockCommon::InitStockInPlates")},
    Entry{Fetch::kPackageCounts, kUsual, nullptr, nullptr,
          L"StockCommon::ParseComplexTypeCount Json Parse Error Code: %d"},
};

constexpr bool EveryFetchIsInItsPlace() {
  std::size_t place = 0;
  for (const Entry& entry : kEntries) {
    if (static_cast<std::size_t>(entry.fetch) != place++ || entry.parse_error == nullptr) {
      return false;
    }
  }
  return place == static_cast<std::size_t>(Fetch::kPackageCounts) + 1;
}
static_assert(EveryFetchIsInItsPlace(), "one entry for each fetch, in their order");

constexpr const Entry& EntryOf(Fetch fetch) {
  return kEntries[static_cast<std::size_t>(fetch)];
}

// A log that fails is left alone.
void Write(const wchar_t* format, int number) noexcept {
  static_cast<void>(frame::Succeeds([&] { WriteProgramLogNoMask(format, number); }));
}

}  // namespace

int SecondsOf(Fetch fetch) {
  return EntryOf(fetch).seconds;
}

bool ParsesIncomplete(Fetch fetch) {
  return fetch == Fetch::kStockInOut;
}

void LogFailed(Fetch fetch) noexcept {
  constexpr unsigned kAllOnes = 0xFFFFFFFFU;
  if (const wchar_t* const text = EntryOf(fetch).failed) {
    static_cast<void>(frame::Succeeds([text] { WriteProgramLogString(kAllOnes, text); }));
  }
}

void LogResponseError(Fetch fetch, int number) noexcept {
  if (const wchar_t* const format = EntryOf(fetch).response_error) {
    Write(format, number);
  }
}

void LogParseError(Fetch fetch, int code) noexcept {
  Write(EntryOf(fetch).parse_error, code);
}

}  // namespace request
