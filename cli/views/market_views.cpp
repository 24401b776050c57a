#include "cli/views/market_views.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/case_conv.hpp>
#include <iterator>
#include <locale>
#include <string_view>
#include <utility>

#include "analytics/money_effect_table.h"
#include "analytics/stock_purchase_table.h"
#include "analytics/stock_unusual_event_table.h"
#include "analytics/strength_rating_table.h"
#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/views/securities.h"
#include "host/text.h"

namespace cli {
namespace {

constexpr std::int64_t kDay = 86400;
constexpr double kHundredMillion = 1e8;  // days differ in the fifth digit

constexpr auto kMarginTable = request::TableOf<MarginTradeItem>(
    request::Read("date", &MarginTradeItem::date, request::Truncated{}),
    request::Read("sh_close", &MarginTradeItem::sh_close, request::Truncated{}),
    request::Read("sz_close", &MarginTradeItem::sz_close, request::Truncated{}),
    request::Read("balance", &MarginTradeItem::balance, request::Amount{}),
    request::Read("change", &MarginTradeItem::change, request::Amount{}));

constexpr auto kEventTable = request::Join(request::TableOf<StockUnusualEventItem>(request::Read(
                                               "symbol", &StockUnusualEventItem::symbol, request::Text{})),
                                           analytics::kStockUnusualEventTable);

constexpr auto kBucketTable = request::TableOf<DistributionBucket>(
    request::Read("count", &DistributionBucket::count, request::Truncated{}),
    request::Read("ratio", &DistributionBucket::ratio, request::Number{}));

// A figure that the feed leaves out is 0.
Cell FigureCell(float value, int decimals) {
  return {value == 0 ? kNoFigure : Fixed(value, decimals)};
}

}  // namespace

// --- Phase

std::vector<StyledLine> StateView::LogLines(bool /*with_header*/) const {
  const StockMarketState& state = newest()->data;
  StyledLine line = {{DateAndTime(server_time()) + "  ", Tone::kDim}};
  if (state.valid) {
    // The record has the low half of the time only.
    const auto time = static_cast<std::int64_t>(static_cast<std::uint32_t>(state.time));
    line.push_back({Pad(Printable(state.text), 8, Align::kLeft), Tone::kStrong});
    line.push_back({"  " + DateAndTime(time)});
  } else {
    line.push_back({"(unknown)", Tone::kWarning});
  }
  return {line};
}

Sheet StateView::AsSheet() const {
  const StockMarketState& state = figures();
  return {[state](JsonWriter& json) {
            json.Array(std::array{state}, [&json](const StockMarketState& only) {
              json.Object([&] {
                json.Member("text", only.text);
                json.Member("time", only.time);
                json.Member("valid", only.valid);
              });
            });
          },
          [state] {
            const auto time = static_cast<std::int64_t>(static_cast<std::uint32_t>(state.time));
            return "text,time\n" + (state.valid ? CsvField(state.text) + "," + IsoTime(time) : ",") + "\n";
          }};
}

// --- Events

EventsView::EventsView(const ViewContext& context, std::uint32_t date, std::optional<std::size_t> last)
    : DayView(context, kEventsFeed, &GetStockUnusualEvent, date),
      last_(last),
      past_(context.post, [this](const auto& delivery) {
        is_past_ = true;
        OnDelivery(delivery);
        is_past_ = false;
      }) {}

// The service polls the day of its clock, which has no events while the market is closed.
void EventsView::Resume(Observer& observer) {
  if (date() == 0) {
    observer.Resume(true);
  }
  AskForPast(observer.service());
}

void EventsView::AskAgain(IStockUnusualEvent& service) {
  if (PastDay() == 0) {
    service.Refresh();
  } else {
    AskForPast(service);
  }
}

void EventsView::AskForPast(IStockUnusualEvent& service) {
  if (PastDay() != 0) {
    service.FetchUnusualEvent(PastDay(), past_.Sender());
  }
}

std::uint32_t EventsView::PastDay() const {
  if (date() != 0) {
    return date();
  }
  const std::uint32_t day = SessionDate(common::GetCurrentServerTime());
  return day == common::GetCurrentServerDate() ? 0 : day;
}

// What is shown is still the last session's.
void EventsView::OnUnwanted(Clock::time_point at) {
  if (newest() != nullptr) {
    OnArrival(at, WhyNothingIn(*newest()));
  }
}

std::list<StockUnusualEventItem> EventsView::Events() const {
  std::list<StockUnusualEventItem> events = figures();
  events.resize(std::min(events.size(), last_.value_or(events.size())));
  return events;
}

// Every event has the symbol of the whole market: the text alone names a stock.
std::vector<Security> EventsView::Securities() const {
  std::vector<Security> securities;
  for (const StockUnusualEventItem& event : Events()) {
    const auto symbol = SymbolIn(Utf8(event.content));
    securities.push_back(symbol ? SecurityOf(*symbol, L"") : Security());
  }
  return securities;
}

std::vector<std::wstring> EventsView::RowKeys() const {
  std::vector<std::wstring> keys;
  for (const StockUnusualEventItem& event : Events()) {
    keys.push_back(event.time + event.content);
  }
  return keys;
}

Sheet EventsView::AsSheet() const {
  return SheetOf(kEventTable, Events());
}

// --- Curves of a day

std::unique_ptr<View> MakeStrengthView(const ViewContext& context, std::uint32_t date) {
  using Rows = std::vector<StrengthRatingItem>;
  static constexpr CurveLook<StrengthRatingItem> kLook{
      "stocks up and down",
      [](const Rows& rows) {
        Table table({{"time"}, {"up", Align::kRight}, {"down", Align::kRight}});
        for (const StrengthRatingItem& row : rows) {
          table.Add({{MinuteText(row.min), Tone::kDim},
                     {Fixed(row.up, 0), row.up > row.down ? Tone::kRise : Tone::kPlain},
                     {Fixed(row.down, 0), row.down > row.up ? Tone::kFall : Tone::kPlain}});
        }
        return table;
      },
      &StrengthPicture, [](const Rows& rows) { return SheetOf(analytics::kStrengthRatingTable, rows); }};
  return std::make_unique<StrengthView>(context, kStrengthFeed, &GetStrengthRating, date, kLook);
}

std::unique_ptr<View> MakeEffectView(const ViewContext& context, std::uint32_t date) {
  using Rows = std::vector<MoneyEffectItem>;
  static constexpr CurveLook<MoneyEffectItem> kLook{
      "average change of all stocks",
      [](const Rows& rows) {
        Table table({{"time"}, {"average", Align::kRight}});
        for (const MoneyEffectItem& row : rows) {
          table.Add({{MinuteText(row.time), Tone::kDim}, {Signed(row.average, 4), ToneOf(row.average)}});
        }
        return table;
      },
      &EffectPicture, [](const Rows& rows) { return SheetOf(analytics::kMoneyEffectTable, rows); }};
  return std::make_unique<EffectView>(context, kEffectFeed, &GetMoneyEffect, date, kLook);
}

// --- Spread

std::vector<StyledLine> DistributionView::Lines(int width) const {
  constexpr int kUsualWidth = 80;
  if (newest() == nullptr || !HasFigures(newest()->data)) {
    return {};
  }
  return DistributionChart(newest()->data, Session(), width > 1000 ? kUsualWidth : width);
}

Sheet DistributionView::AsSheet() const {
  const DistributionItem& item = figures();
  return {[item](JsonWriter& json) {
            json.Object([&] {
              json.Member("up", item.up);
              json.Member("down", item.down);
              json.Member("nochange", item.nochange);
              json.Key("first_half");
              WriteRecords(json, kBucketTable, item.first_half);
              json.Key("second_half");
              WriteRecords(json, kBucketTable, item.second_half);
            });
          },
          [item] {
            std::string text = "direction,range," + CsvHeader(kBucketTable) + "\n";
            for (const auto& [name, half] :
                 {std::pair("down", &item.first_half), std::pair("up", &item.second_half)}) {
              for (std::size_t i = 0; i < half->size(); ++i) {
                text += std::string(name) + "," + std::to_string(i + 1) + "," +
                        CsvLine(kBucketTable, (*half)[i]) + "\n";
              }
            }
            return text;
          }};
}

// --- Margin trading

std::list<MarginTradeItem> MarginView::Days() const {
  std::list<MarginTradeItem> days = figures();
  while (last_ && days.size() > *last_) {
    days.pop_front();
  }
  return days;
}

Table MarginView::AsTable() const {
  Table table({{"date"},
               {"Shanghai", Align::kRight},
               {"Shenzhen", Align::kRight},
               {"balance", Align::kRight},
               {"change", Align::kRight}});
  for (const MarginTradeItem& day : Days()) {
    const auto change = static_cast<double>(day.change);
    table.Add({{DateText(static_cast<std::uint32_t>(day.date)), Tone::kDim},
               {Fixed(day.sh_close, 0)},
               {Fixed(day.sz_close, 0)},
               {Fixed(static_cast<double>(day.balance) / kHundredMillion, 2) + "亿"},
               {SignedShortAmount(change), ToneOf(change)}});
  }
  return table;
}

Sheet MarginView::AsSheet() const {
  return SheetOf(kMarginTable, Days());
}

// --- New shares

Table PurchaseView::AsTable() const {
  Table table({{"code", Align::kLeft, 0, 16, 2},
               {"name", Align::kLeft, 0, 16},
               {"apply", Align::kLeft, 0, 16, 4},
               {"published", Align::kLeft, 0, 16, 6},
               {"online on", Align::kLeft, 0, 16, 1},
               {"price", Align::kRight, 0, 24, 1},
               {"pe", Align::kRight, 0, 24, 3},
               {"issued", Align::kRight, 0, 24, 5},
               {"online", Align::kRight, 0, 24, 5},
               {"limit", Align::kRight, 0, 24, 3},
               {"raised", Align::kRight, 0, 24, 5},
               {"chance", Align::kRight, 0, 24, 4}});
  for (const StockPurchaseItem& issue : figures()) {
    table.Add({{Printable(issue.code)},
               {Printable(issue.name)},
               {Printable(issue.buy_code)},
               {Printable(issue.publish_time)},
               {Printable(issue.publish_online_time)},
               FigureCell(issue.publish_price, 2),
               FigureCell(issue.pe, 2),
               FigureCell(issue.publish_num, 0),
               FigureCell(issue.publish_online_num, 0),
               FigureCell(issue.buy_limit, 2),
               FigureCell(issue.total_price, 2),
               FigureCell(issue.chance, 4)});
  }
  return table;
}

Sheet PurchaseView::AsSheet() const {
  return SheetOf(analytics::kStockPurchaseTable, figures());
}

// --- Reference data

FoundView::FoundView(const ViewContext& context, Found found)
    : View(context, Feed{found.service, ""}), title_("reference data"), found_(std::move(found)) {}

FoundView::FoundView(const ViewContext& context, std::string title, Find find)
    : View(context, Feed{Found().service, ""}), title_(std::move(title)), find_(std::move(find)) {}

void FoundView::Select(const Security& security) {
  if (find_) {
    security_ = security;
    Begin();
  }
}

bool FoundView::ResumeService() {
  if (find_) {
    found_ = find_(security_);
  }
  OnArrival(Clock::now(), found_.why_empty);
  context().post([this, alive = std::weak_ptr<const bool>(alive_)] {
    if (!alive.expired()) {
      TellArrival();
    }
  });
  return true;
}

namespace {

struct List {
  std::string_view name;
  int kinds;
  const std::vector<BaseInfoItem>& (IStockCommon::*get)(int kind);
};
constexpr List kLists[] = {{"stocks", 5, &IStockCommon::GetStockList},
                           {"plates", 2, &IStockCommon::GetPlateList},
                           {"indices", 2, &IStockCommon::GetIndexList}};

const List* ListNamed(std::string_view name) {
  const auto* const found =
      std::find_if(std::begin(kLists), std::end(kLists), [&](const List& list) { return list.name == name; });
  return found == std::end(kLists) ? nullptr : found;
}

// The stock that is meant: a symbol in lower case, or the first stock with those digits.
std::wstring SymbolOf(IStockCommon& reference, std::string text) {
  boost::algorithm::to_lower(text, std::locale::classic());
  const std::wstring symbol = common::s2ws(text, common::kUtf8);
  const std::vector<BaseInfoItem> stocks = reference.GetStockList(1);
  const auto found = std::find_if(stocks.begin(), stocks.end(), [&](const BaseInfoItem& stock) {
    return stock.code == L"sh" + symbol || stock.code == L"sz" + symbol;
  });
  return found != stocks.end() ? found->code : symbol;
}

struct Month {
  std::uint32_t number = 0;  // YYYYMM
  int trading_days = 0;
  std::vector<std::uint32_t> holidays;
};

std::vector<Month> MonthsOf(std::uint32_t year) {
  std::vector<Month> months;
  std::int64_t noon = common::DateToTime(year * 10000 + 101, 12, 0, 0);
  for (std::uint32_t date = common::TimeToDate(noon); date / 10000 == year; date = common::TimeToDate(noon)) {
    if (months.empty() || months.back().number != date / 100) {
      months.push_back({date / 100, 0, {}});
    }
    if (IsTradingDay(date)) {
      ++months.back().trading_days;
    } else if (!IsWeekend(date)) {
      months.back().holidays.push_back(date);
    }
    noon += kDay;
  }
  return months;
}

Sheet SheetOfMonths(const std::vector<Month>& months) {
  return {[months](JsonWriter& json) {
            json.Array(months, [&json](const Month& month) {
              json.Object([&] {
                json.Member("month", month.number);
                json.Member("trading_days", month.trading_days);
                json.Key("holidays");
                json.Array(month.holidays, [&json](std::uint32_t date) { json.Value(date); });
              });
            });
          },
          [months] {
            std::string text = "holiday\n";
            for (const Month& month : months) {
              for (const std::uint32_t date : month.holidays) {
                text += CsvDate(date) + "\n";
              }
            }
            return text;
          }};
}

}  // namespace

int KindsOfList(std::string_view name) {
  const List* const list = ListNamed(name);
  return list == nullptr ? 0 : list->kinds;
}

Found FindList(IStockCommon& reference, std::string_view name, int kind) {
  std::vector<ListedItem> items;
  for (const BaseInfoItem& item : (reference.*ListNamed(name)->get)(kind)) {
    items.emplace_back(name, item);
  }
  Found found;
  found.key = std::wstring(name.begin(), name.end()) + L" " + std::to_wstring(kind);
  found.table = BaseInfoTable(items, false);
  found.sheet = BaseInfoSheet(items, false);
  found.note = std::to_string(items.size()) + " " + std::string(name);
  return found;
}

Found FindSecurities(IStockCommon& reference, const std::string& text, std::size_t limit) {
  const std::wstring wanted = common::s2ws(text, common::kUtf8);
  const SecurityLists lists(reference);
  std::vector<ListedItem> matches;
  for (const Match& match : lists.Find(wanted, limit)) {
    matches.emplace_back(match.list, *match.item);
  }
  Found found;
  found.key = L"find " + wanted;
  found.table = BaseInfoTable(matches, true);
  found.sheet = BaseInfoSheet(matches, true);
  found.why_empty = matches.empty() ? "nothing is called \"" + Printable(wanted) + "\"" : "";
  return found;
}

Found FindPlatesOf(IStockCommon& reference, std::string text) {
  Found found;
  found.key = SymbolOf(reference, std::move(text));
  CodeNameList plates;
  const bool known = reference.GetPlatesOfStock(found.key, plates);
  found.table = CodeNameTable(plates);
  found.sheet = CodeNameSheet(plates);
  for (const auto& [code, name] : plates) {
    found.securities.push_back({code, name, stock::kSymbolPlate});
  }
  found.why_empty = known ? "" : "no plates are known of \"" + Printable(found.key) + "\"";
  return found;
}

Found FindCalendar(std::uint32_t year) {
  const std::uint32_t this_year = common::GetCurrentServerDate() / 10000;
  const std::uint32_t shown = year == 0 ? this_year : year;
  const std::vector<Month> months = MonthsOf(shown);
  Found found;
  found.service = "calendar";
  found.key = std::to_wstring(shown);
  found.table = Table({{"month"}, {"trading days", Align::kRight}, {"holidays"}});
  found.sheet = SheetOfMonths(months);
  int trading_days = 0;
  for (const Month& month : months) {
    trading_days += month.trading_days;
    std::string days;
    for (const std::uint32_t date : month.holidays) {
      days += (days.empty() ? "" : " ") + DateText(date).substr(8);
    }
    found.table.Add(
        {{DateText(month.number * 100).substr(0, 7)}, {std::to_string(month.trading_days)}, {days}});
  }
  found.note = std::to_string(trading_days) + " trading days in " + std::to_string(shown) +
               (shown == this_year
                    ? ""
                    : "; the holidays of " + std::to_string(shown) + " are not known, only its weekends");
  return found;
}

}  // namespace cli
