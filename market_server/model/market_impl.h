// The state behind Market and what its sources share: the instant's place in the session, one stock's figures
// at it, and the caches. Included by the sources of Market only.
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "market_server/model/logarithm.h"
#include "market_server/model/market.h"
#include "market_server/model/market_day.h"
#include "market_server/model/memo.h"

namespace market_server::model {

/// An instant within its session. Ticks come every three seconds.
struct Moment {
  Date date = 0;
  int day = 0;
  bool auction = false;     ///< prices are indicative, nothing traded yet
  double auction_done = 0;  ///< share of the auction's time that is over
  int minute = 0;           ///< minutes complete, 0 to 240
  int tick = 0;             ///< ticks within the next one, 0 to 19
  Instant time = 0;         ///< of the tick
  bool past = false;        ///< the whole of a day before the session of the instant that was asked for

  /// Minutes with trading, the one under way included; at least 1.
  [[nodiscard]] int elapsed() const { return std::max(minute + (tick > 0 ? 1 : 0), 1); }
};

/// Figures of one stock at a moment: prices and amounts in cents.
struct Live {
  bool listed = false;
  bool traded = false;  ///< has a first price today
  std::int32_t last = 0, open = 0, high = 0, low = 0, five_ago = 0;
  std::uint32_t lots = 0;
  std::int64_t amount = 0;
};

/// Sums over the stocks of an index or a plate.
struct MemberSums {
  std::uint64_t lots = 0, circulating = 0;
  std::int64_t amount = 0;
  double capitalisation = 0, circulating_capitalisation = 0, earnings = 0, book = 0, usual_lots = 0;
  double big_net = 0;
  std::int32_t up = 0, unchanged = 0, down = 0;
  const Quote* lead = nullptr;
};

/// Volume and amount of every index for each day of a block.
struct IndexTotals {
  struct Day {
    std::uint64_t lots = 0, circulating = 0;
    std::int64_t amount = 0;
  };
  std::vector<std::array<Day, kBlock>> indices;
};

/// All days of one security, not adjusted.
struct DaySeries {
  struct Row {
    int day = 0;
    Candle candle;
    double previous_close = 0;  ///< differs from candle.preclose after a dividend or split
  };
  int through = 0;
  std::vector<Row> rows;
};

struct Market::Impl {
  explicit Impl(const Options& options);

  [[nodiscard]] Moment MomentAt(Instant time) const;
  /// The place of `time` within the session of `date`: complete when `time` is after it. False: not begun, no
  /// session.
  [[nodiscard]] bool MomentOn(Date date, Instant time, Moment& out) const;

  /// Days and boards of the past are kept apart, so that who reads of many days does not push out the session
  /// that everybody watches.
  [[nodiscard]] std::shared_ptr<const MarketDay> MarketDayOf(const Moment& moment);
  [[nodiscard]] std::shared_ptr<const BoardQuotes> BoardAt(const Moment& moment);

  [[nodiscard]] Live LiveOf(const Stock& stock, const StockDay& figures, const MinuteView& minutes,
                            const Moment& moment) const;
  [[nodiscard]] Quote StockQuote(const Stock& stock, const StockDay& figures, const Live& live,
                                 const Moment& moment) const;
  void OrderBook(const Stock& stock, const StockDay& figures, const Live& live, const Moment& moment,
                 Quote& out) const;
  [[nodiscard]] Quote IndexQuote(std::uint32_t number, const MarketDay& day, const MemberSums& sums,
                                 const Moment& moment) const;
  [[nodiscard]] Quote PlateQuote(std::uint32_t number, const MarketDay& day, const MemberSums& sums,
                                 const Moment& moment) const;

  /// Runs `use(figures, minutes)` with the day of one stock, whether the whole market's day is at hand or
  /// not.
  template <class Use>
  void WithStockDay(const Stock& stock, int day, const Use& use);

  [[nodiscard]] std::shared_ptr<const IndexTotals> IndexTotalsOf(int block);
  /// Makes what is missing of the totals up to a block: with helper threads, or on this thread alone. Several
  /// callers share the work.
  void MakeIndexTotals(int last_block);
  void WorkOnIndexTotals(int last_block);
  /// A block that nobody makes yet; none when all are made. Waits while others make the rest.
  [[nodiscard]] std::optional<int> ClaimIndexTotals(int last_block);
  void SettleIndexTotals(int block, std::shared_ptr<const IndexTotals> made);
  [[nodiscard]] std::shared_ptr<const IndexTotals> NewIndexTotals(int block) const;
  [[nodiscard]] std::shared_ptr<const DaySeries> DaySeriesOf(const Security& security, int through);
  [[nodiscard]] KLineCounts KLineCountsOf(const Security& security, int through) const;

  [[nodiscard]] std::vector<Breadth> WholeBreadth(const Moment& moment);
  [[nodiscard]] std::vector<MarketEvent> WholeEvents(const Moment& moment);

  Foundation base;
  std::vector<std::vector<const Security*>> index_members, plate_members;
  std::vector<std::vector<std::uint32_t>> stock_indices;  ///< numbers of the indices that hold a stock
  std::vector<int> weeks;  ///< by day: the number of its week among those with trading

  Memo<int, MarketDay> market_days{2}, past_days{2};
  Memo<std::int64_t, BoardQuotes> boards{3}, past_boards{2};
  Memo<std::pair<int, std::uint32_t>, DaySeries> series{24};  ///< (kind, number)
  Memo<int, std::vector<Breadth>> breadths{32};
  Memo<int, std::vector<MarketEvent>> events{32};

  std::atomic<bool> ceased{false};

  std::mutex totals_mutex;  ///< guards totals and totals_claimed
  std::condition_variable totals_changed;
  std::vector<std::shared_ptr<const IndexTotals>> totals;  ///< by block; null: not made yet
  std::vector<bool> totals_claimed;                        ///< by block: a thread is at it
};

/// A value in cents, hundredths or ten-thousandths as the double that endpoints send.
[[nodiscard]] inline double Hundredths(std::int64_t n) {
  return static_cast<double>(n) / 100;
}
[[nodiscard]] inline double ToHundredths(double x) {
  return static_cast<double>(Nearest(x * 100)) / 100;
}
/// The move between two prices in hundredths of a percent.
[[nodiscard]] inline std::int64_t ChangeOf(std::int32_t price, std::int32_t preclose) {
  return Nearest(static_cast<double>(price - preclose) * 10000 / preclose);
}
[[nodiscard]] std::int32_t ClockOf(int minute);  ///< HHMM of the end of a minute of the session

template <class Use>
void Market::Impl::WithStockDay(const Stock& stock, int day, const Use& use) {
  const std::uint32_t number = stock.security->number;
  for (auto* const days : {&market_days, &past_days}) {
    if (const auto whole = days->Find(day)) {
      use(whole->StockOf(number), whole->Minutes(number));
      return;
    }
  }
  PastCapitalisations past{};
  const DayFactors factors(base, day, stock.industry);
  const StockDay figures = MakeStockDay(base, stock, day, factors, past);
  std::array<std::int32_t, kPoints> prices{};
  std::array<std::uint32_t, kPoints> lots{};
  std::array<std::int64_t, kPoints> amounts{};
  if (figures.prices.traded) {
    MakeMinutes(base, stock, day, figures, factors, {prices.data(), lots.data(), amounts.data()});
  }
  use(figures, MinuteView{prices.data(), lots.data(), amounts.data()});
}

}  // namespace market_server::model
