#include "quotes/watch_list_reader.h"

#include "json/budget.h"
#include "json/record_reader.h"
#include "quotes/stock_market_item_table.h"
#include "reference/plate_membership.h"
#include "reference/reference_data.h"
#include "request/code_index.h"

namespace quotes {
namespace {

using Items = std::vector<OptionalMarketItem>;

// The first plate of each stock. Plates that are not at hand, because the server keeps silent about them,
// leave the texts empty; a later answer brings them.
void NamePlates(Items& items, request::json::Budget& budget) {
  std::shared_ptr<const reference::PlateMembership> plates;
  for (OptionalMarketItem& item : items) {
    if (item.symbol_type == stock::kSymbolStock) {
      if (plates == nullptr && !reference::WithReferenceData([&plates](reference::CStockCommon& lists) {
            plates = lists.PlatesAtHand();
          })) {
        return;
      }
      const std::wstring_view plate = reference::FirstPlateOf(*plates, item.code);
      budget.Require(plate.size(), sizeof(wchar_t));
      item.plate = plate;
    }
  }
}

}  // namespace

std::shared_ptr<Items> ReadWatchList(const request::Answer& answer) {
  const request::json::Array list = answer.DataList();
  request::json::Budget budget;
  budget.Require(list.Size(),
                 sizeof(OptionalMarketItem) + request::CodeIndex<OptionalMarketItem>::kBytesPerRow);
  auto items = std::make_shared<Items>(list.Size());
  auto next = items->begin();
  request::RecordReader<kWatchListTable>::Plan plan;
  list.ForEach([&](const request::json::Value& element) {
    OptionalMarketItem& item = *next++;
    request::RecordReader<kWatchListTable>::Fill(item, element.AsObject(), plan, budget);
    item.symbol_type = stock::CheckSymbol(item.code.c_str());
  });
  NamePlates(*items, budget);
  return items;
}

}  // namespace quotes
