// The numbers of the interfaces by name: boards, columns, directions, periods, adjustments. Operations and
// keys take plain integers, to which these convert without a word. Constants only. The words on the wire are
// a matter of request/vocabulary.h.
#pragma once

#include <cstdint>

namespace market {

/// `stock_type` of a board of stocks.
enum Board : std::uint8_t {
  kAllShares = 1,  ///< all A shares
  kShanghai = 2,
  kShenzhen = 3,
  kGem = 4,  ///< the growth board
  kSme = 5,  ///< small and medium enterprises
};

/// `bk_type`, the kind of a plate.
enum PlateKind : std::uint8_t {
  kIndustry = 1,
  kConcept = 2,
};

/// `sort_key` of lists of stocks, of plates, of the members of a plate, and of the watch list.
enum Column : std::uint8_t {
  kByCode = 1,
  kByName = 2,
  kByLast = 3,
  kByChange = 4,
  kByDiff = 5,
  kByBid1 = 6,  ///< not of plates nor of their members
  kByAsk1 = 7,  ///< not of plates nor of their members
  kByTurnover = 8,
  kByAmount = 9,
  kByVolume = 10,
  kByPe = 11,
  kByHigh = 12,
  kByLow = 13,
  kByOpen = 14,
  kByPreclose = 15,
  kByAmplitude = 16,
  kByVolumeRatio = 17,
  kByCommissionRatio = 18,
  kByMarketValue = 19,
  kByLeader = 20,  ///< plates and their members only, as the three that follow
  kByLeaderChange = 21,
  kByInflow = 22,     ///< net inflow of big orders
  kByDaysInRow = 23,  ///< days risen, or fallen, one after the other
  kByPlate = 24,      ///< the watch list only
};

/// `sort_type`.
enum Direction : std::uint8_t {
  kAscending = 1,
  kDescending = 2,
};

/// What a candle stands for.
enum Period : std::uint8_t {
  kDay = 1,
  kWeek = 2,
  kMonth = 3,
};

/// How the prices of candles are adjusted for dividends and splits.
enum Adjustment : std::uint8_t {
  kUnadjusted = 1,
  kForward = 2,   ///< today's prices hold, the past is adjusted
  kBackward = 3,  ///< the listing's prices hold
};

}  // namespace market
