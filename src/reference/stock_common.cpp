// Look-ups of the reference data, and its end. The start is in stock_common_start.cpp, the refresh in
// stock_common_refresh.cpp.
#include "reference/stock_common.h"

#include "frame/succeeds.h"
#include "host/text.h"
#include "reference/package_key.h"
#include "reference/stock_common_service.h"

namespace reference {

CStockCommon::~CStockCommon() {
  Stop();
  gate_.Close();  // after this nobody makes the thread
  if (refresh_thread_.joinable()) {
    refresh_thread_.join();
  }
}

// One spelling of "held, else load" for all look-ups.
void CStockCommon::BringUpToDate(ListName list) {
  switch (lists_.AttemptFor(list)) {
    case Attempt::kNone:
      return;
    case Attempt::kWait:
      return lists_.LoadAndWait(list);
    case Attempt::kInTask:
      QueueLoad(list, [](bool) {});
  }
}

const std::vector<BaseInfoItem>& CStockCommon::GetStockList(int kind) {
  BringUpToDate(ListName::kStocks);
  return lists_.Stocks(kind);
}

const std::vector<BaseInfoItem>& CStockCommon::GetPlateList(int kind) {
  BringUpToDate(ListName::kPlates);
  return lists_.Plates(kind);
}

const std::vector<BaseInfoItem>& CStockCommon::GetIndexList(int kind) {
  BringUpToDate(ListName::kIndices);
  return lists_.Indices(kind);
}

bool CStockCommon::GetPlatesOfStock(const std::wstring& symbol,
                                    std::vector<std::pair<std::wstring, std::wstring>>& out) {
  BringUpToDate(ListName::kPlatesOfStocks);
  out.clear();
  const bool found = frame::Succeeds([&] {
    const auto table = lists_.PlatesOfStocks();
    if (const PlateNames* const plates = FindPlates(*table, symbol)) {
      out = *plates;
    }
    return !out.empty();
  });
  if (!found) {
    out.clear();  // a copy that ran out of memory
  }
  return found;
}

KLineMetaInfo CStockCommon::GetKLineMetaInfo(const std::wstring& symbol, int period, int adjust) {
  KLineMetaInfo info;
  static_cast<void>(frame::Succeeds(
      [&] { info = metadata_.InfoOf(common::ws2s(symbol, common::kUtf8), PackageKey(period, adjust)); }));
  return info;
}

}  // namespace reference
