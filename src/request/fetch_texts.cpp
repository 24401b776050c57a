#include "request/fetch_texts.h"

#include <array>
#include <cstddef>

#include "host/log.h"

// The three lines of a fetch whose lines share one name, and the two of a load whose lines do not.
#define CSM_LINES(name)                                                                             \
  FetchTexts {                                                                                      \
    L##name L" Failed.", L##name L" Response Error Code: %d", L##name L" Json Parse Error Code: %d" \
  }
#define CSM_LOAD_LINES(response, parse)                                                      \
  FetchTexts {                                                                               \
    nullptr, L##response L" Response Error Code: %d", L##parse L" Json Parse Error Code: %d" \
  }

namespace request {
namespace {

constexpr std::array kTexts = {
    CSM_LINES("IndexMarket::FetchIndexMarkets"),
    CSM_LINES("StockMarket::FetchStockMarkets"),
    CSM_LINES("StockMarket::FetchStockItems"),
    CSM_LINES("SingleStockMarket::FetchStockMarket"),
    CSM_LINES("OptionalStockMarket::FetchStockMarkets"),
    CSM_LINES("PlateMarket::FetchPlateMarkets"),
    CSM_LINES("PlateMarket::FetchPlateItems"),
    CSM_LINES("PlateStockMarket::FetchStockMarkets"),
    CSM_LINES("StockRanking::FetchStockRanking"),
    CSM_LINES("PlateRanking::FetchPlateRanking"),
    CSM_LINES("StockMLine::FetchMLine"),
    CSM_LINES("StockMLine::FetchHistoryMLine"),
    CSM_LINES("StockKLine::FetchKLine"),
    CSM_LINES("StockUnusualEvent::FetchUnusualEvent"),
    CSM_LINES("StockInOut::FetchStockInOutInfo"),
    CSM_LINES("StrengthRating::FetchStrengthRating"),
    CSM_LINES("StockDistribution::FetchDistribution"),
    CSM_LINES("MoneyEffect::FetchMoneyEffect"),
    CSM_LINES("CMarginTrade::FetchMarginTradeInfo"),
    CSM_LINES("CStockPurchase::FetchPurchaseInfo"),
    CSM_LINES("StockCommon::InitLegalHolidays"),
    CSM_LOAD_LINES("StockCommon::InitBaseInfo", "StockCommon::InitBaseInfoItems"),
    CSM_LOAD_LINES("StockCommon::InitIndexItem", "StockCommon::InitIndexItemList"),
    CSM_LOAD_LINES("StockCommon::InitPlateItem", "StockCommon::InitPlateItemList"),
    CSM_LOAD_LINES("StockCommon::InitStockInPlates", "StockCommon::InitStockInPlates"),
    // Kept: the version fetch writes the lines of the membership load.
    CSM_LOAD_LINES("StockCommon::InitStockInPlates", "StockCommon::InitStockInPlates"),
    FetchTexts{nullptr, nullptr, L"StockCommon::ParseComplexTypeCount Json Parse Error Code: %d"},
};

static_assert(kTexts.size() == static_cast<std::size_t>(Fetch::kPackageCounts) + 1, "one entry per fetch");

constexpr unsigned kAllOnes = 0xFFFFFFFFU;

template <class Line>
void Write(Line line) noexcept {
  try {
    line();
  } catch (...) {
  }
}

}  // namespace

const FetchTexts& TextsOf(Fetch fetch) {
  return kTexts[static_cast<std::size_t>(fetch)];
}

int SecondsOf(Fetch fetch) {
  constexpr int kQuick = 3;
  constexpr int kUsual = 30;
  constexpr int kHolidays = 8;
  switch (fetch) {
    case Fetch::kIndexQuotes:
    case Fetch::kStrengthRating:
    case Fetch::kDistribution:
    case Fetch::kMoneyEffect:
      return kQuick;
    case Fetch::kLegalHolidays:
      return kHolidays;
    default:
      return kUsual;
  }
}

bool ParsesIncomplete(Fetch fetch) {
  return fetch == Fetch::kStockInOut;
}

void LogFailed(Fetch fetch) noexcept {
  Write([text = TextsOf(fetch).failed] {
    if (text != nullptr) {
      WriteProgramLogString(kAllOnes, text);
    }
  });
}

void LogResponseError(Fetch fetch, int number) noexcept {
  Write([format = TextsOf(fetch).response_error, number] {
    if (format != nullptr) {
      WriteProgramLogNoMask(format, number);
    }
  });
}

void LogParseError(Fetch fetch, int code) noexcept {
  Write([format = TextsOf(fetch).parse_error, code] {
    if (format != nullptr) {
      WriteProgramLogNoMask(format, code);
    }
  });
}

}  // namespace request
