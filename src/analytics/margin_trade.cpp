// The margin balances of both exchanges, day by day. Fetched when a view asks.
#include "analytics/margin_trade.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <vector>

#include "analytics/one_shot_service.h"
#include "json/budget.h"
#include "json/numbers.h"
#include "request/urls.h"

namespace analytics {
namespace {

using request::json::Array;
using request::json::Object;
using request::json::Value;

class CMarginTrade : public OneShotService<IMarginTrade, MarginTradeItem> {
 public:
  void FetchMarginTradeInfo() override;

 private:
  static MarginTradeItem ReadDay(const Object& day);
  static std::list<MarginTradeItem> ReadDays(const Array& days);
};

void CMarginTrade::FetchMarginTradeInfo() {
  FetchList(request::Fetch::kMarginTrade, &request::MarginTradeUrl, &ReadDays);
}

MarginTradeItem CMarginTrade::ReadDay(const Object& day) {
  const Object sh = day.ObjectAt("sh");
  const Object sz = day.ObjectAt("sz");
  const auto balance = [](const Object& exchange) {
    return request::ToUnsigned64(exchange.ObjectAt("meta").Member("bsta").Number());
  };
  MarginTradeItem item;
  item.date = request::ToSigned32(sh.Member("date").Number());
  item.sh_close = request::ToSigned32(sh.Member("close").Number());
  item.sz_close = request::ToSigned32(sz.Member("close").Number());
  item.balance = balance(sh) + balance(sz);
  return item;
}

// The answer has the newest day first. The oldest one is only what the first change is counted from.
std::list<MarginTradeItem> CMarginTrade::ReadDays(const Array& days) {
  std::vector<MarginTradeItem> newest_first;
  request::json::Budget().Require(days.Size(), 3 * sizeof(MarginTradeItem));  // also as a list
  newest_first.reserve(days.Size());
  days.ForEach([&newest_first](const Value& day) { newest_first.push_back(ReadDay(day.AsObject())); });
  std::list<MarginTradeItem> items;
  for (std::size_t place = newest_first.size(); place-- > 1;) {
    MarginTradeItem& item = newest_first[place - 1];
    item.change = static_cast<std::int64_t>(item.balance - newest_first[place].balance);
    items.push_back(item);
  }
  return items;
}

}  // namespace

IMarginTrade* MakeMarginTrade() {
  return frame::MakeOrNull<frame::Running<CMarginTrade>>();
}

}  // namespace analytics
