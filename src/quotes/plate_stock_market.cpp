// The member stocks of one plate, ranked and paged, with the number of all members. One request at a time
// counts: the latest wins, whichever target it was for.
#include "quotes/plate_stock_market.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "frame/polling.h"
#include "quotes/plate_stock_market_service.h"
#include "ranking/stock_market_summary_table.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/record_reader.h"
#include "request/stamp.h"
#include "request/urls.h"

namespace quotes {
namespace {

class CPlateStockMarket : public IPlateStockMarket, protected frame::Gated {
 public:
  void Fetch() override;
  void FetchStockMarkets(const std::wstring& bk_code, std::uint32_t start, std::uint32_t end,
                         std::uint32_t sort_key, std::uint32_t sort_type) override;

 private:
  // Understand and tell
  void OnAnswer(const PlateStockRankingTarget& target, std::int64_t stamp, bool ok, const char* body,
                std::size_t length);

  boost::mutex lock_;  // guards the member below
  request::Stamp latest_request_;
  boost::mutex
      order_;  // guards the two members below; answers are told one at a time. Taken before the list mutex.
  std::int64_t published_request_ = 0;
  PlateStockMarketData latest_answer_;
};

void CPlateStockMarket::Fetch() {
  std::vector<PlateStockRankingTarget> targets;
  GetActiveTargets(targets);
  for (const PlateStockRankingTarget& target : targets) {
    if (!target.bk_code.empty() && target.sort_key != 0) {
      FetchStockMarkets(target.bk_code, target.start, target.end, target.sort_key, target.sort_type);
    }
  }
}

void CPlateStockMarket::FetchStockMarkets(const std::wstring& bk_code, std::uint32_t start, std::uint32_t end,
                                          std::uint32_t sort_key, std::uint32_t sort_type) {
  std::int64_t stamp = 0;
  {
    const boost::lock_guard<boost::mutex> guard(lock_);
    stamp = latest_request_.Advance();
  }
  const PlateStockRankingTarget target{bk_code, sort_key, sort_type, start, end};
  request::Ask(request::PlateStocksUrl(bk_code, static_cast<int>(sort_key), static_cast<int>(sort_type),
                                       static_cast<int>(start), static_cast<int>(end)),
               request::kUsualSeconds, gate_,
               [this, target, stamp](bool ok, const char* body, std::size_t length) {
                 OnAnswer(target, stamp, ok, body, length);
               });
}

void CPlateStockMarket::OnAnswer(const PlateStockRankingTarget& target, std::int64_t stamp, bool ok,
                                 const char* body, std::size_t length) {
  const auto is_latest = [this, stamp] {
    const boost::lock_guard<boost::mutex> guard(lock_);
    return latest_request_.IsLatest(stamp);
  };
  const request::Answer answer =
      request::CheckAnswer(request::Fetch::kPlateStocks, ok, body, length, is_latest);
  if (!answer) {
    return;
  }
  PlateStockMarketData data;
  data.total_num = answer.Root().Member("total_num").Integer();
  data.stocks = request::RecordReader<ranking::kStockMarketSummaryTable>::ReadAll(answer.DataArray());
  // Two answers may be read at once: the newer one is not taken back by the older.
  const boost::lock_guard<boost::mutex> guard(order_);
  if (stamp < published_request_) {
    return;
  }
  published_request_ = stamp;
  latest_answer_ = std::move(data);
  Deliver(target, latest_answer_);
}

}  // namespace

IPlateStockMarket* MakePlateStockMarket() {
  return frame::MakeOrNull<frame::Polling<CPlateStockMarket>>();
}

}  // namespace quotes
