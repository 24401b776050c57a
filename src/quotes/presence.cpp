#include "quotes/presence.h"

#include <cmath>
#include <cstdint>

#include "host/clock.h"
#include "request/tolerance.h"

namespace quotes {
namespace {

template <class... Fields>
void Show(Fields&... fields) {
  ((fields.present = true), ...);
}

template <class... Fields>
void Hide(Fields&... fields) {
  ((fields.present = false), ...);
}

template <class... Sides>
void HideLevels(Sides&... sides) {
  const auto hide_side = [](auto& side) {
    for (auto& level : side) {
      level.present = false;
    }
  };
  (hide_side(sides), ...);
}

template <class... Fields>
void HideIfNearlyZero(Fields&... fields) {
  ((std::fabs(fields.value) < request::kTolerance ? Hide(fields) : void()), ...);
}

template <class... Fields>
void HideIfZero(Fields&... fields) {
  ((fields.value == 0 ? Hide(fields) : void()), ...);
}

bool IsOpening(stock::MarketStatus phase) {
  return phase == stock::kMarketPreparing || phase == stock::kMarketCallAuction;
}

// The statuses under which a security is not traded; 5 and 6 are not among them.
bool IsHalted(stock::StockStatus status) {
  const int number = status;
  return (number >= 1 && number <= 4) || number == 7;
}

}  // namespace

stock::MarketStatus CurrentPhase() {
  return stock::CheckMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime()));
}

void HideZeros(StockMarketItem& item) {
  if (item.status == stock::kStockNormal) {
    return;
  }
  HideIfNearlyZero(item.last, item.change, item.diff, item.bid1, item.ask1, item.tr, item.amt, item.pe,
                   item.high, item.low, item.open, item.preclose, item.amp, item.qrr, item.cr, item.mc,
                   item.pb, item.cmc, item.limit_up, item.limit_down, item.avg_price);
  HideIfZero(item.vol, item.tso, item.shares);
}

void HideBeforeOpening(StockMarketItem& item, stock::MarketStatus phase) {
  if (!IsOpening(phase)) {
    return;
  }
  Hide(item.change, item.diff, item.bid1, item.ask1, item.tr, item.amt, item.vol, item.pe, item.high,
       item.low, item.open, item.preclose, item.amp, item.qrr, item.cr, item.pb, item.tso, item.shares,
       item.cmc, item.mc, item.limit_up, item.limit_down, item.avg_price);
}

// The order of the rules matters (kept): a halted security shows its last price, previous close, P/E and
// capitalisations in every phase, because its rule comes last.
void ApplySingleQuoteRules(StockMarketItem& item, stock::MarketStatus phase) {
  const bool opening = IsOpening(phase);
  const bool halted = IsHalted(item.status);
  if (phase == stock::kMarketPreparing) {
    Hide(item.last, item.change, item.diff, item.open, item.pb, item.cmc, item.mc);
  } else if (phase == stock::kMarketCallAuction) {
    Show(item.last, item.change, item.diff, item.open, item.pb, item.cmc, item.mc);
  }
  if (opening) {
    Hide(item.shares, item.tso, item.cr, item.qrr, item.amp, item.low, item.high, item.pe, item.vol, item.amt,
         item.tr, item.ask1, item.bid1);
    Show(item.preclose);
  }
  if (halted) {
    Show(item.pe, item.preclose, item.mc, item.last, item.cmc);
    Hide(item.pb, item.change, item.diff, item.bid1, item.ask1, item.tr, item.amt, item.vol, item.high,
         item.low, item.open, item.amp, item.qrr, item.cr, item.tso, item.shares);
  }
  if (!opening && !halted) {
    return;
  }
  if (item.symbol_type != stock::kSymbolStock) {
    Hide(item.lead_change, item.num_u, item.num_z, item.num_d);
    return;
  }
  HideLevels(item.bid_prices, item.ask_prices, item.bid_volumes, item.ask_volumes);
  Hide(item.limit_up, item.limit_down, item.avg_price);
}

}  // namespace quotes
