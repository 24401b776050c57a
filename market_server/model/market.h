// The simulated A-share market: a pure function of seed, scenario and instant. Any figure can be asked for
// any instant of any day; no history is kept, only bounded caches. Every operation is const, thread-safe and
// deterministic on every platform. Nothing here knows of HTTP or JSON: the endpoints turn these records into
// answers.
//
// Units: prices and index levels in yuan with two decimals, `change`, `tr`, `amp` and `cr` in percent,
// volumes in shares, amounts and capitalisations in yuan. An empty level of the order book has price and
// volume 0.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "market_server/model/calendar.h"

namespace market_server::model {

enum class Scenario { kNone, kCalm, kCrash, kLimitUp, kOutage, kSuspended };

/// Names for the command line: "none", "calm", "crash", "limit-up", "outage", "suspended".
[[nodiscard]] std::span<const std::string_view> ScenarioNames();
[[nodiscard]] std::optional<Scenario> ScenarioNamed(std::string_view name);

struct Options {
  std::uint64_t seed = 1;
  Scenario scenario = Scenario::kNone;
  Date scenario_date = 0;  ///< the trading day that is scripted; 0: none is
  std::size_t stocks = 0;  ///< about so many stocks, at least 200; 0: the full market
};

enum class Kind { kIndex, kStock, kPlate };
enum class Board { kNone, kShanghaiMain, kStar, kShenzhenMain, kSme, kGrowth };

/// Numbered as feeds write it in "status".
enum class Status : int {
  kTrading = 0,
  kSuspended = 1,     ///< the whole day
  kHalted = 2,        ///< suspended until an announcement
  kInvestigated = 3,  ///< suspended by the exchange
  kDelisting = 4,     ///< suspended before delisting
  kNewListing = 5,    ///< first day; trades without limits
  kExRights = 6,      ///< trades on a reference price after a dividend or split
  kAwaiting = 7,      ///< suspended, resumes the next day
};
[[nodiscard]] constexpr bool Trades(Status status) {
  return status == Status::kTrading || status == Status::kNewListing || status == Status::kExRights;
}

/// What never changes about a stock, an index or a plate. Owned by the Market; addresses are stable for its
/// life.
struct Security {
  Kind kind = Kind::kStock;
  std::string code;    ///< "sh600000", "sz399001", "bk1001"
  std::string name;    ///< UTF-8
  std::string pinyin;  ///< initials of the name, upper case
  Board board = Board::kNone;
  std::string board_text;    ///< "MB", "SME", "GEM", "STAR"; empty for an index or plate
  int plate_kind = 0;        ///< plates: 1 industry, 3 concept, 2 region; else 0
  Date listed = 0;           ///< first trading day of a stock; 0 for an index or plate
  std::uint32_t number = 0;  ///< position among the securities of its kind
};

struct BookLevel {
  double price = 0;
  std::uint32_t volume = 0;
  bool operator==(const BookLevel&) const = default;
};

/// One row of the board. Stocks have the book, limits and `five_change`; indices and plates have the counts
/// and the lead; plates have `bpin` and `cud`. What does not apply is 0 or null.
struct Quote {
  const Security* security = nullptr;
  Date date = 0;     ///< the session the figures belong to
  Instant time = 0;  ///< time of the last tick, on a grid of three seconds
  Status status = Status::kTrading;
  double last = 0, change = 0, diff = 0, open = 0, high = 0, low = 0, preclose = 0;
  std::uint64_t vol = 0;
  double amt = 0;
  double tr = 0, pe = 0, amp = 0, qrr = 0, cr = 0, mc = 0, pb = 0, cmc = 0;
  std::uint64_t tso = 0, shares = 0;  ///< total and circulating shares
  std::array<BookLevel, 5> bids{}, asks{};
  double limit_up = 0, limit_down = 0;  ///< 0: no limit that day
  double five_change = 0;               ///< change in percent over the last five trading minutes
  std::int32_t num_u = 0, num_z = 0,
               num_d = 0;          ///< members up, unchanged, down (suspended ones are not counted)
  const Security* lead = nullptr;  ///< the member with the highest change
  double lead_change = 0;
  double bpin = 0;  ///< plates: net inflow of big orders of the day, yuan
  std::int32_t cud =
      0;  ///< plates: days risen (positive) or fallen (negative) in a row, this one included; -10..10
  bool operator==(const Quote&) const = default;
};

/// All quotes of one instant, each vector in the order of codes. Stocks are those listed on that day.
struct BoardQuotes {
  Date date = 0;
  Instant time = 0;
  std::vector<Quote> stocks, indices, plates;
};

/// One minute of a line. `vol` and `amt` run up over the day; `last` is the price at the end of the minute
/// (or at the instant asked for). `minute` is the clock, HHMM: 930 (the opening auction), 931 ... 1130, 1301
/// ... 1500.
struct MinutePoint {
  std::int32_t minute = 0;
  double last = 0;
  std::uint64_t vol = 0;
  double amt = 0;
  double qrr = 0;
  bool operator==(const MinutePoint&) const = default;
};
struct MinuteLine {
  Date date = 0;
  double preclose = 0;
  std::vector<MinutePoint> points;  ///< empty before 09:25, for a suspended stock and for one not listed
};

enum class Period { kDay = 1, kWeek = 2, kMonth = 3 };
enum class Adjustment { kNone = 1, kForward = 2, kBackward = 3 };

struct Candle {
  Date date = 0;  ///< weeks and months: the last day in it
  double preclose = 0, open = 0, high = 0, close = 0, low = 0;
  std::uint64_t vol = 0;
  double amt = 0;
  double tr = 0;
  bool operator==(const Candle&) const = default;
};

/// Capital flow in whole yuan; the four amounts of `d1` add up to the day's amount (its whole yuan).
struct FlowAmounts {
  std::uint64_t big_in = 0, big_out = 0, small_in = 0, small_out = 0;
  bool operator==(const FlowAmounts&) const = default;
};
struct Flows {
  Instant time = 0;
  FlowAmounts d1, d5, d10;  ///< the session asked for, and with the four and the nine before it
};

/// Stocks up, unchanged and down at one minute, and their average change in percent.
struct Breadth {
  std::int32_t minute = 0;  ///< HHMM as in MinutePoint
  std::int32_t up = 0, unchanged = 0, down = 0;
  double average = 0;
  bool operator==(const Breadth&) const = default;
};

/// Stocks by change, from limit down to limit up: at the limit, to -7 %, to -5 %, to -3 %, to 0; then to 3 %,
/// to 5 %, to 7 %, above, at the limit. The first five add up to `down`, the last five to `up`.
struct Distribution {
  std::int32_t up = 0, unchanged = 0, down = 0;
  std::array<std::int32_t, 10> buckets{};
  bool operator==(const Distribution&) const = default;
};

struct MarketEvent {
  Instant time = 0;
  std::string content;  ///< UTF-8
  bool operator==(const MarketEvent&) const = default;
};

struct MarginDay {
  Date date = 0;
  double sh_close = 0, sz_close = 0;             ///< closes of sh000001 and sz399001
  std::uint64_t sh_balance = 0, sz_balance = 0;  ///< yuan
  bool operator==(const MarginDay&) const = default;
};

struct NewShare {
  const Security* security = nullptr;
  std::string buy_code;  ///< six digits
  Date publish = 0, publish_online = 0;
  double publish_num = 0;         ///< shares issued, in ten thousands
  double publish_online_num = 0;  ///< of which online, in ten thousands
  double publish_price = 0;
  double pe = 0;
  double buy_limit = 0;    ///< shares a subscriber may ask for, in ten thousands
  double total_price = 0;  ///< raised, in hundred millions of yuan
  double chance = 0;       ///< percent of subscriptions that win; 0 until drawn
};

struct KLineCounts {
  const Security* security = nullptr;
  std::uint32_t day = 0, week = 0, month = 0;  ///< rows of each package; the same for every adjustment
};
struct KLineMetadata {
  std::string version;  ///< eight digits, the last day that the packages hold; greater means newer
  std::vector<KLineCounts> counts;  ///< every stock and every index that has packages
};

/// Thrown by long computations after Market::cease.
class Ceased : public std::runtime_error {
 public:
  Ceased() : std::runtime_error("the market is being taken down") {}
};

class Market {
 public:
  explicit Market(Options options = {});
  ~Market();
  Market(const Market&) = delete;
  Market& operator=(const Market&) = delete;

