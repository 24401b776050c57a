// The quotes of the three headline indices: one fixed request, one list, every attached observer told. The
// smallest whole service, and the pattern of the others.
#include "quotes/index_market.h"

#include <string>
#include <utility>
#include <vector>

#include "frame/phase_interval.h"
#include "frame/polling.h"
#include "quotes/index_market_service.h"
#include "quotes/index_market_table.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/record_reader.h"
#include "request/stamp.h"
#include "request/urls.h"

namespace quotes {
namespace {

using IndexList = std::vector<IndexMarketSummary>;
using IndexObserver = IUpdate1<IndexList>;

class CIndexMarket : public IIndexMarket, protected frame::Gated {
 public:
  void Attach(IndexObserver* obs) override;
  void Fetch() override { FetchIndexMarkets(); }
  int GetInterval() override { return frame::PhaseInterval(); }

 private:
  // Ask
  void FetchIndexMarkets();
  // Understand
  void OnAnswer(std::int64_t stamp, bool ok, const char* body, std::size_t length);
  // Tell
  void Publish(std::int64_t stamp, IndexList list);

  // Guarded by the list mutex.
  IndexList last_list_;
  request::Stamp latest_request_;
  std::int64_t published_request_ = 0;
};

void CIndexMarket::Attach(IndexObserver* obs) {
  IIndexMarket::Attach(obs);
  boost::lock_guard<boost::mutex> lock(ListMutex());
  if (IsAttachedLocked(obs) && !last_list_.empty()) {
    obs->Update(last_list_);
  }
}

void CIndexMarket::FetchIndexMarkets() {
  std::int64_t stamp = 0;
  {
    boost::lock_guard<boost::mutex> lock(ListMutex());
    stamp = latest_request_.Advance();
  }
  request::Ask(
      request::StockDetailListUrl({L"sh000001", L"sz399001", L"sz399006"}), request::kQuickSeconds, gate_,
      [this, stamp](bool ok, const char* body, std::size_t length) { OnAnswer(stamp, ok, body, length); });
}

void CIndexMarket::OnAnswer(std::int64_t stamp, bool ok, const char* body, std::size_t length) {
  const auto is_latest = [this, stamp] {
    boost::lock_guard<boost::mutex> lock(ListMutex());
    return latest_request_.IsLatest(stamp);
  };
  const request::Answer answer =
      request::CheckAnswer(request::Fetch::kIndexQuotes, ok, body, length, is_latest);
  if (answer) {
    Publish(stamp, request::RecordReader<kIndexMarketSummaryTable>::ReadAll(answer.DataList()));
  }
}

void CIndexMarket::Publish(std::int64_t stamp, IndexList list) {
  boost::lock_guard<boost::mutex> lock(ListMutex());
  // Two answers may be read at once: the newer one is not taken back by the older.
  if (stamp < published_request_) {
    return;
  }
  published_request_ = stamp;
  last_list_ = std::move(list);
  for (IndexObserver* const obs : ObserversLocked()) {
    obs->Update(last_list_);
  }
}

}  // namespace

IIndexMarket* MakeIndexMarket() {
  return frame::MakeOrNull<frame::Polling<CIndexMarket>>();
}

}  // namespace quotes
