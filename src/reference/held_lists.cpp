#include "reference/held_lists.h"

#include <algorithm>
#include <utility>

#include "frame/succeeds.h"
#include "frame/ticks.h"
#include "host/clock.h"
#include "reference/refresh_schedule.h"

namespace reference {
namespace {

constexpr std::int64_t kGetterPause = 60'000;  // milliseconds
constexpr std::int64_t kPlatesAtHandPause = 30'000;
constexpr std::int64_t kLongestWaitInVain = 1000;

using Lock = std::lock_guard<std::mutex>;

bool IsWithin(std::int64_t pause, const std::optional<std::int64_t>& moment) {
  return moment && frame::SteadyMilliseconds() - *moment < pause;
}

}  // namespace

// --- Loads ---

HeldLists::LoadNumber HeldLists::BeginLocked(ListName list) {
  ++Of(list).under_way;
  return ++latest_;
}

bool HeldLists::Finish(ListName list, LoadNumber number, const ListAnswer& answer) noexcept {
  const bool ok = frame::Succeeds([&] { return Take(list, number, answer); });
  const Lock lock(mutex_);
  Loads& loads = Of(list);
  --loads.under_way;
  if (ok && IsHeldLocked(list)) {
    loads.fruitless.reset();
    loads.waited_in_vain = 0;
  } else {
    loads.fruitless = frame::SteadyMilliseconds();
  }
  return ok;
}

bool HeldLists::Load(ListName list) noexcept {
  const LoadNumber number = Begin(list);
  return Finish(list, number, AskForList(list));
}

bool HeldLists::Take(ListName list, LoadNumber number, const ListAnswer& answer) {
  const request::Answer checked = CheckListAnswer(list, answer);
  if (!checked) {
    return false;
  }
  // What was replaced is freed with what was read, after the lock.
  switch (list) {
    case ListName::kStocks: {
      auto fresh = std::make_unique<const StockLists>(ReadStockLists(checked.Root()));
      Swap(list, number, answer.asked, [&] {
        const StockLists& held = stocks_.Get();
        // Kept: equal counts are taken to mean an unchanged list.
        if (fresh->shanghai.size() != held.shanghai.size() ||
            fresh->shenzhen.size() != held.shenzhen.size()) {
          fresh = stocks_.Replace(std::move(fresh));
        }
      });
      break;
    }
    case ListName::kPlates: {
      auto fresh = std::make_unique<const PlateLists>(ReadPlateLists(checked.Root()));
      Swap(list, number, answer.asked, [&] { fresh = plates_.Replace(std::move(fresh)); });
      break;
    }
    case ListName::kIndices: {
      IndexLists fresh = ReadIndexLists(checked.DataObject());
      Swap(list, number, answer.asked, [&] {
        for (const auto& [came, held] : {std::pair(&fresh.shanghai, &shanghai_indices_),
                                         std::pair(&fresh.shenzhen, &shenzhen_indices_)}) {
          // Kept: the same of each index list by itself.
          if (*came && (*came)->size() != held->Get().size()) {
            static_cast<void>(held->Replace(std::make_unique<const BaseInfoList>(std::move(**came))));
          }
        }
      });
      break;
    }
    case ListName::kPlatesOfStocks: {
      auto fresh = std::make_shared<const PlateMembership>(ReadPlateMembership(checked.DataObject()));
      Swap(list, number, answer.asked, [&] { plates_of_stocks_.swap(fresh); });
      break;
    }
  }
  return true;
}

template <class Put>
void HeldLists::Swap(ListName list, LoadNumber number, std::int64_t asked, Put put) {
  // A load before 09:14 leaves the date as it is, so that the list is loaded once more after it.
  const std::uint32_t date = ListsFinalTime(asked) <= asked ? common::TimeToDate(asked) : 0;
  const Lock lock(mutex_);
  Loads& loads = Of(list);
  if (number >= loads.newest) {
    put();
    loads.newest = number;
    loads.date = date != 0 ? date : loads.date;
  }
}

// --- What is held ---

Attempt HeldLists::AttemptFor(ListName list) noexcept {
  std::uint32_t date = 0;
  {
    const Lock lock(mutex_);
    const Loads& loads = Of(list);
    if (!IsHeldLocked(list)) {
      return Attempt::kWait;
    }
    if (list != ListName::kStocks || IsWithin(kGetterPause, loads.fruitless)) {
      return Attempt::kNone;
    }
    date = loads.date;
  }
  if (!frame::Succeeds([date] { return ListIsStale(date); })) {
    return Attempt::kNone;
  }
  const Lock lock(mutex_);
  Loads& loads = Of(list);
  if (loads.waited_in_vain < kLongestWaitInVain) {
    return Attempt::kWait;
  }
  if (IsWithin(kGetterPause, loads.fruitless)) {
    return Attempt::kNone;
  }
  loads.fruitless = frame::SteadyMilliseconds();  // until it is answered
  return Attempt::kInTask;
}

void HeldLists::LoadAndWait(ListName list) noexcept {
  const std::int64_t begin = frame::SteadyMilliseconds();
  Load(list);
  const std::int64_t waited = frame::SteadyMilliseconds() - begin;
  const Lock lock(mutex_);
  if (Of(list).fruitless) {
    Of(list).waited_in_vain += waited;
  }
}

bool HeldLists::AnyIsDue() {
  std::array<std::uint32_t, kListNames.size()> dates{};
  {
    const Lock lock(mutex_);
    std::transform(loads_.begin(), loads_.end(), dates.begin(),
                   [](const Loads& loads) { return loads.date; });
  }
  return std::any_of(dates.begin(), dates.end(), &ListIsDue);
}

void HeldLists::ForgetStockDate() {
  const Lock lock(mutex_);
  Of(ListName::kStocks).date = 0;
}

const BaseInfoList& HeldLists::Stocks(int kind) {
  const Lock lock(mutex_);
  const StockLists& stocks = stocks_.Get();
  const std::array lists = {&stocks.shanghai, &stocks.shenzhen, &stocks.gem, &stocks.sme};
  const auto place = static_cast<std::size_t>(kind) - 2;  // any other kind: all
  return place < lists.size() ? *lists.at(place) : stocks.all;
}

const BaseInfoList& HeldLists::Plates(int kind) {
  const Lock lock(mutex_);
  return kind == 2 ? plates_.Get().kind2 : plates_.Get().kind1;
}

const BaseInfoList& HeldLists::Indices(int kind) {
  const Lock lock(mutex_);
  return (kind == 2 ? shenzhen_indices_ : shanghai_indices_).Get();
}

std::shared_ptr<const PlateMembership> HeldLists::PlatesOfStocks() {
  const Lock lock(mutex_);
  return plates_of_stocks_;
}

std::shared_ptr<const PlateMembership> HeldLists::PlatesAtHand() {
  constexpr ListName kTable = ListName::kPlatesOfStocks;
  LoadNumber number = 0;
  {
    const Lock lock(mutex_);
    const Loads& loads = Of(kTable);
    if (IsHeldLocked(kTable) || loads.under_way > 0 || IsWithin(kPlatesAtHandPause, loads.fruitless)) {
      return plates_of_stocks_;
    }
    number = BeginLocked(kTable);
  }
  Finish(kTable, number, AskForList(kTable));
  return PlatesOfStocks();
}

// A list of the second kind alone is not enough: the first one is what most ask for.
bool HeldLists::IsHeldLocked(ListName list) const {
  switch (list) {
    case ListName::kStocks:
      return !stocks_.Get().all.empty();
    case ListName::kPlates:
      return !plates_.Get().kind1.empty();
    case ListName::kIndices:
      return !shanghai_indices_.Get().empty();
    default:
      return !plates_of_stocks_->empty();
  }
}

}  // namespace reference
