// Minute lines: one point per trading minute of a day. Candles of days, weeks and months are a matter of
// charts/stock_kline.h.
#pragma once

#include <boost/function/function1.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "frame/observer.h"
#include "frame/timer_subject.h"

/// One trading minute. A minute without a trade repeats the last price and average and has no volume or
/// amount.
struct MinutePoint {
  /// The minute as the feed writes it, by its end: 930 is the opening auction, 931 the minute from 09:30 to
  /// 09:31. The last point of a running session is the minute under way: at 10:30:20 it is 1031, and grows
  /// with every poll until 10:31.
  std::int32_t time = 0;
  double price = 0;          ///< in yuan; of an index in points
  std::uint64_t volume = 0;  ///< shares traded within this minute
  double amount = 0;         ///< yuan traded within this minute
  double qrr = 0;            ///< volume ratio
  double change = 0;         ///< `price` minus the previous close
  double change_rate = 0;    ///< `change` in percent of the previous close
  double avg_price = 0;      ///< average price of the day so far

  bool operator==(const MinutePoint&) const = default;
};

/// The minute line of one day.
struct MLineDay {
  std::uint32_t date = 0;  ///< YYYYMMDD
  std::vector<MinutePoint> points;

  bool operator==(const MLineDay&) const = default;
};

/// The minute line of one symbol.
struct StockMLineData {
  std::wstring symbol;
  double preclose = 0;         ///< previous close
  std::vector<MLineDay> days;  ///< in the order of the answer

  bool operator==(const StockMLineData&) const = default;
};

/// Receives a minute line that was asked for once. The record is valid during the call only.
using MLineCallback = boost::function<void(const StockMLineData&)>;

/// Delivers today's minute line of the symbol that each observer's target names; all symbols travel in one
/// request.
///
/// - Key: the symbol, "sh600000".
/// - Who is told: every active observer whose target is the symbol.
/// - When: at every change of the market's phase and at least once an hour, while any observer is active. A
///   view that wants more calls `Refresh`.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library, or inside
///   `Resume` when it hands over the last line (a newer one follows unless it is fresh); it must not call
///   this service.
/// - Days: a polled line holds one day, the session's. A chart of several days asks `FetchHistoryMLine` for
///   those before it and joins them by date: a day that is told replaces the one of its date, and stays when
///   the next day's line comes, also while the view is open over night.
/// - Failure: one line in the log; observers keep what they have. A day without points had no trading yet.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IStockMLine : public ITimerSubject<IUpdate1<StockMLineData>, std::wstring, StockMLineData> {
 public:
  /// Asks once for today's minute line of `symbol`. `done` is called on a thread of the host's task pool, at
  /// most once and only when the line is there: not after a failure (one line in the log), and not once
  /// `DestroyStockMarket` has begun. With an empty `done` the answer goes the way of a polled one. `arg` is
  /// reserved: pass 0. Returns at once. Callable from any thread; a null symbol is ignored.
  virtual void FetchMLine(const wchar_t* symbol, int arg, const MLineCallback& done) = 0;

  /// Asks once for minute lines of the past: with `rn` 0 or less of the day `date` (YYYYMMDD), else of the
  /// `rn` trading days that end with it. `done` is called, under the conditions of `FetchMLine`, on a thread
  /// of the host's network library for one day and of its task pool for several. With an empty `done` the
  /// answer goes to the active observers of the symbol. Nothing of it is kept. Returns at once. Callable from
  /// any thread; a null symbol is ignored.
  virtual void FetchHistoryMLine(const wchar_t* symbol, std::uint32_t date, int rn,
                                 const MLineCallback& done) = 0;
};
