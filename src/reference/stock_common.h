// Reference data: the lists of stocks, plates and indices, the plates of a stock, and what is known about
// K-line packages. Not polled: it loads on request, then keeps itself up to date. Quotes of what is listed
// here are a matter of quotes/.
#pragma once

#include <boost/function/function1.hpp>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// A listed stock, plate or index.
struct BaseInfoItem {
  std::wstring code;    ///< symbol of a stock or index, "sh600000"; code of a plate
  std::wstring name;    ///< display name
  std::wstring pinyin;  ///< pinyin initials, for type-ahead search
  /// Of a stock its board: 1 other, 4 GEM, 5 SME, 6 main board. Of a plate its kind: 1 or 2. Of an index 0.
  std::int32_t type = 0;

  bool operator==(const BaseInfoItem&) const = default;
};

/// What the server announces about one K-line package.
struct KLineMetaInfo {
  std::wstring version;    ///< version of all packages; empty while nothing is loaded
  std::int32_t count = 0;  ///< candles in the package; 0 when unknown

  bool operator==(const KLineMetaInfo&) const = default;
};

/// Holds the lists and answers look-ups from memory.
///
/// - Threads: every operation may be called from any thread. An operation that finds its list empty, or the
///   stock list not loaded since 09:14 today, first asks the server in the caller's thread and so may block
///   for seconds. An old stock list is good for a minute after an attempt that failed, whoever made it; then
///   the server is asked again. Once the look-ups of an old list have waited in vain for a second in all, a
///   task of the host asks, and nobody waits, until the list has come: a silent server costs a user interface
///   nine seconds at most, however long it is silent.
/// - Failure: a failed load leaves the lists as they were; a look-up never fails and never throws, it finds
///   nothing. An empty list means that nothing could be loaded.
/// - Lists: the getters hand out references to what is held. Copy at once: a later load replaces it.
/// - Owner: the module; the object is valid until `DestroyStockMarket`.
class IStockCommon {
 public:
  /// Starts to load everything on the host's task pool, and the trading calendar. `done`, which may be empty,
  /// is called once on a thread of the pool (in the caller's if the pool takes no task): with true when
  /// everything was loaded within about ten seconds, else with false; not at all once `DestroyStockMarket`
  /// has begun, which waits for a `done` that is running. After a success the lists are loaded anew every
  /// morning, late if the machine slept through it. A call while a start is under way only asks for the
  /// calendar; its `done` is never called. After a failure it may be called again, but not from inside
  /// `done`.
  virtual void Init(const boost::function<void(bool)>& done) = 0;

  /// Stocks in the order of the answer, those of Shanghai first: `kind` 2 Shanghai, 3 Shenzhen, 4 GEM, 5 SME,
  /// any other value all.
  virtual const std::vector<BaseInfoItem>& GetStockList(int kind) = 0;

  /// Plates: `kind` 2 those of kind 2, any other value those of kind 1.
  virtual const std::vector<BaseInfoItem>& GetPlateList(int kind) = 0;

  /// Indices: `kind` 2 Shenzhen, any other value Shanghai.
  virtual const std::vector<BaseInfoItem>& GetIndexList(int kind) = 0;

  /// Does nothing; keeps its place.
  virtual void Placeholder(int, int) = 0;

  /// Version and size of the package of `symbol`. `period`: 1 day, 2 week, 3 month. `adjust`: 1 none, 2
  /// forward, 3 backward. Never blocks on the network.
  virtual KLineMetaInfo GetKLineMetaInfo(const std::wstring& symbol, int period, int adjust) = 0;

  /// Replaces `out` by the plates of a stock, (code, name) each. True when there are any. Belongs to those
  /// that ask the server when nothing is loaded.
  virtual bool GetPlatesOfStock(const std::wstring& symbol,
                                std::vector<std::pair<std::wstring, std::wstring>>& out) = 0;

  virtual ~IStockCommon() = default;
};
