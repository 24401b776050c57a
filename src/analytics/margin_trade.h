// Margin trading: the balance of both exchanges, day by day. Not polled.
#pragma once

#include <cstdint>
#include <list>

#include "frame/observer.h"

/// One trading day.
struct MarginTradeItem {
  std::int32_t date = 0;      ///< YYYYMMDD
  std::int32_t sh_close = 0;  ///< close of the Shanghai index, without its fraction
  std::int32_t sz_close = 0;  ///< close of the Shenzhen index, without its fraction
  std::uint64_t balance = 0;  ///< margin balance of both exchanges together, in yuan
  std::int64_t change = 0;    ///< `balance` minus that of the trading day before

  bool operator==(const MarginTradeItem&) const = default;
};

/// Fetches the history of margin trading when asked, and tells every attached observer. Days run from the
/// oldest to the newest; the oldest of the answer is missing, it is the base of the first change.
///
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library; it must
///   not call this service.
/// - Failure: one line in the log; observers keep what they have. An empty list means that the answer held
///   fewer than two days.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IMarginTrade {
 public:
  /// Adds `observer` unless it is attached already. Nothing is delivered at once. Null is ignored.
  virtual void Attach(IUpdate1<std::list<MarginTradeItem>>* observer) = 0;

  /// Removes `observer`. After the return no `Update` of it runs or will run on another thread; waits for one
  /// that is running. Null and unattached observers are ignored.
  virtual void Detach(IUpdate1<std::list<MarginTradeItem>>* observer) = 0;

  /// Asks once. Returns at once; the answer goes to all observers that are attached when it comes, in the
  /// order in which they attached.
  virtual void FetchMarginTradeInfo() = 0;

  virtual ~IMarginTrade() = default;
};
