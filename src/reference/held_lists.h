// The lists that are held, and their loads. One load asks for one list and replaces it as a whole; what is
// held answers every look-up. Thread-safe.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "reference/generations.h"
#include "reference/list_request.h"
#include "reference/plate_membership.h"
#include "reference/reference_lists.h"

namespace reference {

/// What a look-up does before it answers.
enum class Attempt {
  kNone,   ///< nothing: what is held is good enough
  kWait,   ///< loads the list and waits for it
  kInTask  ///< has it loaded by somebody else, and answers from what is held
};

class HeldLists {
 public:
  // Before and after the request of a load, which does without the object because it waits for the server.
  // Neither throws; a failed load leaves what is held as it is.
  // The answer of an older load changes nothing once that of a newer one has come.
  using LoadNumber = std::uint64_t;
  [[nodiscard]] LoadNumber Begin(ListName list) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return BeginLocked(list);
  }
  bool Finish(ListName list, LoadNumber number, const ListAnswer& answer) noexcept;

  /// A whole load in the caller's thread.
  bool Load(ListName list) noexcept;

  /// The attempt that a look-up makes: for a list that is not held, and for the stock list also when it is
  /// not of this morning. An old stock list is kept for a minute after a fruitless attempt, whoever made it;
  /// and once look-ups have waited in vain for a second in all, none waits again until a load succeeds.
  [[nodiscard]] Attempt AttemptFor(ListName list) noexcept;

  /// The load of a look-up that waits.
  void LoadAndWait(ListName list) noexcept;

  // Look-ups; they load nothing. A reference stays readable until eight other lists have replaced it.
  [[nodiscard]] const BaseInfoList& Stocks(int kind);
  [[nodiscard]] const BaseInfoList& Plates(int kind);
  [[nodiscard]] const BaseInfoList& Indices(int kind);
  [[nodiscard]] std::shared_ptr<const PlateMembership> PlatesOfStocks();

  /// The plates of all stocks for a caller that must not wait long: loaded if none are held, but neither
  /// while another load of them is under way nor within 30 seconds of one that failed or brought nothing. The
  /// table is empty then.
  [[nodiscard]] std::shared_ptr<const PlateMembership> PlatesAtHand();

  /// Whether any list was not loaded today since 09:14, although it is that late.
  [[nodiscard]] bool AnyIsDue();

  /// The stock list counts as never loaded; it is held on.
  void ForgetStockDate();

 private:
  // What is known of the loads of one list.
  struct Loads {
    std::uint32_t date = 0;  // server's, of the last load at or after 09:14; 0 is never
    LoadNumber newest = 0;   // of those whose answer was taken
    int under_way = 0;
    std::optional<std::int64_t> fruitless;  // when the last one ended, if it failed or brought nothing
    std::int64_t waited_in_vain = 0;        // milliseconds, by look-ups since the last one that was not
  };

  bool Take(ListName list, LoadNumber number, const ListAnswer& answer);
  template <class Put>
  void Swap(ListName list, LoadNumber number, std::int64_t asked, Put put);

  [[nodiscard]] Loads& Of(ListName list) { return loads_[static_cast<std::size_t>(list)]; }
  [[nodiscard]] LoadNumber BeginLocked(ListName list);
  [[nodiscard]] bool IsHeldLocked(ListName list) const;

  std::mutex mutex_;  // guards the members below
  std::array<Loads, kListNames.size()> loads_;
  LoadNumber latest_ = 0;
  Generations<StockLists> stocks_;
  Generations<PlateLists> plates_;
  Generations<BaseInfoList> shanghai_indices_, shenzhen_indices_;
  std::shared_ptr<const PlateMembership> plates_of_stocks_ =
      std::make_shared<const PlateMembership>();  // never null
};

}  // namespace reference
