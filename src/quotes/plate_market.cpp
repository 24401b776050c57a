// Ranked, paged quotes of plates, polled per range; and the one-off list of a kind's codes and names.
#include "quotes/plate_market.h"

#include <boost/thread/mutex.hpp>
#include <vector>

#include "frame/polling.h"
#include "quotes/plate_market_service.h"
#include "quotes/stock_market_item_table.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/item_request.h"
#include "request/record_reader.h"
#include "request/urls.h"

namespace quotes {
namespace {

class CPlateMarket : public IPlateMarket, protected frame::Gated {
 public:
  void Fetch() override;
  void FetchPlateItems(int sort_key, int sort_type, int bk_type, const CodeNameCallback& done) override {
    items_.Send(request::PlatePriceListUrl(bk_type, sort_key, sort_type), done);
  }

 private:
  // Ask
  void FetchPlateMarkets(const PlateRangeRankingTarget& target);
  // Understand and tell
  void OnAnswer(const PlateRangeRankingTarget& target, bool ok, const char* body, std::size_t length);

  boost::mutex lock_;  // guards the stamp of items_
  request::ItemRequest items_{request::Fetch::kPlateItems, lock_, gate_};
};

void CPlateMarket::Fetch() {
  std::vector<PlateRangeRankingTarget> targets;
  GetActiveTargets(targets);
  for (const PlateRangeRankingTarget& target : targets) {
    if (target.bk_type != 0 && target.sort_key != 0) {
      FetchPlateMarkets(target);
    }
  }
}

void CPlateMarket::FetchPlateMarkets(const PlateRangeRankingTarget& target) {
  request::Ask(request::PlateRangeUrl(static_cast<int>(target.bk_type), static_cast<int>(target.sort_key),
                                      static_cast<int>(target.sort_type), static_cast<int>(target.start),
                                      static_cast<int>(target.end)),
               request::kUsualSeconds, gate_, [this, target](bool ok, const char* body, std::size_t length) {
                 OnAnswer(target, ok, body, length);
               });
}

void CPlateMarket::OnAnswer(const PlateRangeRankingTarget& target, bool ok, const char* body,
                            std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kPlateQuotes, ok, body, length);
  if (answer) {
    Deliver(target, request::RecordReader<kPlateTable>::ReadAll(answer.DataArray()));
  }
}

}  // namespace

IPlateMarket* MakePlateMarket() {
  return frame::MakeOrNull<frame::Polling<CPlateMarket>>();
}

}  // namespace quotes
