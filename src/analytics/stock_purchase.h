// The calendar of new shares to subscribe to. Not polled.
#pragma once

#include <list>
#include <string>

#include "frame/observer.h"

/// One new issue. Texts, and numbers in the units of the feed; what the feed leaves out is empty or 0.
struct StockPurchaseItem {
  std::wstring code;
  std::wstring name;
  std::wstring publish_time;         ///< date of issue
  std::wstring publish_online_time;  ///< date of the online subscription
  std::wstring buy_code;             ///< subscription code
  float publish_num = 0;             ///< shares issued
  float publish_online_num = 0;      ///< shares issued online
  float publish_price = 0;           ///< issue price
  float pe = 0;                      ///< price/earnings ratio of the issue
  float buy_limit = 0;               ///< most that one account may subscribe to
  float total_price = 0;             ///< total amount raised
  float chance = 0;                  ///< chance of an allotment

  bool operator==(const StockPurchaseItem&) const = default;
};

/// Fetches the calendar of new issues when asked, and tells every attached observer, in the order of the
/// answer.
///
/// - Threads: callable from any thread. `Update` runs on a thread of the host's network library; it must
///   not call this service.
/// - Failure: one line in the log; observers keep what they have. An empty list means that there is no new
///   issue.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IStockPurchase {
 public:
  /// Adds `observer` unless it is attached already. Nothing is delivered at once. Null is ignored.
  virtual void Attach(IUpdate1<std::list<StockPurchaseItem>>* observer) = 0;

  /// Removes `observer`. After the return no `Update` of it runs or will run on another thread; waits for one
  /// that is running. Null and unattached observers are ignored.
  virtual void Detach(IUpdate1<std::list<StockPurchaseItem>>* observer) = 0;

  /// Asks once. Returns at once; the answer goes to all observers that are attached when it comes, in the
  /// order in which they attached.
  virtual void FetchPurchaseInfo() = 0;

  virtual ~IStockPurchase() = default;
};
