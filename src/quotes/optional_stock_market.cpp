// The quotes of the user's watch list: one request for all of it, one sorted copy per order that views ask
// for.
#include "quotes/optional_stock_market.h"

#include <algorithm>
#include <atomic>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "frame/polling.h"
#include "frame/reference_data.h"
#include "host/tasks.h"
#include "host/watch_list.h"
#include "quotes/directions.h"
#include "quotes/optional_stock_market_service.h"
#include "quotes/stock_market_item_table.h"
#include "quotes/watch_list_order.h"
#include "reference/stock_common.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/record_reader.h"
#include "request/urls.h"

namespace quotes {
namespace {

using Codes = std::vector<std::wstring>;
using Items = std::vector<OptionalMarketItem>;
using Observer = IUpdate1<Items>;

// The name of the first plate of a stock; empty when none is known. A look-up may wait for the server, so
// each is one use of the reference data: whoever ends it waits for one of them, not for a whole list.
std::wstring FirstPlateOf(const std::wstring& code) {
  std::vector<std::pair<std::wstring, std::wstring>> plates;
  frame::WithReferenceData([&](IStockCommon& reference) { reference.GetPlatesOfStock(code, plates); });
  return plates.empty() ? std::wstring() : plates.front().second;
}

class COptionalStockMarket : public IOptionalStockMarket, protected frame::Gated {
 public:
  void Fetch() override;
  /// A round is left out while the rows of an answer are read: that may wait for the plates, and rounds that
  /// went on asking would take one of the host's threads after the other.
  void OnTimer() override;
  void FetchStockItems(int sort_key, int sort_type, const CodeNameCallback& done) override;

 private:
  // Follows the host's watch list, if it has one, while it lives.
  class Follower final : public IUpdate1<Codes> {
   public:
    explicit Follower(COptionalStockMarket& service) : service_(service), list_(GetUserOptionalStock()) {
      if (list_ != nullptr) {
        list_->Attach(this);
      }
    }
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;
    ~Follower() {
      if (list_ != nullptr) {
        list_->Detach(this);
      }
    }
    void Update(const Codes& codes) override { service_.OnWatchList(codes); }

   private:
    COptionalStockMarket& service_;
    IUserOptionalStock* const list_;
  };

  void OnWatchList(const Codes& codes);
  // Ask
  void FetchStockMarkets(const Codes& codes);
  // Understand
  void OnAnswer(bool ok, const char* body, std::size_t length);
  Items ReadItems(const request::json::Array& list);
  std::shared_ptr<const Items> Remember(Items items);
  // Tell
  void Publish(const Items& items);
  Items SpareCopyLocked();

  std::atomic<int> reading_ = 0;     // answers whose rows are being read
  std::vector<Items> spare_copies_;  // of the answer before, for their memory; guarded by the list mutex
  boost::mutex lock_;                // guards the three members below
  Codes watch_list_;
  bool watch_list_received_ = false;
  std::shared_ptr<const Items> previous_ = std::make_shared<Items>();
  Follower follower_{*this};  // last: the list may come while it is made
};

// The first delivery is fetched by the polling thread, every later one at once.
void COptionalStockMarket::OnWatchList(const Codes& codes) {
  bool had_list = false;
  {
    const boost::lock_guard<boost::mutex> guard(lock_);
    watch_list_ = codes;
    had_list = std::exchange(watch_list_received_, true);
  }
  if (had_list) {
    FetchStockMarkets(codes);
  }
}

void COptionalStockMarket::Fetch() {
  Codes codes;
  {
    const boost::lock_guard<boost::mutex> guard(lock_);
    codes = watch_list_;
  }
  FetchStockMarkets(codes);
}

void COptionalStockMarket::OnTimer() {
  if (reading_ == 0) {
    Fetch();
  }
}

void COptionalStockMarket::FetchStockMarkets(const Codes& codes) {
  if (codes.empty()) {
    return;
  }
  request::Ask(request::StockDetailListUrl(codes), request::kUsualSeconds, gate_,
               [this](bool ok, const char* body, std::size_t length) { OnAnswer(ok, body, length); });
}

void COptionalStockMarket::OnAnswer(bool ok, const char* body, std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kOptionalStocks, ok, body, length);
  if (answer) {
    Publish(*Remember(ReadItems(answer.DataList())));
  }
}

Items COptionalStockMarket::ReadItems(const request::json::Array& list) {
  ++reading_;
  struct Done {
    std::atomic<int>& reading;
    ~Done() { --reading; }
  };
  const Done done{reading_};
  Items items(list.Size());
  auto next = items.begin();
  list.ForEach([&next](const request::json::Value& element) {
    OptionalMarketItem& item = *next++;
    request::RecordReader<kWatchListTable>::Fill(item, element.AsObject());
    item.symbol_type = stock::CheckSymbol(item.code.c_str());
  });
  for (OptionalMarketItem& item : items) {
    if (item.symbol_type == stock::kSymbolStock) {
      item.plate = FirstPlateOf(item.code);
    }
  }
  return items;
}

std::shared_ptr<const Items> COptionalStockMarket::Remember(Items items) {
  const auto shared = std::make_shared<Items>(std::move(items));
  const boost::lock_guard<boost::mutex> guard(lock_);
  SetDirections(*shared, *previous_);
  previous_ = shared;
  return shared;
}

// Every active observer gets the list in its own order; views with the same order share one copy.
void COptionalStockMarket::Publish(const Items& items) {
  std::vector<std::pair<SortingTarget, Items>> orders;
  const boost::lock_guard<boost::mutex> guard(ListMutex());
  for (Observer* const obs : ObserversLocked()) {
    if (IsSuspendedLocked(obs)) {
      continue;
    }
    SortingTarget target{0, 2};
    if (!GetTarget(obs, target) || target.sort_key == 0 || target.sort_type == 0) {
      obs->Update(items);
      continue;
    }
    auto order = std::find_if(orders.begin(), orders.end(),
                              [&target](const auto& entry) { return entry.first == target; });
    if (order == orders.end()) {
      order = orders.insert(orders.end(), {target, SpareCopyLocked()});
      OrderInto(order->second, items, target);
    }
    obs->Update(order->second);
  }
  spare_copies_.clear();
  for (auto& entry : orders) {
    spare_copies_.push_back(std::move(entry.second));
  }
}

Items COptionalStockMarket::SpareCopyLocked() {
  if (spare_copies_.empty()) {
    return {};
  }
  Items copy = std::move(spare_copies_.back());
  spare_copies_.pop_back();
  return copy;
}

void COptionalStockMarket::FetchStockItems(int sort_key, int sort_type, const CodeNameCallback& done) {
  if (!done) {
    return;
  }
  const SortingTarget target{static_cast<std::uint32_t>(sort_key), static_cast<std::uint32_t>(sort_type)};
  base::TaskManagerInstance()->AddTask(gate_.Guard([this, target, done] {
    std::shared_ptr<const Items> items;
    {
      const boost::lock_guard<boost::mutex> guard(lock_);
      items = previous_;
    }
    CodeNameList list;
    for (const std::uint32_t place : OrderOf(*items, target)) {
      list.emplace_back((*items)[place].code, (*items)[place].name);
    }
    done(list);
  }));
}

}  // namespace

IOptionalStockMarket* MakeOptionalStockMarket() {
  return frame::MakeOrNull<frame::Polling<COptionalStockMarket>>();
}

}  // namespace quotes