  [[nodiscard]] const Options& options() const;

  /// Computes what `board(time)` needs, so that the first request of that day does not wait.
  void Prepare(Instant time) const;

  /// Computes the volumes of all past days of the indices, which their first candles would otherwise wait
  /// for: some seconds on this thread alone. Who asks for such candles meanwhile shares the work.
  void PrepareHistory(Instant time) const;

  /// From any thread, once: what is made of whole days, under way or yet to come, ends at the next day by
  /// throwing Ceased.
  void Cease() const;

  // --- reference data ---
  [[nodiscard]] const Security* Find(std::string_view code) const;  ///< null: unknown; case does not matter
  [[nodiscard]] std::vector<const Security*> Stocks(
      Instant time) const;                                  ///< listed by then, Shanghai first, by code
  [[nodiscard]] std::span<const Security> indices() const;  ///< Shanghai first, by code
  [[nodiscard]] std::span<const Security> plates() const;   ///< by code; every kind
  [[nodiscard]] std::span<const Security* const> Members(const Security& index_or_plate) const;
  /// The plates of one kind (1, 2, 3) that hold the stock, by code.
  [[nodiscard]] std::vector<const Security*> PlatesOf(const Security& stock, int plate_kind) const;
  [[nodiscard]] bool IsListed(const Security& security, Date date) const;

