// K-lines: candles of days, weeks or months. The course of one day is a matter of charts/stock_mline.h.
#pragma once

#include <boost/function/function1.hpp>
#include <cstdint>
#include <list>
#include <string>

#include "frame/observer.h"
#include "frame/timer_subject.h"

/// One candle, prices in yuan (of an index in points). Close stands before low: the order of the packages.
struct KLineCandle {
  std::uint32_t date = 0;  ///< YYYYMMDD
  double preclose = 0;     ///< previous close
  double open = 0;
  double high = 0;
  double close = 0;
  double low = 0;
  std::uint64_t volume = 0;  ///< in shares
  double amount = 0;         ///< in yuan
  double turnover = 0;       ///< turnover rate in percent

  bool operator==(const KLineCandle&) const = default;
};

/// The candles of one symbol, the oldest first, today's last.
struct StockKLineData {
  std::wstring symbol;
  int period = 0;      ///< 1 day, 2 week, 3 month
  int adjustment = 0;  ///< 1 none, 2 forward, 3 backward
  std::list<KLineCandle> candles;

  bool operator==(const StockKLineData&) const = default;
};

/// Receives a K-line that was asked for once. The record is valid during the call only.
using KLineCallback = boost::function<void(const StockKLineData&)>;

/// Delivers the K-line of the symbol that each observer's target names: the history from packages that are
/// kept on disk and brought up to date when the server announces newer ones, and today's candle from the
/// quote server.
///
/// - Key: the symbol, "sh600000". Period and adjustment are those that `FetchKLine` was last called with
///   for the symbol without a call-back; before any such call, days without adjustment. Of symbols that
///   nobody shows a thousand such choices are remembered.
/// - Who is told: every active observer whose target is the symbol.
/// - When: at every change of the market's phase and at least once an hour, while any observer is active. A
///   view that wants more calls `Refresh`.
/// - Threads: callable from any thread. `Update` runs on a thread of the host's task pool, or inside
///   `Resume` when it hands over the last record (a newer one follows unless it is fresh); it must not call
///   this service.
/// - Failure: one line in the log; observers keep what they have. A record without candles means that there
///   is neither a package nor a candle of today.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IStockKLine : public ITimerSubject<IUpdate1<StockKLineData>, std::wstring, StockKLineData> {
 public:
  /// Asks once for the K-line of `symbol`; `period` and `adjustment` as in `StockKLineData`, other numbers
  /// mean 1. `done` is called on a thread of the host's task pool, at most once and only when the answer is
  /// there: not after a failure of the quote server (one line in the log), and not once `DestroyStockMarket`
  /// has begun. With an empty `done` the answer goes the way of a polled one, and polling keeps to this
  /// period and adjustment. Returns at once; a package that has to be downloaded may take a minute and more.
  /// Callable from any thread; a null symbol is ignored.
  virtual void FetchKLine(const wchar_t* symbol, int period, int adjustment, const KLineCallback& done) = 0;
};
