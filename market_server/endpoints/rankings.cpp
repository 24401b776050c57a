// Rankings: the first rows of a board by one column, in short form.
#include <algorithm>

#include "market_server/endpoints/board.h"
#include "market_server/endpoints/endpoints.h"

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

/// The "num" first rows; a negative number is none.
Rows First(const Call& call, const Rows& rows) {
  return Page(rows, call.Text("sort_key"), call.Text("sort_type"), 0,
              std::max<std::int64_t>(0, call.Number("num")));
}

}  // namespace

void StockRank(const Call& call, JsonWriter& json) {
  const auto board = call.market.BoardAt(call.instant);
  const Rows rows = StocksOf(*board, call.Text("stock_type"));
  json.Key("data");
  json.BeginArray();
  for (const Quote* row : First(call, rows)) StockRow(json, *row, row->change);
  json.EndArray();
}

void StockFiveChange(const Call& call, JsonWriter& json) {
  const auto board = call.market.BoardAt(call.instant);
  const Rows rows = StocksOf(*board, call.Text("stock_type"));
  // In this list "change" is that of the last five minutes, as column and as figure.
  std::string_view column = call.Text("sort_key");
  if (column.empty() || column == "change") column = "five_change";
  json.Key("data");
  json.BeginArray();
  for (const Quote* row : Page(rows, column, call.Text("sort_type"), 0, kFiveChangeRows))
    StockRow(json, *row, row->five_change);
  json.EndArray();
}

void PlateRank(const Call& call, JsonWriter& json) {
  const auto board = call.market.BoardAt(call.instant);
  const Rows rows = PlatesOf(*board, call.Text("bk_type"));
  json.Key("data");
  json.BeginArray();
  for (const Quote* row : First(call, rows)) {
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
