// Rankings: the first rows of a board by one column, in short form.
#include "endpoints/board.h"
#include "endpoints/endpoints.h"

namespace market_server::endpoints {
namespace {

using model::Quote;

constexpr std::int64_t kFiveChangeRows = 100;

void StockRow(JsonWriter& json, const Quote& q, double change) {
  json.BeginObject();
  json.Member("code", q.security->code);
  json.Member("name", q.security->name);
  json.Member("last", q.last);
  json.Member("change", change);
  json.Member("diff", q.diff);
  json.Member("tr", q.tr);
  json.EndObject();
}

/// "num" rows; a negative number is none.
Rows First(const Rows& rows, std::int64_t count) {
  return Page(rows, 0, count < 0 ? 0 : count);
}

}  // namespace

void StockRank(const Call& call, JsonWriter& json) {
  const auto board = call.market.board(call.instant);
  Rows rows = StocksOf(*board, call.Text("stock_type"));
  Sort(rows, call.Text("sort_key"), call.Text("sort_type"));
  json.Key("data");
  json.BeginArray();
  for (const Quote* row : First(rows, call.Number("num"))) StockRow(json, *row, row->change);
  json.EndArray();
}

void StockFiveChange(const Call& call, JsonWriter& json) {
  const auto board = call.market.board(call.instant);
  Rows rows = StocksOf(*board, call.Text("stock_type"));
  // In this list "change" is that of the last five minutes, as column and as figure.
  const std::string& column = call.Text("sort_key");
  Sort(rows, column == "change" ? std::string_view("five_change") : std::string_view(column),
       call.Text("sort_type"));
  json.Key("data");
  json.BeginArray();
  for (const Quote* row : First(rows, kFiveChangeRows)) StockRow(json, *row, row->five_change);
  json.EndArray();
}

void PlateRank(const Call& call, JsonWriter& json) {
  const auto board = call.market.board(call.instant);
  Rows rows = PlatesOf(*board, call.Text("bk_type"));
  Sort(rows, call.Text("sort_key"), call.Text("sort_type"));
  json.Key("data");
  json.BeginArray();
  for (const Quote* row : First(rows, call.Number("num"))) {
    json.BeginObject();
    json.Member("bk", row->security->code);
    json.Member("name", row->security->name);
    json.Member("change", row->change);
    json.Member("bpin", row->bpin);
    json.Member("cud", row->cud);
    if (row->lead != nullptr) {
      json.Member("lead", row->lead->name);
      json.Member("lead_change", row->lead_change);
    }
    json.EndObject();
  }
  json.EndArray();
}

}  // namespace market_server::endpoints
