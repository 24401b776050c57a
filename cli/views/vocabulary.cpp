#include "cli/views/vocabulary.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "cli/views/order.h"

namespace cli {
namespace {

constexpr Choice kBoards[] = {{"all", 1, "all A shares"},
                              {"sh", 2, "Shanghai"},
                              {"sz", 3, "Shenzhen"},
                              {"gem", 4, "growth enterprises"},
                              {"sme", 5, "small and medium enterprises"}};

constexpr Choice kPlateKinds[] = {{"industry", 1, "what companies make"},
                                  {"concept", 2, "what investors talk of"}};

constexpr Choice kCode{"code", 1, "symbol", 'K'};
constexpr Choice kName{"name", 2, "name", 'N'};
constexpr Choice kLast{"last", 3, "last price", 'L'};
constexpr Choice kChange{"change", 4, "change against the previous close, in percent", 'C'};
constexpr Choice kDiff{"diff", 5, "change against the previous close, in yuan", 'D'};
constexpr Choice kBid1{"bid1", 6, "best bid", 'I'};
constexpr Choice kAsk1{"ask1", 7, "best offer", 'A'};
constexpr Choice kTr{"tr", 8, "turnover rate", 'T'};
constexpr Choice kAmt{"amt", 9, "amount of the session", 'M'};
constexpr Choice kVol{"vol", 10, "volume of the session", 'V'};
constexpr Choice kPe{"pe", 11, "price to earnings", 'P'};
constexpr Choice kHigh{"high", 12, "highest price", 'H'};
constexpr Choice kLow{"low", 13, "lowest price", 'W'};
constexpr Choice kOpen{"open", 14, "first price", 'O'};
constexpr Choice kPreclose{"preclose", 15, "previous close", 'Y'};
constexpr Choice kAmp{"amp", 16, "amplitude", 'U'};
constexpr Choice kQrr{"qrr", 17, "volume ratio", 'X'};
constexpr Choice kCr{"cr", 18, "commission ratio", 'Z'};
constexpr Choice kMc{"mc", 19, "market capitalisation", 'E'};

constexpr Choice kStockColumns[] = {kCode, kName, kLast, kChange, kDiff,     kBid1, kAsk1, kTr, kAmt, kVol,
                                    kPe,   kHigh, kLow,  kOpen,   kPreclose, kAmp,  kQrr,  kCr, kMc};

constexpr Choice kPlateColumns[] = {kCode,
                                    kName,
                                    kLast,
                                    kChange,
                                    kDiff,
                                    kTr,
                                    kAmt,
                                    kVol,
                                    kPe,
                                    kHigh,
                                    kLow,
                                    kOpen,
                                    kPreclose,
                                    kAmp,
                                    kQrr,
                                    kCr,
                                    kMc,
                                    {"lead", 20, "leading stock", 'F'},
                                    {"lead_change", 21, "its change in percent", 'J'},
                                    {"bpin", 22, "the server's figure of that name", '<'},
                                    {"cud", 23, "the server's count of that name", '>'}};

constexpr auto kWatchListColumns = [] {
  std::array<Choice, std::size(kStockColumns) + 2> columns{};
  columns.front() = {"none", 0, "the order of the list itself", '0'};
  std::copy(std::begin(kStockColumns), std::end(kStockColumns), columns.begin() + 1);
  columns.back() = {"plate", 24, "first plate of the stock", 'F'};
  return columns;
}();

constexpr Choice kPeriods[] = {
    {"day", kByDay, "a trading day"}, {"week", 2, "Monday to Friday"}, {"month", 3, "a calendar month"}};
constexpr Choice kAdjustments[] = {{"none", kUnadjusted, "prices as they were traded at"},
                                   {"forward", 2, "today's prices stay, those of the past are changed"},
                                   {"backward", 3, "the first prices stay, later ones are changed"}};

constexpr Choice kDirections[] = {{"asc", kAscending, "the smallest first"},
                                  {"desc", kDescending, "the largest first"}};
constexpr Choice kSpans[] = {{"day", 0, "of the day"}, {"five minutes", 1, "of the last five minutes"}};

}  // namespace

Choices Boards() {
  return kBoards;
}

Choices PlateKinds() {
  return kPlateKinds;
}

Choices StockColumns() {
  return kStockColumns;
}

Choices PlateColumns() {
  return kPlateColumns;
}

Choices WatchListColumns() {
  return kWatchListColumns;
}

Choices Periods() {
  return kPeriods;
}

Choices Directions() {
  return kDirections;
}

Choices Spans() {
  return kSpans;
}

Choices Adjustments() {
  return kAdjustments;
}

std::string SeriesText(int period, int adjustment) {
  const std::string adjusted =
      adjustment == kUnadjusted ? "" : ", adjusted " + std::string(NameOf(kAdjustments, adjustment));
  return "by " + std::string(NameOf(kPeriods, period)) + adjusted;
}

}  // namespace cli