  // --- quotes ---
  [[nodiscard]] Quote QuoteOf(const Security& security, Instant time) const;
  [[nodiscard]] std::shared_ptr<const BoardQuotes> BoardAt(Instant time) const;

  // --- charts ---
  /// The line of one trading day as it stood at `time`; whole when `time` lies after that day, empty when
  /// before it or when `date` is no trading day.
  [[nodiscard]] MinuteLine MinuteLineOf(const Security& security, Date date, Instant time) const;
  /// Candles of every day on which the security traded up to and including `through`, oldest first. Plates
  /// have none.
  [[nodiscard]] std::vector<Candle> Candles(const Security& security, Period period, Adjustment adjustment,
                                            Date through) const;
  /// The candle of the session shown at `time`; none when the security does not trade on it or before 09:25.
  [[nodiscard]] std::optional<Candle> DayCandle(const Security& security, Instant time) const;
  /// What the K-line packages held at `time`: all days up to the last session, from 18:00 of its day on.
  [[nodiscard]] std::string KLineVersionAt(Instant time) const;
  [[nodiscard]] KLineMetadata KLineMetadataAt(Instant time) const;
  /// Whether there are packages through that day: of a stock from its fifth day of trading on.
  [[nodiscard]] bool HasPackages(const Security& security, Date through) const;
  /// The day that a version text stands for; none when the text is no version.
  [[nodiscard]] static std::optional<Date> KLineVersionDate(std::string_view version);

  // --- analytics ---
  [[nodiscard]] Flows FlowsOf(const Security& security, Instant time) const;
  /// The three below describe a trading day as it stood at `time`, with the rules of `minute_line` for other
  /// dates.
  [[nodiscard]] std::vector<Breadth> BreadthOn(Date date, Instant time) const;
  [[nodiscard]] Distribution DistributionOn(Date date, Instant time) const;
  [[nodiscard]] std::vector<MarketEvent> Events(Date date, Instant time) const;  ///< newest first
  [[nodiscard]] std::vector<MarginDay> Margin(Instant time,
                                              std::size_t days) const;  ///< newest first; last is the day
                                                                        /// before the session
  [[nodiscard]] std::vector<NewShare> NewShares(Instant time) const;    ///< latest subscription first

  /// True while the scripted outage lasts: endpoints behave as if the feed had stopped (see feed_time).
  [[nodiscard]] bool FeedDown(Instant time) const;
  /// The instant whose figures the feed shows: `time`, or the start of the outage while it lasts.
  [[nodiscard]] Instant FeedTime(Instant time) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace market_server::model
