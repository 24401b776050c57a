// The full quote of one security per target: figures and order book of a stock, figures and members of an
// index.
#include "quotes/single_stock_market.h"

#include <memory>
#include <string>

#include "frame/running.h"
#include "json/numbers.h"
#include "json/record_reader.h"
#include "quotes/directions.h"
#include "quotes/presence.h"
#include "quotes/stock_market_item_table.h"
#include "request/keyed_service.h"
#include "request/urls.h"
#include "services.h"

namespace quotes {
namespace {

class CSingleStockMarket : public request::KeyedService<ISingleStockMarket> {
 public:
  CSingleStockMarket() : KeyedService(request::Fetch::kSingleStock) {}

 private:
  std::wstring UrlOf(const std::wstring& code) override { return request::StockDetailListUrl({code}); }
  std::shared_ptr<StockMarketItem> Read(const std::wstring& code, const request::Answer& answer) override;
  void Compare(const std::shared_ptr<StockMarketItem>& item) override;

  // Of whichever code was answered last (kept: one memory for all codes); none before the first answer.
  std::shared_ptr<const StockMarketItem> previous_;
};

void ReadStock(StockMarketItem& item, const request::json::Object& object) {
  if (item.vol.value != 0) {
    item.avg_price = {item.amt.value / static_cast<double>(item.vol.value), true};
  }
  item.limit_up = {request::RoundToCents(item.preclose.value * 1.1), true};
  item.limit_down = {request::RoundToCents(item.preclose.value * 0.9), true};
  item.bid_prices.resize(request::kBookLevels);
  item.ask_prices.resize(request::kBookLevels);
  item.bid_volumes.resize(request::kBookLevels);
  item.ask_volumes.resize(request::kBookLevels);
  request::RecordReader<kBookTable>::Fill(item, object);
}

void ReadIndex(StockMarketItem& item, const request::json::Object& object) {
  request::RecordReader<kMembersTable>::Fill(item, object);
  item.lead_change.present = true;
  item.num_u.present = true;
  item.num_z.present = true;
  item.num_d.present = true;
}

std::shared_ptr<StockMarketItem> CSingleStockMarket::Read(const std::wstring& code,
                                                          const request::Answer& answer) {
  if (answer.DataList().Size() == 0) {
    return nullptr;
  }
  const request::json::Object object = answer.DataList().At(0).AsObject();
  auto item = std::make_shared<StockMarketItem>();
  item->symbol_type = stock::CheckSymbol(code.c_str());
  request::RecordReader<kFigureTable>::Fill(*item, object);
  item->code = code;  // the one that was asked for, whatever the answer says
  if (item->symbol_type == stock::kSymbolStock) {
    ReadStock(*item, object);
  } else {
    ReadIndex(*item, object);
  }
  ApplySingleQuoteRules(*item, CurrentPhase());
  return item;
}

void CSingleStockMarket::Compare(const std::shared_ptr<StockMarketItem>& item) {
  if (previous_ != nullptr && previous_->code == item->code) {
    SetDirections(*item, *previous_);
  }
  previous_ = item;
}

}  // namespace

ISingleStockMarket* MakeSingleStockMarket() {
  return frame::MakeOrNull<frame::Running<CSingleStockMarket>>();
}

}  // namespace quotes
