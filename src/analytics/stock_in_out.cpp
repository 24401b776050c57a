// The capital flows of single stocks. All symbols that views follow travel in one request.
#include "analytics/stock_in_out.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "frame/phase_interval.h"
#include "frame/polled_subject.h"
#include "frame/running.h"
#include "json/budget.h"
#include "json/numbers.h"
#include "request/ask.h"
#include "request/urls.h"
#include "services.h"

namespace analytics {
namespace {

using request::json::Object;
using request::json::Value;

constexpr auto kFetch = request::Fetch::kStockInOut;
constexpr int kShortestInterval = 20;

using Items = std::vector<std::shared_ptr<const StockInOutItem>>;

class CStockInOut : public frame::PolledSubject<IStockInOut> {
 public:
  void SetTarget(Observer* obs, const std::wstring& symbol) override;
  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(kShortestInterval); }

 private:
  bool TellAll(frame::Stamp stamp, const Items& items);

  frame::Stamps stamps_;
};

// A view that turns to another stock is cleared first.
void CStockInOut::SetTarget(Observer* obs, const std::wstring& symbol) {
  std::wstring old;
  if (obs != nullptr && GetTarget(obs, old) && old != symbol) {
    StockInOutItem cleared;
    cleared.symbol = symbol;
    TellAlone(obs, cleared);
  }
  PolledSubject::SetTarget(obs, symbol);
}

// --- Understand ---

// The amounts of the periods of one kind.
void ReadKind(const Object& kind, std::uint64_t FlowAmounts::*amount, StockInOutItem& item) {
  kind.ForEachInText([amount, &item](std::string_view days, const Value& value) {
    FlowAmounts* const period = days == "d1"    ? &item.d1
                                : days == "d5"  ? &item.d5
                                : days == "d10" ? &item.d10
                                                : nullptr;
    if (period != nullptr) {
      period->*amount = request::ToUnsigned64(value.Number());
    }
  });
}

// An element has one member: the symbol, and its flows. Whatever is missing reads 0.
StockInOutItem ReadItem(const Value& element) {
  const request::json::NamedValue entry = element.AsObject().First();
  const Object flows = entry.value.AsObject();
  const Object in = flows.ObjectAt("in");
  const Object out = flows.ObjectAt("out");
  StockInOutItem item;
  item.symbol = request::json::WideKey(entry.key);
  item.mtime = request::ToUnsigned64(flows.Member("mtime").Number());
  ReadKind(in.ObjectAt("big"), &FlowAmounts::big_in, item);
  ReadKind(out.ObjectAt("big"), &FlowAmounts::big_out, item);
  ReadKind(in.ObjectAt("small"), &FlowAmounts::small_in, item);
  ReadKind(out.ObjectAt("small"), &FlowAmounts::small_out, item);
  return item;
}

Items ReadItems(const request::Answer& answer) {
  // Every item is kept under its symbol until the next store, followed or not.
  constexpr std::size_t kKept = 256;
  const request::json::Array list = answer.DataList();
  request::json::Budget budget;
  budget.Require(list.Size(), sizeof(StockInOutItem) + kKept);
  Items items;
  items.reserve(list.Size());
  list.ForEach([&](const Value& element) {
    items.push_back(std::make_shared<const StockInOutItem>(ReadItem(element)));
    budget.Require(2, request::json::HeldBytes(items.back()->symbol));
  });
  return items;
}

// --- Ask, tell ---

void CStockInOut::Fetch() {
  std::vector<std::wstring> symbols;
  if (!request::Succeeds(kFetch, [&] { symbols = ActiveKeys(); }) || symbols.empty()) {
    return;
  }
  const frame::Stamp stamp = stamps_.Next();
  request::Ask(
      {kFetch, gate_}, [&] { return request::StockInOutUrl(symbols); }, &ReadItems,
      [this, stamp](const Items& items) { return TellAll(stamp, items); });
}

// Symbols that nobody follows are kept as well.
bool CStockInOut::TellAll(frame::Stamp stamp, const Items& items) {
  for (const auto& item : items) {
    if (!Tell(item->symbol, stamp, {frame::Whom::kActive, frame::Keep::kAlways}, [&] { return item; })) {
      return false;
    }
  }
  return true;
}

}  // namespace

IStockInOut* MakeStockInOut() {
  return frame::MakeOrNull<frame::Running<CStockInOut>>();
}

}  // namespace analytics
