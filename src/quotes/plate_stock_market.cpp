// The member stocks of one plate, ranked and paged, with the number of all members. One request at a time
// counts: the latest wins, whichever target it was for.
#include "quotes/plate_stock_market.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "frame/running.h"
#include "frame/ticks.h"
#include "json/record_reader.h"
#include "ranking/stock_market_summary_table.h"
#include "request/keyed_service.h"
#include "request/urls.h"
#include "services.h"

namespace quotes {
namespace {

constexpr std::int64_t kLongestPatience = 10'000;  // milliseconds

class CPlateStockMarket : public request::KeyedService<IPlateStockMarket> {
 public:
  CPlateStockMarket() : KeyedService(request::Fetch::kPlateStocks, request::Counts::kLatestRequest) {}

  void Fetch() override { Remember(AskForEach()); }

  void FetchStockMarkets(const std::wstring& bk_code, std::uint32_t start, std::uint32_t end,
                         std::uint32_t sort_key, std::uint32_t sort_type) override {
    PlateStockRankingTarget target{{}, sort_key, sort_type, start, end};
    if (request::Succeeds(request::Fetch::kPlateStocks, [&] { target.bk_code = bk_code; })) {
      Remember(AskFor(target));
    }
  }

 private:
  bool IsSet(const PlateStockRankingTarget& target) override {
    return !target.bk_code.empty() && target.sort_key != 0;
  }
  std::wstring UrlOf(const PlateStockRankingTarget& target) override {
    return request::PlateStocksUrl(target.bk_code, request::OrderOf(target), request::RowsOf(target));
  }
  std::shared_ptr<Data> Read(const PlateStockRankingTarget& /*target*/,
                             const request::Answer& answer) override {
    return request::Share<Data>(
        {answer.Root().Member("total_num").Integer(),
         request::RecordReader<ranking::kStockMarketSummaryTable>::ReadAll(answer.DataArray())});
  }

  void Remember(const std::shared_ptr<const request::Pending>& asked) {
    const std::lock_guard<std::mutex> lock(mutex_);
    latest_ = asked;
    asked_at_ = frame::SteadyMilliseconds();
  }
  // While the answer to the latest request is on its way: on a line that is slower than the interval, none
  // would ever be the latest when it comes.
  bool LeavesOutRound() override {
    const std::lock_guard<std::mutex> lock(mutex_);
    return latest_ != nullptr && !latest_->IsAnswered() &&
           frame::SteadyMilliseconds() - asked_at_ <= kLongestPatience;
  }

  std::mutex mutex_;  // guards the members below
  std::shared_ptr<const request::Pending> latest_;
  std::int64_t asked_at_ = 0;
};

}  // namespace

IPlateStockMarket* MakePlateStockMarket() {
  return frame::MakeOrNull<frame::Running<CPlateStockMarket>>();
}

}  // namespace quotes
