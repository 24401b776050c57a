// The whole market on one trading day: every stock's minutes and what its quotes need of the days before,
// every index's and plate's minutes. Built in some tens of milliseconds and about 22 MiB large, immutable
// then. One stock's part can be made by itself; it is the same.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "market_server/model/price_path.h"

namespace market_server::model {

/// All that the immutable parts of a market share.
struct Foundation {
  explicit Foundation(const Options& chosen);
  Foundation(const Foundation&) = delete;
  Foundation& operator=(const Foundation&) = delete;

  Options options;
  Days days;
  Universe universe;
  Factors factors;
  PricePath paths;
  std::vector<std::int32_t> issue_prices;  ///< by stock: the price before the first day
  std::vector<double> plate_bases;         ///< capitalisation in cents that stands for a level of 1000
};

struct FlowSum {  // yuan
  std::uint64_t big_in = 0, big_out = 0, small_in = 0, small_out = 0;
};

/// What one stock's figures of a day need beside its minutes.
struct StockDay {
  DayPrices prices;
  std::uint64_t total = 0, circulating = 0;
  double usual_lots = 0;             ///< of a minute, over the five days traded before
  double earnings = 0, book = 0;     ///< of the year, cents
  FlowSum four_before, nine_before;  ///< flows of so many days before
};

/// How a day's amount divides into the four flows.
struct FlowShares {
  double big = 0, big_in = 0, small_in = 0;
  [[nodiscard]] FlowSum Of(std::uint64_t yuan) const;
};
[[nodiscard]] FlowShares FlowSharesOf(const Stock& stock, int day, const DayPrices& prices);

/// The common moves of a day and of the nine before it: of every factor, or of one industry and the market.
class DayFactors {
 public:
  DayFactors(const Foundation& foundation, int day);
  DayFactors(const Foundation& foundation, int day, int industry);
  [[nodiscard]] const HalfHours& HalfHoursOf(int factor, int days_ago) const {
    return factors_[Slot(factor)].half_hours[static_cast<std::size_t>(days_ago)];
  }
  [[nodiscard]] const Deviations& Minutes(int factor) const { return factors_[Slot(factor)].minutes; }

 private:
  struct OneFactor {
    std::array<HalfHours, 10> half_hours{};
    Deviations minutes{};
  };
  [[nodiscard]] std::size_t Slot(int factor) const {
    return one_industry_ ? (factor == market_ ? 1 : 0) : static_cast<std::size_t>(factor);
  }
  static void Make(const Factors& factors, int day, int factor, OneFactor& out);

  int market_;
  bool one_industry_;
  std::vector<OneFactor> factors_;
};

inline constexpr int kDaysBefore = 10;
/// Capitalisation in cents at the closes of the last days: [0] is the day before.
using PastCapitalisations = std::array<std::int64_t, kDaysBefore>;

[[nodiscard]] StockDay MakeStockDay(const Foundation& foundation, const Stock& stock, int day,
                                    const DayFactors& factors, PastCapitalisations& past);
/// The minutes of a traded day.
void MakeMinutes(const Foundation& foundation, const Stock& stock, int day, const StockDay& figures,
                 const DayFactors& factors, const MinutePath& out);

/// The minutes of one stock: kPoints of each.
struct MinuteView {
  const std::int32_t* price = nullptr;
  const std::uint32_t* lots = nullptr;
  const std::int64_t* amount = nullptr;
};

class MarketDay {
 public:
  MarketDay(const Foundation& foundation, int day);

  [[nodiscard]] int day() const { return day_; }
  [[nodiscard]] const StockDay& StockOf(std::uint32_t number) const { return stocks_[number]; }
  [[nodiscard]] MinuteView Minutes(std::uint32_t number) const;  ///< of a stock that traded
  [[nodiscard]] const std::int32_t* IndexPrices(std::uint32_t number) const {
    return &index_prices_[number * kPoints];
  }
  [[nodiscard]] std::int32_t IndexPreclose(std::uint32_t number) const { return index_precloses_[number]; }
  [[nodiscard]] const std::int32_t* PlatePrices(std::uint32_t number) const {
    return &plate_prices_[number * kPoints];
  }
  [[nodiscard]] std::int32_t PlatePreclose(std::uint32_t number) const { return plate_precloses_[number]; }
  /// Days risen (positive) or fallen (negative) in a row up to the day before, at most nine.
  [[nodiscard]] int PlateRun(std::uint32_t number) const { return plate_runs_[number]; }

 private:
  void MakePlates(const Foundation& foundation, const std::vector<PastCapitalisations>& past);

  int day_;
  std::vector<StockDay> stocks_;
  std::vector<std::int32_t> prices_;
  std::vector<std::uint32_t> lots_;
  std::vector<std::int64_t> amounts_;
  std::vector<std::int32_t> index_prices_, index_precloses_;
  std::vector<std::int32_t> plate_prices_, plate_precloses_;
  std::vector<int> plate_runs_;
};

}  // namespace market_server::model
