#include "expected_quotes.h"

#include <array>
#include <cmath>
#include <cstddef>

#include "host/text.h"

namespace expected {
namespace {

using market_server::model::Quote;

void SetPrices(StockMarketItem& item, const Quote& quote) {
  item.name = Wide(quote.security->name);
  item.last = {quote.last, true, 0};
  item.change = {quote.change, true, 0};
  item.diff = {quote.diff, true, 0};
  item.tr = {quote.tr, true, 0};
  item.amt = {quote.amt, true, 0};
  item.vol = {quote.vol, true, 0};
  item.pe = {quote.pe, true};
  item.high = {quote.high, true};
  item.low = {quote.low, true};
  item.open = {quote.open, true};
  item.preclose = {quote.preclose, true};
  item.amp = {quote.amp, true};
  item.qrr = {quote.qrr, true};
  item.cr = {quote.cr, true};
  item.mc = {quote.mc, true};
}

void SetMembers(StockMarketItem& item, const Quote& quote) {
  item.num_u = {quote.num_u, true};
  item.num_z = {quote.num_z, true};
  item.num_d = {quote.num_d, true};
  if (quote.lead != nullptr) {
    item.lead = Wide(quote.lead->name);
    item.lead_change = {quote.lead_change, true};
  }
}

// A level is told when somebody waits there; a side without any level stays empty.
void SetSide(std::vector<BookLevel<float>>& prices, std::vector<BookLevel<std::uint32_t>>& volumes,
             TickField<double>& best, const std::array<market_server::model::BookLevel, 5>& side) {
  for (std::size_t level = 0; level < side.size(); ++level) {
    if (side[level].price <= 0) {
      continue;
    }
    prices.resize(side.size());
    volumes.resize(side.size());
    prices[level] = {static_cast<float>(side[level].price), true, 0};
    volumes[level] = {side[level].volume, true, 0};
    if (level == 0) {
      best = {side[level].price, true, 0};
    }
  }
}

template <class... Fields>
void HideNearlyZero(Fields&... fields) {
  ((fields.present = fields.present && std::fabs(static_cast<double>(fields.value)) >= 0.001), ...);
}

}  // namespace

std::wstring Wide(const std::string& text) {
  return common::s2ws(text, common::kUtf8);
}

StockMarketItem StockRow(const Quote& quote) {
  StockMarketItem item;
  item.code = Wide(quote.security->code);
  SetPrices(item, quote);
  item.pb = {quote.pb, true};
  item.cmc = {quote.cmc, true};
  item.tso = {quote.tso, true};
  item.shares = {quote.shares, true};
  item.status = static_cast<stock::StockStatus>(quote.status);
  SetSide(item.bid_prices, item.bid_volumes, item.bid1, quote.bids);
  SetSide(item.ask_prices, item.ask_volumes, item.ask1, quote.asks);
  return item;
}

StockMarketItem IndexRow(const Quote& quote) {
  StockMarketItem item;
  item.code = Wide(quote.security->code);
  SetPrices(item, quote);
  SetMembers(item, quote);
  item.status = static_cast<stock::StockStatus>(quote.status);
  return item;
}

StockMarketItem PlateRow(const Quote& quote) {
  StockMarketItem item;
  item.code = Wide(quote.security->code);
  SetPrices(item, quote);
  SetMembers(item, quote);
  return item;
}

StockMarketItem TradedRow(const Quote& quote) {
  StockMarketItem item = StockRow(quote);
  if (item.status != stock::kStockNormal) {
    HideNearlyZero(item.last, item.change, item.diff, item.bid1, item.ask1, item.tr, item.amt, item.vol,
                   item.pe, item.high, item.low, item.open, item.preclose, item.amp, item.qrr, item.cr,
                   item.mc, item.pb, item.tso, item.shares, item.cmc);
  }
  return item;
}

StockMarketSummary Summary(const Quote& quote, double change) {
  return {Wide(quote.security->code), Wide(quote.security->name), {quote.last, true, 0},
          {change, true, 0},          {quote.diff, true, 0},      {quote.tr, true, 0}};
}

PlateMarketSummary PlateSummary(const Quote& quote) {
  return {Wide(quote.security->code),
          Wide(quote.security->name),
          quote.change,
          quote.bpin,
          quote.cud,
          quote.lead == nullptr ? std::wstring() : Wide(quote.lead->name),
          quote.lead == nullptr ? 0.0 : quote.lead_change};
}

int Direction(double before, double now) {
  if (before - 0.001 > now) {
    return -1;
  }
  return now > before + 0.001 ? 1 : 0;
}

int WholeDirection(std::uint64_t before, std::uint64_t now) {
  return now > before ? 1 : (now < before ? -1 : 0);
}

void SetDirections(StockMarketItem& now, const StockMarketItem& before) {
  now.last.direction = Direction(before.last.value, now.last.value);
  now.change.direction = Direction(before.change.value, now.change.value);
  now.diff.direction = Direction(before.diff.value, now.diff.value);
  now.bid1.direction = Direction(before.bid1.value, now.bid1.value);
  now.ask1.direction = Direction(before.ask1.value, now.ask1.value);
  now.tr.direction = Direction(before.tr.value, now.tr.value);
  now.amt.direction = Direction(before.amt.value, now.amt.value);
  now.vol.direction = WholeDirection(before.vol.value, now.vol.value);
}

void SetBookDirections(StockMarketItem& now, const StockMarketItem& before) {
  const auto set = [](auto& side, const auto& old_side, const auto& direction) {
    for (std::size_t level = 0; level < side.size(); ++level) {
      if (side[level].present && old_side[level].present) {
        side[level].direction =
            static_cast<std::int16_t>(direction(old_side[level].value, side[level].value));
      }
    }
  };
  set(now.bid_prices, before.bid_prices, Direction);
  set(now.ask_prices, before.ask_prices, Direction);
  set(now.bid_volumes, before.bid_volumes, WholeDirection);
  set(now.ask_volumes, before.ask_volumes, WholeDirection);
}

void SetTrends(StockMarketSummary& now, const StockMarketSummary& before) {
  const auto set = [](TrendValue& value, const TrendValue& old) {
    value.trend = static_cast<std::int16_t>(value.value > old.value ? 1 : (value.value < old.value ? -1 : 0));
  };
  set(now.last, before.last);
  set(now.change, before.change);
  set(now.diff, before.diff);
  set(now.tr, before.tr);
}

}  // namespace expected
