// Which key of the feed fills which member of a quote. The services that deliver quotes put their tables
// together from these: a board has figures and book, a single stock figures and book or members, the watch
// list everything, and a plate has a code of another name and fewer figures.
#pragma once

#include "json/record_table.h"
#include "quotes/stock_market_item.h"

namespace quotes {

namespace detail {
using Quote = StockMarketItem;
using request::Figure;
using request::Level;
using request::Read;
using request::StatusText;
using request::TableOf;
using request::Text;
}  // namespace detail

/// Code, name, figures and status.
inline constexpr auto kFigureTable = [] {
  using namespace detail;
  return TableOf<Quote>(Read("code", &Quote::code, Text{}), Read("name", &Quote::name, Text{}),
                        Read("last", &Quote::last, Figure{}), Read("change", &Quote::change, Figure{}),
                        Read("diff", &Quote::diff, Figure{}), Read("b1p", "bid1", &Quote::bid1, Figure{}),
                        Read("s1p", "ask1", &Quote::ask1, Figure{}), Read("tr", &Quote::tr, Figure{}),
                        Read("amt", &Quote::amt, Figure{}), Read("vol", &Quote::vol, Figure{}),
                        Read("pe", &Quote::pe, Figure{}), Read("high", &Quote::high, Figure{}),
                        Read("low", &Quote::low, Figure{}), Read("open", &Quote::open, Figure{}),
                        Read("preclose", &Quote::preclose, Figure{}), Read("amp", &Quote::amp, Figure{}),
                        Read("qrr", &Quote::qrr, Figure{}), Read("cr", &Quote::cr, Figure{}),
                        Read("mc", &Quote::mc, Figure{}), Read("pb", &Quote::pb, Figure{}),
                        Read("tso", &Quote::tso, Figure{}), Read("shares", &Quote::shares, Figure{}),
                        Read("cmc", &Quote::cmc, Figure{}), Read("status", &Quote::status, StatusText{}));
}();

/// The five levels of both sides of the order book.
inline constexpr auto kBookTable = [] {
  using namespace detail;
  constexpr auto bid_price = &Quote::bid_prices;
  constexpr auto ask_price = &Quote::ask_prices;
  constexpr auto bid_volume = &Quote::bid_volumes;
  constexpr auto ask_volume = &Quote::ask_volumes;
  return TableOf<Quote>(
      Read("b1p", "bid_prices", bid_price, Level{0}), Read("b2p", "bid_prices", bid_price, Level{1}),
      Read("b3p", "bid_prices", bid_price, Level{2}), Read("b4p", "bid_prices", bid_price, Level{3}),
      Read("b5p", "bid_prices", bid_price, Level{4}), Read("s1p", "ask_prices", ask_price, Level{0}),
      Read("s2p", "ask_prices", ask_price, Level{1}), Read("s3p", "ask_prices", ask_price, Level{2}),
      Read("s4p", "ask_prices", ask_price, Level{3}), Read("s5p", "ask_prices", ask_price, Level{4}),
      Read("b1v", "bid_volumes", bid_volume, Level{0}), Read("b2v", "bid_volumes", bid_volume, Level{1}),
      Read("b3v", "bid_volumes", bid_volume, Level{2}), Read("b4v", "bid_volumes", bid_volume, Level{3}),
      Read("b5v", "bid_volumes", bid_volume, Level{4}), Read("s1v", "ask_volumes", ask_volume, Level{0}),
      Read("s2v", "ask_volumes", ask_volume, Level{1}), Read("s3v", "ask_volumes", ask_volume, Level{2}),
      Read("s4v", "ask_volumes", ask_volume, Level{3}), Read("s5v", "ask_volumes", ask_volume, Level{4}));
}();

/// The members of an index or a plate: who leads, how many are up, unchanged and down.
inline constexpr auto kMembersTable = [] {
  using namespace detail;
  return TableOf<Quote>(Read("lead", &Quote::lead, Text{}),
                        Read("lead_change", &Quote::lead_change, Figure{}),
                        Read("num_u", &Quote::num_u, Figure{}), Read("num_z", &Quote::num_z, Figure{}),
                        Read("num_d", &Quote::num_d, Figure{}));
}();

inline constexpr auto kBoardTable = request::Join(kFigureTable, kBookTable);
inline constexpr auto kSingleIndexTable = request::Join(kFigureTable, kMembersTable);
inline constexpr auto kWatchListTable = request::Join(kBoardTable, kMembersTable);

/// A plate's row: its code stands under "bk".
inline constexpr auto kPlateTable = [] {
  using namespace detail;
  return request::Join(
      TableOf<Quote>(Read("bk", "code", &Quote::code, Text{}), Read("name", &Quote::name, Text{}),
                     Read("last", &Quote::last, Figure{}), Read("change", &Quote::change, Figure{}),
                     Read("diff", &Quote::diff, Figure{}), Read("tr", &Quote::tr, Figure{}),
                     Read("amt", &Quote::amt, Figure{}), Read("vol", &Quote::vol, Figure{}),
                     Read("pe", &Quote::pe, Figure{}), Read("high", &Quote::high, Figure{}),
                     Read("low", &Quote::low, Figure{}), Read("open", &Quote::open, Figure{}),
                     Read("preclose", &Quote::preclose, Figure{}), Read("amp", &Quote::amp, Figure{}),
                     Read("qrr", &Quote::qrr, Figure{}), Read("cr", &Quote::cr, Figure{}),
                     Read("mc", &Quote::mc, Figure{})),
      kMembersTable);
}();

}  // namespace quotes
