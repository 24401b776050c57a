// The full quote of one security per target: figures and order book of a stock, figures and members of an
// index.
#include "quotes/single_stock_market.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <optional>
#include <string>
#include <vector>

#include "frame/polling.h"
#include "host/clock.h"
#include "quotes/directions.h"
#include "quotes/presence.h"
#include "quotes/single_stock_market_service.h"
#include "quotes/stock_market_item_table.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/numbers.h"
#include "request/record_reader.h"
#include "request/urls.h"

namespace quotes {
namespace {

class CSingleStockMarket : public ISingleStockMarket, protected frame::Gated {
 public:
  void Fetch() override;

 private:
  // Ask
  void FetchStockMarket(const std::wstring& code);
  // Understand
  void OnAnswer(const std::wstring& code, bool ok, const char* body, std::size_t length);
  static StockMarketItem ReadItem(const std::wstring& code, const request::json::Object& object);
  static void ReadStock(StockMarketItem& item, const request::json::Object& object);
  static void ReadIndex(StockMarketItem& item, const request::json::Object& object);
  void Remember(StockMarketItem& item);

  boost::mutex lock_;  // guards previous_
  // Of whichever code was answered last (kept: one memory for all codes); none before the first answer.
  std::optional<StockMarketItem> previous_;
};

void CSingleStockMarket::Fetch() {
  std::vector<std::wstring> codes;
  GetActiveTargets(codes);
  for (const std::wstring& code : codes) {
    FetchStockMarket(code);
  }
}

void CSingleStockMarket::FetchStockMarket(const std::wstring& code) {
  request::Ask(
      request::StockDetailListUrl({code}), request::kUsualSeconds, gate_,
      [this, code](bool ok, const char* body, std::size_t length) { OnAnswer(code, ok, body, length); });
}

void CSingleStockMarket::OnAnswer(const std::wstring& code, bool ok, const char* body, std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kSingleStock, ok, body, length);
  if (!answer || answer.DataList().Size() == 0) {
    return;
  }
  StockMarketItem item = ReadItem(code, answer.DataList().At(0).AsObject());
  ApplySingleQuoteRules(item,
                        stock::CheckMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime())));
  Remember(item);
  Deliver(code, item);
}

StockMarketItem CSingleStockMarket::ReadItem(const std::wstring& code, const request::json::Object& object) {
  StockMarketItem item;
  item.symbol_type = stock::CheckSymbol(code.c_str());
  request::RecordReader<kFigureTable>::Fill(item, object);
  item.code = code;  // the one that was asked for, whatever the answer says
  if (item.symbol_type == stock::kSymbolStock) {
    ReadStock(item, object);
  } else {
    ReadIndex(item, object);
  }
  return item;
}

void CSingleStockMarket::ReadStock(StockMarketItem& item, const request::json::Object& object) {
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

void CSingleStockMarket::ReadIndex(StockMarketItem& item, const request::json::Object& object) {
  request::RecordReader<kMembersTable>::Fill(item, object);
  item.lead_change.present = true;
  item.num_u.present = true;
  item.num_z.present = true;
  item.num_d.present = true;
}

void CSingleStockMarket::Remember(StockMarketItem& item) {
  const boost::lock_guard<boost::mutex> guard(lock_);
  if (previous_ && previous_->code == item.code) {
    SetDirections(item, *previous_);
  }
  previous_ = item;
}

}  // namespace

ISingleStockMarket* MakeSingleStockMarket() {
  return frame::MakeOrNull<frame::Polling<CSingleStockMarket>>();
}

}  // namespace quotes
