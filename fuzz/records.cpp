// Every record table against a reader that goes by its lines one after the other: whichever way a key is
// found, the record is the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "analytics/money_effect_table.h"
#include "analytics/stock_purchase_table.h"
#include "analytics/stock_unusual_event_table.h"
#include "analytics/strength_rating_table.h"
#include "json/budget.h"
#include "json/json.h"
#include "json/record_reader.h"
#include "quotes/index_market_table.h"
#include "quotes/stock_market_item_table.h"
#include "ranking/plate_market_summary_table.h"
#include "ranking/stock_market_summary_table.h"
#include "reference/base_info_table.h"

namespace {

using request::json::Array;
using request::json::Object;
using request::json::Value;

template <const auto& kTable>
auto ReadLineByLine(const Object& object) {
  typename request::RecordReader<kTable>::Record record{};
  request::json::Budget budget;
  request::ForEachMember(kTable, [&](const auto& line) {
    const Value value = object.Member(line.key);
    if (!value.IsUndefined()) {
      request::detail::FillBy(line, record, value, budget);
    }
  });
  return record;
}

template <const auto& kTable>
void Check(const Array& list) {
  const auto records = request::RecordReader<kTable>::ReadAll(list);
  auto record = records.begin();
  list.ForEach([&](const Value& element) {
    if (record == records.end() || !(*record++ == ReadLineByLine<kTable>(element.AsObject()))) {
      std::abort();
    }
  });
  if (record != records.end()) {
    std::abort();
  }
}

void CheckAll(const Array& list) {
  Check<quotes::kIndexMarketSummaryTable>(list);
  Check<quotes::kBoardTable>(list);
  Check<quotes::kSingleIndexTable>(list);
  Check<quotes::kWatchListTable>(list);
  Check<quotes::kPlateTable>(list);
  Check<ranking::kStockMarketSummaryTable>(list);
  Check<ranking::kPlateMarketSummaryTable>(list);
  Check<analytics::kStockUnusualEventTable>(list);
  Check<analytics::kStrengthRatingTable>(list);
  Check<analytics::kMoneyEffectTable>(list);
  Check<analytics::kStockPurchaseTable>(list);
  Check<reference::kStockTable>(list);
  Check<reference::kPlateTable>(list);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto document = request::json::Document::Parse(reinterpret_cast<const char*>(data), size);
  CheckAll(document.RootArray());
  CheckAll(document.Root().ArrayAt("data"));
  CheckAll(document.Root().ObjectAt("data").ArrayAt("list"));
  return 0;
}
