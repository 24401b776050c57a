// Ranked, paged quotes of plates, polled per range; and the one-off list of a kind's codes and names.
#include "quotes/plate_market.h"

#include <memory>
#include <string>
#include <vector>

#include "frame/running.h"
#include "json/record_reader.h"
#include "quotes/stock_market_item_table.h"
#include "request/item_request.h"
#include "request/keyed_service.h"
#include "request/urls.h"
#include "services.h"

namespace quotes {
namespace {

class CPlateMarket : public request::KeyedService<IPlateMarket> {
 public:
  CPlateMarket() : KeyedService(request::Fetch::kPlateQuotes) {}

  void FetchPlateItems(int sort_key, int sort_type, int bk_type, const CodeNameCallback& done) override {
    items_.Send([&] { return request::PlatePriceListUrl(bk_type, {sort_key, sort_type}); }, done);
  }

 private:
  bool IsSet(const PlateRangeRankingTarget& target) override {
    return target.bk_type != 0 && target.sort_key != 0;
  }
  std::wstring UrlOf(const PlateRangeRankingTarget& target) override {
    return request::PlateRangeUrl(static_cast<int>(target.bk_type), request::OrderOf(target),
                                  request::RowsOf(target));
  }
  std::shared_ptr<Data> Read(const PlateRangeRankingTarget& /*target*/,
                             const request::Answer& answer) override {
    return request::Share(request::RecordReader<kPlateTable>::ReadAll(answer.DataArray()));
  }

  request::ItemRequest items_{request::Fetch::kPlateItems, gate_};
};

}  // namespace

IPlateMarket* MakePlateMarket() {
  return frame::MakeOrNull<frame::Running<CPlateMarket>>();
}

}  // namespace quotes
