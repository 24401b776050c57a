#include "cli/format/market_rows.h"

#include <algorithm>
#include <iterator>

#include "cli/format/chart_headings.h"
#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "host/text.h"

namespace cli {
namespace {

constexpr int kLongestText = 32;

using CodeName = CodeNameList::value_type;
constexpr auto kCodeNameTable =
    request::TableOf<CodeName>(request::Read("code", &CodeName::first, request::Text{}),
                               request::Read("name", &CodeName::second, request::Text{}));
constexpr auto kBaseInfoTable =
    request::TableOf<BaseInfoItem>(request::Read("code", &BaseInfoItem::code, request::Text{}),
                                   request::Read("name", &BaseInfoItem::name, request::Text{}),
                                   request::Read("pinyin", &BaseInfoItem::pinyin, request::Text{}),
                                   request::Read("type", &BaseInfoItem::type, request::Integer{}));

constexpr int kLongestName = 24;
constexpr std::uint32_t kLastIsNull = 1U << 0;
constexpr std::uint32_t kChangeIsNull = 1U << 1;
constexpr std::uint32_t kDiffIsNull = 1U << 2;

// Amounts below zero arrive wrapped around.
double Yuan(std::uint64_t amount) {
  return static_cast<double>(static_cast<std::int64_t>(amount));
}

Cell Net(std::uint64_t in, std::uint64_t out) {
  const double amount = Yuan(in - out);
  return {SignedShortAmount(amount), ToneOf(amount)};
}

}  // namespace

Table BaseInfoTable(const std::vector<ListedItem>& items, bool with_list) {
  std::vector<Column> columns = {{"code", Align::kLeft, 8, kLongestText},
                                 {"name", Align::kLeft, 10, kLongestText},
                                 {"pinyin", Align::kLeft, 8, kLongestText},
                                 {"type", Align::kRight}};
  if (with_list) {
    columns.insert(columns.begin(), {"list"});
  }
  Table table(columns);
  for (const auto& [list, item] : items) {
    std::vector<Cell> cells = {{Printable(item.code)},
                               {Printable(item.name)},
                               {Printable(item.pinyin)},
                               {std::to_string(item.type)}};
    if (with_list) {
      cells.insert(cells.begin(), {std::string(list), Tone::kDim});
    }
    table.Add(std::move(cells));
  }
  return table;
}

Sheet BaseInfoSheet(const std::vector<ListedItem>& items, bool with_list) {
  return {[=](JsonWriter& json) {
            json.Array(items, [&](const ListedItem& item) {
              json.Object([&] {
                if (with_list) {
                  json.Member("list", item.first);
                }
                WriteMembers(json, kBaseInfoTable, item.second);
              });
            });
          },
          [=] {
            std::string text = (with_list ? "list," : "") + CsvHeader(kBaseInfoTable) + "\n";
            for (const auto& [list, item] : items) {
              text += (with_list ? std::string(list) + "," : "") + CsvLine(kBaseInfoTable, item) + "\n";
            }
            return text;
          }};
}

Table CodeNameTable(const CodeNameList& items) {
  Table table({{"code", Align::kLeft, 8}, {"name"}});
  for (const auto& [code, name] : items) {
    table.Add({{Printable(code)}, {Printable(name)}});
  }
  return table;
}

Sheet CodeNameSheet(const CodeNameList& items) {
  return SheetOf(kCodeNameTable, items);
}

std::vector<Column> IndexColumns() {
  return {{"code", Align::kLeft, 8, kLongestName},
          {"name", Align::kLeft, 10, kLongestName},
          {"last", Align::kRight, 10},
          {"diff", Align::kRight, 9},
          {"change", Align::kRight, 8}};
}

std::vector<Cell> IndexCells(const IndexMarketSummary& quote) {
  const auto has = [&quote](std::uint32_t null_bit) { return (quote.null_flags & null_bit) == 0; };
  const Tone tone = has(kDiffIsNull) ? ToneOf(quote.diff) : ToneOf(quote.change);
  return {{Printable(quote.code)},
          {Printable(quote.name)},
          {has(kLastIsNull) ? Fixed(quote.last, 2) : kNoFigure, tone},
          {has(kDiffIsNull) ? Signed(quote.diff, 2) : kNoFigure, tone},
          {has(kChangeIsNull) ? SignedPercent(quote.change, 2) : kNoFigure, tone}};
}

std::vector<Column> FlowColumns() {
  return {{"days", Align::kRight},     {"big in", Align::kRight},   {"big out", Align::kRight},
          {"big net", Align::kRight},  {"small in", Align::kRight}, {"small out", Align::kRight},
          {"small net", Align::kRight}};
}

std::vector<std::vector<Cell>> FlowRows(const StockInOutItem& flows) {
  std::vector<std::vector<Cell>> rows;
  for (const auto& [name, member] : kFlowPeriods) {
    const FlowAmounts& amounts = flows.*member;
    rows.push_back({{name + 1},
                    {ShortAmount(Yuan(amounts.big_in))},
                    {ShortAmount(Yuan(amounts.big_out))},
                    Net(amounts.big_in, amounts.big_out),
                    {ShortAmount(Yuan(amounts.small_in))},
                    {ShortAmount(Yuan(amounts.small_out))},
                    Net(amounts.small_in, amounts.small_out)});
  }
  return rows;
}

std::string NoFlowsText(const Security& security) {
  return "only stocks have flows; " + NameText(security) + " is not a stock";
}

bool HasFlows(const StockInOutItem& flows) {
  return std::any_of(std::begin(kFlowPeriods), std::end(kFlowPeriods),
                     [&](const FlowPeriod& period) { return flows.*period.second != FlowAmounts{}; });
}

Table EventTable(const std::list<StockUnusualEventItem>& events) {
  Table table({{"time"}, {"event"}});
  for (const StockUnusualEventItem& event : events) {
    table.Add({{Printable(event.time), Tone::kDim}, {Printable(event.content)}});
  }
  return table;
}

std::list<StockUnusualEventItem> EventsOf(const Security& security, std::list<StockUnusualEventItem> events) {
  if (security.type == stock::kSymbolStock) {
    std::erase_if(events, [&security](const StockUnusualEventItem& event) {
      return SymbolIn(common::ws2s(event.content, common::kUtf8)) != security.code;
    });
  }
  return events;
}

std::string NoEventText(std::uint32_t date, std::int64_t time) {
  const std::string why = WhyNoFigures(date, time);
  return "no unusual event on " + DateText(date) + (why.empty() ? "" : ": " + why);
}

}  // namespace cli
