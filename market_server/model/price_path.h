// Prices, volumes and amounts of one security, drawn for any day without its other days. Days come in blocks:
// each block runs between two anchors, within it the path is drawn with its limit days, suspensions and
// dividends. A day is then refined to half hours and to minutes; each depth keeps the totals of the one
// above, so that a day's amount is known without its minutes. Prices are cents, volumes are lots of 100
// shares, amounts are cents. Pure functions; the whole market of a day is in market_day.h.
#pragma once

#include <array>
#include <cstdint>

#include "market_server/model/factors.h"
#include "market_server/model/universe.h"

namespace market_server::model {

struct DayPrices {
  bool traded = false;
  Status status = Status::kTrading;
  std::int32_t preclose = 0;                  ///< the reference price of the day, after a dividend or split
  std::int32_t close = 0;                     ///< the last known price of a day without trading
  std::int32_t limit_up = 0, limit_down = 0;  ///< 0: none
  int at_limit = 0;  ///< 1: closes at the upper limit by force of the day, -1: at the lower
};
using BlockPrices = std::array<DayPrices, kBlock>;

/// One traded day at half hours: prices at the open and at each end, lots run up to there.
struct DayShape {
  std::array<std::int32_t, kSegments + 1> price{};
  std::array<std::uint32_t, kSegments + 1> lots{};
  int sealed_from = kSegments + 1;  ///< the half hour's end from which the price does not leave its limit
  [[nodiscard]] std::int64_t Amount() const;
};

/// One traded day at minutes: [0] is the opening auction, [m] the end of minute m.
struct MinutePath {
  std::int32_t* price;
  std::uint32_t* lots;
  std::int64_t* amount;
};
inline constexpr std::size_t kPoints = kMinutes + 1;

class PricePath {
 public:
  PricePath(const Options& options, const Days& days, const Factors& factors);

  [[nodiscard]] BlockPrices BlockOf(const Stock& stock, int number) const;
  [[nodiscard]] DayPrices day(const Stock& stock, int day) const {
    return BlockOf(stock, day / kBlock)[static_cast<std::size_t>(day % kBlock)];
  }
  /// The price of the issue: what a stock counts for before it is listed.
  [[nodiscard]] std::int32_t IssuePrice(const Stock& stock) const;
  /// Capitalisation in cents on which the year's earnings are measured.
  [[nodiscard]] double YearlyCapitalisation(const Stock& stock, int day) const;

  [[nodiscard]] std::uint32_t DayLots(const Stock& stock, int day, const DayPrices& prices) const;
  [[nodiscard]] DayShape Shape(const Stock& stock, int day, const DayPrices& prices, const HalfHours& market,
                               const HalfHours& industry) const;
  void Minutes(const Stock& stock, int day, const DayPrices& prices, const DayShape& shape,
               const Deviations& market, const Deviations& industry, const MinutePath& out) const;

  /// Indices have no volume of their own: only `price` of a shape or path is used.
  [[nodiscard]] std::int32_t IndexClose(int index, int day) const;
  [[nodiscard]] DayShape IndexShape(int index, int day) const;
  void IndexMinutes(int index, int day, const DayShape& shape, const Deviations& market,
                    std::int32_t* price) const;

 private:
  [[nodiscard]] std::int32_t Anchor(const Stock& stock, int block) const;
  [[nodiscard]] std::int32_t IntradayDeviation(const Stock& stock, int day) const;

  const Days& days_;
  const Factors& factors_;
  Scenario scenario_;
  std::uint64_t index_key_;
};

}  // namespace market_server::model
