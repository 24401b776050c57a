#include "simdjson_board.h"

#include <cstddef>
#include <string>
#include <string_view>

#include "host/calendar.h"

namespace bench {
namespace {

using simdjson::ondemand::object;

// Of text that the parser has found well-formed.
void Widen(std::string_view text, std::wstring& out) {
  out.clear();
  const auto* at = reinterpret_cast<const unsigned char*>(text.data());
  const auto* const end = at + text.size();
  const auto rest = [&at](int place) { return static_cast<wchar_t>(at[place] & 0x3F); };
  while (at != end) {
    if (*at < 0x80) {
      out += static_cast<wchar_t>(*at++);
    } else if (*at < 0xE0) {
      out += static_cast<wchar_t>((*at & 0x1F) << 6 | rest(1));
      at += 2;
    } else if (*at < 0xF0) {
      out += static_cast<wchar_t>((*at & 0x0F) << 12 | rest(1) << 6 | rest(2));
      at += 3;
    } else {
      out += static_cast<wchar_t>((*at & 0x07) << 18 | rest(1) << 12 | rest(2) << 6 | rest(3));
      at += 4;
    }
  }
}

void Read(object& row, std::string_view key, std::wstring& out) {
  std::string_view text;
  if (row[key].get_string().get(text) == simdjson::SUCCESS) {
    Widen(text, out);
  }
}

void Put(double number, auto& figure) {
  figure.value = static_cast<decltype(figure.value)>(number);
  figure.present = true;
}

// One number into every figure that shows it.
template <class... Figures>
void Read(object& row, std::string_view key, Figures&... figures) {
  double number = 0;
  if (row[key].get_double().get(number) == simdjson::SUCCESS) {
    (Put(number, figures), ...);
  }
}

void ReadRow(object& row, StockMarketItem& item) {
  Read(row, "code", item.code);
  Read(row, "name", item.name);
  Read(row, "last", item.last);
  Read(row, "change", item.change);
  Read(row, "diff", item.diff);
  Read(row, "tr", item.tr);
  Read(row, "amt", item.amt);
  Read(row, "vol", item.vol);
  Read(row, "pe", item.pe);
  Read(row, "high", item.high);
  Read(row, "low", item.low);
  Read(row, "open", item.open);
  Read(row, "preclose", item.preclose);
  Read(row, "amp", item.amp);
  Read(row, "qrr", item.qrr);
  Read(row, "cr", item.cr);
  Read(row, "mc", item.mc);
  Read(row, "pb", item.pb);
  Read(row, "tso", item.tso);
  Read(row, "shares", item.shares);
  Read(row, "cmc", item.cmc);
  std::wstring status;
  Read(row, "status", status);
  item.status = stock::ConvertStockStatus(status);
  for (auto* const side : {&item.bid_prices, &item.ask_prices}) {
    side->resize(5);
  }
  for (auto* const side : {&item.bid_volumes, &item.ask_volumes}) {
    side->resize(5);
  }
  Read(row, "b1p", item.bid1, item.bid_prices[0]);
  Read(row, "b1v", item.bid_volumes[0]);
  Read(row, "b2p", item.bid_prices[1]);
  Read(row, "b2v", item.bid_volumes[1]);
  Read(row, "b3p", item.bid_prices[2]);
  Read(row, "b3v", item.bid_volumes[2]);
  Read(row, "b4p", item.bid_prices[3]);
  Read(row, "b4v", item.bid_volumes[3]);
  Read(row, "b5p", item.bid_prices[4]);
  Read(row, "b5v", item.bid_volumes[4]);
  Read(row, "s1p", item.ask1, item.ask_prices[0]);
  Read(row, "s1v", item.ask_volumes[0]);
  Read(row, "s2p", item.ask_prices[1]);
  Read(row, "s2v", item.ask_volumes[1]);
  Read(row, "s3p", item.ask_prices[2]);
  Read(row, "s3v", item.ask_volumes[2]);
  Read(row, "s4p", item.ask_prices[3]);
  Read(row, "s4v", item.ask_volumes[3]);
  Read(row, "s5p", item.ask_prices[4]);
  Read(row, "s5v", item.ask_volumes[4]);
}

}  // namespace

std::vector<StockMarketItem> BoardBySimdjson(simdjson::ondemand::parser& parser,
                                             const simdjson::padded_string& answer, std::size_t rows) {
  std::vector<StockMarketItem> board;
  board.reserve(rows);
  simdjson::ondemand::document document = parser.iterate(answer);
  if (document["errno"].get_int64().value() != 0) {
    return board;
  }
  for (object row : document["data"].get_array()) {
    ReadRow(row, board.emplace_back());
  }
  return board;
}

}  // namespace bench
