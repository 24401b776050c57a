// Quotes: single securities, pages of a board, the stocks of a plate, and the price lists that name all rows
// of a board.
#include <algorithm>

#include "market_server/endpoints/board.h"
#include "market_server/endpoints/endpoints.h"

namespace market_server::endpoints {
namespace {

using model::Kind;
using model::Quote;

void BookSide(JsonWriter& json, char side, const std::array<model::BookLevel, 5>& levels) {
  for (std::size_t i = 0; i < levels.size(); ++i) {
    if (levels[i].price <= 0) continue;  // nobody waits there: no key, so that no view shows a zero
    const char price[] = {side, static_cast<char>('1' + i), 'p'};
    const char volume[] = {side, static_cast<char>('1' + i), 'v'};
    json.Member({price, 3}, levels[i].price);
    json.Member({volume, 3}, levels[i].volume);
  }
}

/// What stocks, indices and plates have in common.
void Prices(JsonWriter& json, const Quote& q) {
  json.Member("name", q.security->name);
  json.Member("last", q.last);
  json.Member("change", q.change);
  json.Member("diff", q.diff);
  json.Member("open", q.open);
  json.Member("high", q.high);
  json.Member("low", q.low);
  json.Member("preclose", q.preclose);
  json.Member("vol", q.vol);
  json.Member("amt", q.amt);
  json.Member("tr", q.tr);
  json.Member("amp", q.amp);
  json.Member("qrr", q.qrr);
  json.Member("cr", q.cr);
  json.Member("pe", q.pe);
  json.Member("mc", q.mc);
}

void Members(JsonWriter& json, const Quote& q) {
  json.Member("num_u", q.num_u);
  json.Member("num_z", q.num_z);
  json.Member("num_d", q.num_d);
  if (q.lead != nullptr) {
    json.Member("lead", q.lead->name);
    json.Member("lead_change", q.lead_change);
  }
}

void StockRow(JsonWriter& json, const Quote& q) {
  json.BeginObject();
  json.Member("code", q.security->code);
  Prices(json, q);
  json.Member("pb", q.pb);
  json.Member("cmc", q.cmc);
  json.Member("tso", q.tso);
  json.Member("shares", q.shares);
  json.Member("status", std::to_string(static_cast<int>(q.status)));
  BookSide(json, 'b', q.bids);
  BookSide(json, 's', q.asks);
  json.EndObject();
}

void IndexRow(JsonWriter& json, const Quote& q) {
  json.BeginObject();
  json.Member("code", q.security->code);
  Prices(json, q);
  Members(json, q);
  json.Member("status", std::to_string(static_cast<int>(q.status)));
  json.EndObject();
}

void PlateRow(JsonWriter& json, const Quote& q) {
  json.BeginObject();
  json.Member("bk", q.security->code);
  Prices(json, q);
  Members(json, q);
  json.Member("bpin", q.bpin);
  json.Member("cud", q.cud);
  json.EndObject();
}

void NameRow(JsonWriter& json, const Quote& q) {
  json.BeginObject();
  json.Member("code", q.security->code);
  json.Member("name", q.security->name);
  json.Member("last", q.last);
  json.EndObject();
}

Rows PageAskedFor(const Call& call, const Rows& rows) {
  return Page(rows, call.Text("sort_key"), call.Text("sort_type"), call.Number("start"), call.Number("end"));
}

template <class Write>
void DataRows(JsonWriter& json, const Rows& rows, Write&& write) {
  json.Key("data");
  json.BeginArray();
  for (const Quote* row : rows) write(json, *row);
  json.EndArray();
}

}  // namespace

void StockDetailList(const Call& call, JsonWriter& json) {
  json.Key("data");
  json.BeginObject();
  json.Key("list");
  json.BeginArray();
  for (const std::string& symbol : call.symbols) {
    const model::Security* security = call.market.Find(symbol);
    if (security == nullptr) continue;
    const Quote quote = call.market.QuoteOf(*security, call.instant);
    switch (security->kind) {
      case Kind::kStock:
        if (call.market.IsListed(*security, quote.date)) StockRow(json, quote);
        break;
      case Kind::kIndex:
        IndexRow(json, quote);
        break;
      case Kind::kPlate:
        PlateRow(json, quote);
        break;
    }
  }
  json.EndArray();
  json.EndObject();
}

void StockPage(const Call& call, JsonWriter& json) {
  const auto board = call.market.BoardAt(call.instant);
  DataRows(json, PageAskedFor(call, StocksOf(*board, call.Text("stock_type"))), StockRow);
}

void StockPriceList(const Call& call, JsonWriter& json) {
  const auto board = call.market.BoardAt(call.instant);
  const Rows rows = StocksOf(*board, call.Text("stock_type"));
  DataRows(json, Page(rows, call.Text("sort_key"), call.Text("sort_type")), NameRow);
}

void PlatePage(const Call& call, JsonWriter& json) {
  const auto board = call.market.BoardAt(call.instant);
  DataRows(json, PageAskedFor(call, PlatesOf(*board, call.Text("bk_type"))), PlateRow);
}

void PlatePriceList(const Call& call, JsonWriter& json) {
  const auto board = call.market.BoardAt(call.instant);
  const Rows rows = PlatesOf(*board, call.Text("bk_type"));
  DataRows(json, Page(rows, call.Text("sort_key"), call.Text("sort_type")), NameRow);
}

void PlateStocks(const Call& call, JsonWriter& json) {
  const model::Security* plate = call.market.Find(call.Text("bk_code"));
  if (plate == nullptr || plate->kind != Kind::kPlate) throw ApiError(Error::kUnknownPlate, {});
  const auto board = call.market.BoardAt(call.instant);
  const auto members = call.market.Members(*plate);
  Rows rows;
  for (const Quote& quote : board->stocks) {
    if (std::find(members.begin(), members.end(), quote.security) != members.end()) rows.push_back(&quote);
  }
  json.Member("total_num", rows.size());
  DataRows(json, PageAskedFor(call, rows), [](JsonWriter& out, const Quote& q) {
    out.BeginObject();
    out.Member("code", q.security->code);
    out.Member("name", q.security->name);
    out.Member("last", q.last);
    out.Member("change", q.change);
    out.Member("diff", q.diff);
    out.Member("tr", q.tr);
    out.EndObject();
  });
}

}  // namespace market_server::endpoints
