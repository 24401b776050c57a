// The quotes of the user's watch list: one request for all of it, one sorted copy per order that views ask
// for.
#include "quotes/optional_stock_market.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "frame/polled_subject.h"
#include "frame/running.h"
#include "host/tasks.h"
#include "quotes/directions.h"
#include "quotes/watch_list_follower.h"
#include "quotes/watch_list_order.h"
#include "quotes/watch_list_reader.h"
#include "request/ask.h"
#include "request/urls.h"
#include "services.h"

namespace quotes {
namespace {

using Codes = WatchListFollower::Codes;
using Items = std::vector<OptionalMarketItem>;

constexpr auto kFetch = request::Fetch::kOptionalStocks;

class COptionalStockMarket : public frame::PolledSubject<IOptionalStockMarket> {
 public:
  void Fetch() override {
    if (missed_.exchange(false) && !request::Succeeds(kFetch, [this] { follower_.AskAgain(); })) {
      missed_ = true;
    }
    FetchStockMarkets(WatchList());
  }
  void FetchStockItems(int sort_key, int sort_type, const CodeNameCallback& done) override;

 private:
  void OnWatchList(const Codes& codes);
  std::shared_ptr<const Codes> WatchList() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return watch_list_;
  }
  std::shared_ptr<const Items> Latest() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return previous_;
  }
  void FetchStockMarkets(const std::shared_ptr<const Codes>& codes);
  std::vector<const Items*> Choose(const std::vector<Viewer>& viewers, const std::shared_ptr<Items>& items);

  SortedCopies copies_;  // touched under the list mutex only
  std::mutex mutex_;     // guards the two members below
  std::shared_ptr<const Codes> watch_list_;
  std::shared_ptr<const Items> previous_ = std::make_shared<Items>();
  std::atomic<bool> missed_ = false;  // a list came for which there was no memory
  frame::Stamps stamps_;
  // Last: the list may come while it is made.
  WatchListFollower follower_{[this](const Codes& codes) { OnWatchList(codes); }};
};

// The first delivery is fetched by the polling thread, every later one at once.
void COptionalStockMarket::OnWatchList(const Codes& codes) {
  std::shared_ptr<const Codes> before = request::Shared(kFetch, codes);
  const std::shared_ptr<const Codes> now = before;
  if (now == nullptr) {
    missed_ = true;
    return;
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    watch_list_.swap(before);
  }
  if (before != nullptr) {
    FetchStockMarkets(now);
  }
}

// --- Ask, understand ---

void COptionalStockMarket::FetchStockMarkets(const std::shared_ptr<const Codes>& codes) {
  if (codes == nullptr || codes->empty()) {
    return;
  }
  const frame::Stamp stamp = stamps_.Next();
  request::Ask(
      {kFetch, gate_}, [&] { return request::StockDetailListUrl(*codes); }, &ReadWatchList,
      [this, stamp](const std::shared_ptr<Items>& items) {
        return TellEach(stamp, frame::Whom::kEveryActive,
                        [&](const std::vector<Viewer>& viewers) { return Choose(viewers, items); });
      });
}

// --- Tell ---

// Every active observer gets the list in its own order; views with the same order share one copy.
std::vector<const Items*> COptionalStockMarket::Choose(const std::vector<Viewer>& viewers,
                                                       const std::shared_ptr<Items>& items) {
  {
    std::shared_ptr<const Items> before = items;  // in the end the one before, let go after the lock
    const std::lock_guard<std::mutex> lock(mutex_);
    SetDirections(*items, *previous_);
    previous_.swap(before);
  }
  copies_.Begin(*items);
  std::vector<const Items*> chosen;
  chosen.reserve(viewers.size());
  for (const Viewer& viewer : viewers) {
    SortingTarget target{0, 2};
    GetTarget(ObserverOf(viewer), target);
    chosen.push_back(&copies_.In(target));
  }
  return chosen;
}

void COptionalStockMarket::FetchStockItems(int sort_key, int sort_type, const CodeNameCallback& done) {
  if (!done) {
    return;
  }
  const SortingTarget target{static_cast<std::uint32_t>(sort_key), static_cast<std::uint32_t>(sort_type)};
  const auto shared = request::Shared(kFetch, done);
  const auto hand_over = [this, target, shared] {
    CodeNameList list;
    const bool listed = request::Succeeds(kFetch, [&] {
      const std::shared_ptr<const Items> items = Latest();
      for (const std::uint32_t place : OrderOf(*items, target)) {
        list.emplace_back((*items)[place].code, (*items)[place].name);
      }
    });
    if (listed) {
      (*shared)(list);
    }
  };
  if (shared != nullptr) {
    static_cast<void>(
        request::Succeeds(kFetch, [&] { base::TaskManagerInstance()->AddTask(gate_.Guard(hand_over)); }));
  }
}

}  // namespace

IOptionalStockMarket* MakeOptionalStockMarket() {
  return frame::MakeOrNull<frame::Running<COptionalStockMarket>>();
}

}  // namespace quotes
