// The calendar of new-share subscriptions. Fetched when a view asks.
#include "analytics/stock_purchase.h"

#include <iterator>
#include <list>

#include "analytics/one_shot_service.h"
#include "analytics/stock_purchase_table.h"
#include "json/budget.h"
#include "json/record_reader.h"
#include "request/urls.h"

namespace analytics {
namespace {

class CStockPurchase : public OneShotService<IStockPurchase, StockPurchaseItem> {
 public:
  void FetchPurchaseInfo() override {
    FetchList(
        request::Fetch::kStockPurchase, &request::StockPurchaseUrl, [](const request::json::Array& issues) {
          request::json::Budget budget;
          budget.Require(issues.Size(), 2 * sizeof(StockPurchaseItem));  // also as a list, with its texts
          auto items = request::RecordReader<kStockPurchaseTable>::ReadAll(issues, budget);
          return List(std::make_move_iterator(items.begin()), std::make_move_iterator(items.end()));
        });
  }
};

}  // namespace

IStockPurchase* MakeStockPurchase() {
  return frame::MakeOrNull<frame::Running<CStockPurchase>>();
}

}  // namespace analytics
