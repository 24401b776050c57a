#include "reference/held_lists.h"

#include <algorithm>
#include <utility>

#include "frame/ticks.h"
#include "host/clock.h"
#include "reference/refresh_schedule.h"
#include "reference/succeeds.h"

namespace reference {
namespace {

constexpr std::int64_t kGetterPause = 60'000;        // milliseconds
constexpr std::int64_t kPlatesAtHandPause = 30'000;  // milliseconds

using Lock = std::lock_guard<std::mutex>;

bool IsWithin(std::int64_t pause, const std::optional<std::int64_t>& moment) {
  return moment && frame::SteadyMilliseconds() - *moment < pause;
}

}  // namespace

// --- Loads ---

HeldLists::LoadNumber HeldLists::Begin(ListName list) {
  const Lock lock(mutex_);
  ++Of(list).under_way;
  return ++latest_;
}

bool HeldLists::Finish(ListName list, LoadNumber number, const ListAnswer& answer) noexcept {
  const bool ok = Succeeds([&] { return Take(list, number, answer); });
  const Lock lock(mutex_);
  Loads& loads = Of(list);
  --loads.under_way;
  loads.fruitless.reset();
  if (!ok || !IsHeldLocked(list)) {
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
  // A load before 09:14 leaves the date as it is, so that the list is loaded once more after it.
  const bool is_final = ListsFinalTime(answer.asked) <= answer.asked;
  const std::uint32_t date = is_final ? common::TimeToDate(answer.asked) : 0;
  Fresh fresh = Read(list, checked);  // frees what was replaced, after the lock
  const Lock lock(mutex_);
  Loads& loads = Of(list);
  if (number < loads.newest) {
    return true;
  }
  std::visit([this](auto& lists) { SwapLocked(lists); }, fresh);
  loads.newest = number;
  loads.date = is_final ? date : loads.date;
  return true;
}

HeldLists::Fresh HeldLists::Read(ListName list, const request::Answer& answer) {
  switch (list) {
    case ListName::kStocks:
      return std::make_unique<const StockLists>(ReadStockLists(answer.Root()));
    case ListName::kPlates:
      return std::make_unique<const PlateLists>(ReadPlateLists(answer.Root()));
    case ListName::kIndices:
      return ReadIndexLists(answer.DataObject());
    default:
      return std::make_shared<const PlateMembership>(ReadPlateMembership(answer.DataObject()));
  }
}

void HeldLists::SwapLocked(std::unique_ptr<const StockLists>& fresh) {
  const StockLists& held = stocks_.Get();
  // Kept: equal counts are taken to mean an unchanged list.
  if (fresh->shanghai.size() != held.shanghai.size() || fresh->shenzhen.size() != held.shenzhen.size()) {
    fresh = stocks_.Replace(std::move(fresh));
  }
}

void HeldLists::SwapLocked(std::unique_ptr<const PlateLists>& fresh) {
  fresh = plates_.Replace(std::move(fresh));
}

void HeldLists::SwapLocked(IndexLists& fresh) {
  auto lists = std::make_unique<HeldIndices>(indices_.Get());
  for (auto [came, held] :
       {std::pair(&fresh.shanghai, &lists->shanghai), std::pair(&fresh.shenzhen, &lists->shenzhen)}) {
    // Kept: equal counts are taken to mean an unchanged list.
    if (*came && (*came)->size() != held->size()) {
      held->swap(**came);
    }
  }
  static_cast<void>(indices_.Replace(std::move(lists)));
}

void HeldLists::SwapLocked(std::shared_ptr<const PlateMembership>& fresh) {
  plates_of_stocks_.swap(fresh);
}

// --- What is held ---

void HeldLists::Want(ListName list) noexcept {
  if (Succeeds([&] { return MustLoad(list); })) {
    Load(list);
  }
}

bool HeldLists::MustLoad(ListName list) {
  std::uint32_t date = 0;
  {
    const Lock lock(mutex_);
    if (!IsHeldLocked(list)) {
      return true;
    }
    if (list != ListName::kStocks || IsWithin(kGetterPause, Of(list).fruitless)) {
      return false;
    }
    date = Of(list).date;
  }
  return ListIsStale(date);
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
  switch (kind) {
    case 2:
      return stocks.shanghai;
    case 3:
      return stocks.shenzhen;
    case 4:
      return stocks.gem;
    case 5:
      return stocks.sme;
    default:
      return stocks.all;
  }
}

const BaseInfoList& HeldLists::Plates(int kind) {
  const Lock lock(mutex_);
  return kind == 2 ? plates_.Get().kind2 : plates_.Get().kind1;
}

const BaseInfoList& HeldLists::Indices(int kind) {
  const Lock lock(mutex_);
  return kind == 2 ? indices_.Get().shenzhen : indices_.Get().shanghai;
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
    Loads& loads = Of(kTable);
    if (IsHeldLocked(kTable) || loads.under_way > 0 || IsWithin(kPlatesAtHandPause, loads.fruitless)) {
      return plates_of_stocks_;
    }
    ++loads.under_way;
    number = ++latest_;
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
      return !indices_.Get().shanghai.empty();
    default:
      return !plates_of_stocks_->empty();
  }
}

}  // namespace reference
