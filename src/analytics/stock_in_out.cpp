// The capital flows of single stocks. All symbols that views follow travel in one request.
#include "analytics/stock_in_out.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "analytics/stock_in_out_service.h"
#include "frame/phase_interval.h"
#include "frame/polling.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/numbers.h"
#include "request/urls.h"

namespace analytics {
namespace {

using request::json::Object;
using request::json::Value;

constexpr int kShortestInterval = 20;

class CStockInOut : public IStockInOut, protected frame::Gated {
 public:
  void SetTarget(IUpdate1<StockInOutItem>* obs, const std::wstring& symbol) override;
  void Fetch() override;
  int GetInterval() override {
    return std::clamp(frame::SecondsToNextPhase(), kShortestInterval, frame::kLongestInterval);
  }

 private:
  // Understand and tell
  void OnAnswer(bool ok, const char* body, std::size_t length);
};

FlowAmounts ReadFlows(const Object& flows, std::string_view days) {
  const auto amount = [&](std::string_view direction, std::string_view size) {
    return request::ToUnsigned64(flows.ObjectAt(direction).ObjectAt(size).Member(days).Number());
  };
  return {amount("in", "big"), amount("out", "big"), amount("in", "small"), amount("out", "small")};
}

// An element has one member: the symbol, and its flows. Whatever is missing reads 0.
StockInOutItem ReadItem(const Value& element) {
  StockInOutItem item;
  bool first = true;
  element.AsObject().ForEach([&](std::string_view symbol, const Value& value) {
    if (!std::exchange(first, false)) {
      return;
    }
    const Object flows = value.AsObject();
    item.symbol = request::json::WideKey(symbol);
    item.mtime = request::ToUnsigned64(flows.Member("mtime").Number());
    item.d1 = ReadFlows(flows, "d1");
    item.d5 = ReadFlows(flows, "d5");
    item.d10 = ReadFlows(flows, "d10");
  });
  return item;
}

// A view that turns to another stock is cleared first.
void CStockInOut::SetTarget(IUpdate1<StockInOutItem>* obs, const std::wstring& symbol) {
  std::wstring old;
  if (obs != nullptr && GetTarget(obs, old) && old != symbol) {
    StockInOutItem cleared;
    cleared.symbol = symbol;
    TellAlone(obs, cleared);
  }
  IStockInOut::SetTarget(obs, symbol);
}

void CStockInOut::Fetch() {
  std::vector<std::wstring> symbols;
  GetActiveTargets(symbols);
  if (symbols.empty()) {
    return;
  }
  request::Ask(request::StockInOutUrl(symbols), request::kUsualSeconds, gate_,
               [this](bool ok, const char* body, std::size_t length) { OnAnswer(ok, body, length); });
}

// A failed request is parsed all the same, so that it writes two lines (kept).
void CStockInOut::OnAnswer(bool ok, const char* body, std::size_t length) {
  const request::Answer answer =
      request::CheckAnswer(request::Fetch::kStockInOut, ok, body, length, {}, request::Incomplete::kParsed);
  answer.DataList().ForEach([this](const Value& element) {
    const StockInOutItem item = ReadItem(element);
    Deliver(item.symbol, item, CacheRule::kAlways);
  });
}

}  // namespace

IStockInOut* MakeStockInOut() {
  return frame::MakeOrNull<frame::Polling<CStockInOut>>();
}

}  // namespace analytics
