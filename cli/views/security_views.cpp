#include "cli/views/security_views.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

#include "cli/format/chart_headings.h"
#include "cli/format/chart_tables.h"
#include "cli/format/china_time.h"
#include "cli/format/csv.h"
#include "cli/format/figures.h"
#include "cli/format/flow_rows.h"
#include "cli/format/price_limits.h"
#include "cli/format/quote_sheet.h"
#include "cli/format/quote_tables.h"
#include "cli/format/record_json.h"
#include "cli/plot/candle_chart.h"
#include "cli/plot/minute_chart.h"

namespace cli {
namespace {

constexpr std::size_t kRowsOfATable = 60;

}  // namespace

// --- Quote

QuoteView::QuoteView(const ViewContext& context) : ServiceView(context, kQuoteFeed, &GetSingleStockMarket) {
  FollowNothing(kNothingSelected);
}

void QuoteView::Select(const Security& security) {
  security_ = security;
  if (security.type == stock::kSymbolPlate) {
    FollowNothing("a plate is quoted among the others of its kind only");
  } else {
    Follow(security.code);
  }
}

std::vector<StyledLine> QuoteView::Lines(int width) const {
  if (newest() == nullptr) {
    return {};
  }
  std::vector<StyledLine> lines = QuoteSheet(newest()->data);
  const bool fits = std::all_of(lines.begin(), lines.end(),
                                [width](const StyledLine& line) { return DisplayWidth(line) <= width; });
  return fits ? lines : NarrowQuoteSheet(newest()->data);
}

std::string QuoteView::Csv() const {
  return CsvOf(kSingleQuoteTable, std::vector{WithLimitsOfBoard(newest()->data)});
}

void QuoteView::WriteData(JsonWriter& json) const {
  json.BeginArray();
  json.BeginObject();
  json.Key("symbol_type");
  json.Value(static_cast<std::int32_t>(newest()->data.symbol_type));
  WriteMembers(json, kSingleQuoteTable, WithLimitsOfBoard(newest()->data));
  json.EndObject();
  json.EndArray();
}

// --- Minutes

MinuteLineView::MinuteLineView(const ViewContext& context)
    : ServiceView(context, kMinuteLineFeed, &GetStockMLine),
      past_(context.post, [this](const Delivery<StockMLineData>& delivery) { OnDelivery(delivery); }) {
  FollowNothing(kNothingSelected);
}

std::string MinuteLineView::Title() const {
  const std::string what = date_ == 0 ? "minute line" : "minutes up to " + DateText(date_);
  return TitleOf(what, security_);
}

void MinuteLineView::Select(const Security& security) {
  security_ = security;
  FollowDays();
}

void MinuteLineView::SelectDays(std::uint32_t date, int days) {
  date_ = date;
  days_ = days;
  FollowDays();
}

void MinuteLineView::FollowDays() {
  past_.Forget();
  SetFeed(days_ > 1 ? kPastDaysFeed : date_ == 0 ? kMinuteLineFeed : kPastDayFeed);
  if (security_.code.empty()) {
    FollowNothing(kNothingSelected);
  } else {
    Follow(security_.code);
  }
}

void MinuteLineView::Resume(Observer& observer) {
  if (date_ == 0 && days_ == 1) {
    observer.Resume(true);
  } else {
    AskForPast(observer.service());
  }
}

// The past does not change.
void MinuteLineView::AskAgain(IStockMLine& service) {
  if (date_ == 0 && days_ == 1) {
    service.Refresh();
  } else if (!has_data() || date_ == 0) {
    AskForPast(service);
  }
}

void MinuteLineView::AskForPast(IStockMLine& service) {
  const std::uint32_t date = date_ == 0 ? SessionDate(common::GetCurrentServerTime()) : date_;
  service.FetchHistoryMLine(security_.code.c_str(), date, days_ > 1 ? days_ : 0, past_.Sender());
}

bool MinuteLineView::IsWanted(const StockMLineData& line) const {
  const bool is_today =
      line.days.size() < 2 && (line.days.empty() || date_ == 0 || line.days[0].date == date_);
  return line.symbol == security_.code && (days_ > 1 || is_today);
}

std::string MinuteLineView::WhyNothingIn(const Delivery<StockMLineData>& delivery) const {
  return LastPoint(delivery.data) == nullptr ? WhyNoPoint(delivery.data, security_, delivery.server_time)
                                             : "";
}

std::string MinuteLineView::NothingText() const {
  const std::uint32_t date = date_ == 0 ? SessionDate(common::GetCurrentServerTime()) : date_;
  return "the server has no minute line of " + NameText(security_) + " on " + DateText(date);
}

std::uint32_t MinuteLineView::Session() const {
  return newest() == nullptr || newest()->data.days.empty() ? 0 : newest()->data.days.back().date;
}

Table MinuteLineView::AsTable() const {
  Table table({{"date"},
               {"time"},
               {"price", Align::kRight},
               {"change", Align::kRight},
               {"rate", Align::kRight},
               {"average", Align::kRight},
               {"volume", Align::kRight},
               {"amount", Align::kRight},
               {"qrr", Align::kRight}});
  for (const MLineDay& day : newest() == nullptr ? std::vector<MLineDay>() : newest()->data.days) {
    for (const MinutePoint& point : day.points) {
      const Tone tone = ToneOf(point.change);
      table.Add({{DateText(day.date), Tone::kDim},
                 {MinuteText(point.time), Tone::kDim},
                 {Fixed(point.price, 2), tone},
                 {Signed(point.change, 2), tone},
                 {SignedPercent(point.change_rate, 2), tone},
                 {HasAverage(security_) ? Fixed(point.avg_price, 2) : kNoFigure},
                 {ShortAmount(static_cast<double>(point.volume))},
                 {ShortAmount(point.amount)},
                 {Fixed(point.qrr, 2)}});
    }
  }
  return table;
}

std::vector<StyledLine> MinuteLineView::Chart(const ChartSize& size) const {
  if (newest() == nullptr || LastPoint(newest()->data) == nullptr) {
    return {};
  }
  StyledLine title = MinuteHeading(newest()->data);
  title.insert(title.begin(), {{NameText(security_), Tone::kStrong}, {"  "}});
  return MinuteChart(newest()->data, {size, title, HasAverage(security_)});
}

std::string MinuteLineView::Csv() const {
  std::string text = "date," + CsvHeader(kMinutePointTable) + "\n";
  for (const MLineDay& day : newest()->data.days) {
    for (const MinutePoint& point : day.points) {
      text += CsvDate(day.date) + "," + CsvLine(kMinutePointTable, point) + "\n";
    }
  }
  return text;
}

void MinuteLineView::WriteData(JsonWriter& json) const {
  const StockMLineData& line = newest()->data;
  json.BeginObject();
  json.Key("symbol");
  json.Value(line.symbol);
  json.Key("preclose");
  json.Value(line.preclose);
  json.Key("days");
  json.BeginArray();
  for (const MLineDay& day : line.days) {
    json.BeginObject();
    json.Key("date");
    json.Value(day.date);
    json.Key("points");
    WriteRecords(json, kMinutePointTable, day.points);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
}

// --- Candles

KLineView::KLineView(const ViewContext& context, int period, int adjustment, std::optional<std::size_t> last)
    : ServiceView(context, kKLineFeed, &GetStockKLine),
      period_(period),
      adjustment_(adjustment),
      last_(last) {
  FollowNothing(kNothingSelected);
}

std::string KLineView::Title() const {
  return TitleOf("candles " + SeriesText(period_, adjustment_), security_);
}

void KLineView::Select(const Security& security) {
  security_ = security;
  FollowSeries();
}

std::optional<KnobSetting> KLineView::SettingOf(Knob knob) const {
  if (knob == Knob::kPeriod) {
    return KnobSetting{Periods(), period_};
  }
  return knob == Knob::kAdjustment ? std::optional(KnobSetting{Adjustments(), adjustment_}) : std::nullopt;
}

bool KLineView::Turn(Knob knob, int step) {
  if (knob == Knob::kPeriod) {
    period_ = StepFrom(Periods(), period_, step);
  } else if (knob == Knob::kAdjustment) {
    adjustment_ = StepFrom(Adjustments(), adjustment_, step);
  } else {
    return false;
  }
  FollowSeries();
  return true;
}

void KLineView::FollowSeries() {
  if (security_.code.empty()) {
    FollowNothing(kNothingSelected);
  } else if (security_.type == stock::kSymbolPlate) {
    FollowNothing("there are no candles of plates; " + NameText(security_) + " is one");
  } else {
    Follow(security_.code);
  }
}

// The service goes on with the series that it was last asked for in this way.
void KLineView::Resume(Observer& observer) {
  observer.Resume(false);
  failures_before_ = FailuresOfHistory().first;
  observer.service().FetchKLine(security_.code.c_str(), period_, adjustment_, {});
}

bool KLineView::IsWanted(const StockKLineData& data) const {
  return data.symbol == security_.code && data.period == period_ && data.adjustment == adjustment_;
}

// With days, a week or a month before it today's candle would be another one.
bool KLineView::IsTodayAlone(const StockKLineData& data) const {
  return data.candles.size() == 1 && FailuresOfHistory().first > failures_before_;
}

std::string KLineView::WhyNothingIn(const Delivery<StockKLineData>& delivery) const {
  if (IsTodayAlone(delivery.data)) {
    return NoPastText(security_, FailuresOfHistory().second);
  }
  return delivery.data.candles.empty() ? NoCandlesText(security_) : "";
}

std::vector<KLineCandle> KLineView::Candles() const {
  if (newest() == nullptr || IsTodayAlone(newest()->data)) {
    return {};
  }
  return {newest()->data.candles.begin(), newest()->data.candles.end()};
}

std::uint32_t KLineView::Session() const {
  return newest() == nullptr || newest()->data.candles.empty() ? 0 : newest()->data.candles.back().date;
}

std::vector<KLineCandle> KLineView::Chosen(std::vector<KLineCandle> candles, std::size_t otherwise) const {
  const std::size_t most = std::min(last_.value_or(otherwise), candles.size());
  candles.erase(candles.begin(), candles.end() - static_cast<std::ptrdiff_t>(most));
  return candles;
}

Table KLineView::AsTable() const {
  Table table({{"date"},
               {"open", Align::kRight},
               {"high", Align::kRight},
               {"low", Align::kRight},
               {"close", Align::kRight},
               {"change", Align::kRight},
               {"volume", Align::kRight},
               {"amount", Align::kRight},
               {"turnover", Align::kRight}});
  for (const KLineCandle& candle : Chosen(Candles(), kRowsOfATable)) {
    const auto price = [&candle](double value) {
      return Cell{Fixed(value, 2), candle.preclose > 0 ? ToneOf(value - candle.preclose) : Tone::kPlain};
    };
    const double change = candle.preclose > 0 ? (candle.close / candle.preclose - 1) * 100 : 0;
    table.Add({{DateText(candle.date), Tone::kDim},
               price(candle.open),
               price(candle.high),
               price(candle.low),
               price(candle.close),
               {candle.preclose > 0 ? SignedPercent(change, 2) : kNoFigure, ToneOf(change)},
               {ShortAmount(static_cast<double>(candle.volume))},
               {ShortAmount(candle.amount)},
               {Fixed(candle.turnover, 2) + "%"}});
  }
  return table;
}

std::vector<StyledLine> KLineView::Chart(const ChartSize& size) const {
  const std::vector<KLineCandle> all = WithPrices(Candles());
  const std::vector<KLineCandle> candles = Chosen(all, CandlesThatFit(size));
  if (candles.empty()) {
    return {};
  }
  StyledLine title = CandleHeading(candles.back());
  title.insert(title.begin(),
               {{NameText(security_), Tone::kStrong}, {"  " + SeriesText(period_, adjustment_) + "  "}});
  return CandleChart(candles, {size, title, Averages(all, candles.size())});
}

std::string KLineView::Csv() const {
  return CsvOf(kKLineCandleTable, Chosen(Candles(), std::numeric_limits<std::size_t>::max()));
}

void KLineView::WriteData(JsonWriter& json) const {
  const StockKLineData& data = newest()->data;
  json.BeginObject();
  json.Key("symbol");
  json.Value(data.symbol);
  json.Key("period");
  json.Value(data.period);
  json.Key("adjustment");
  json.Value(data.adjustment);
  json.Key("candles");
  WriteRecords(json, kKLineCandleTable, Chosen(Candles(), std::numeric_limits<std::size_t>::max()));
  json.EndObject();
}

// --- Flows

FlowView::FlowView(const ViewContext& context) : ServiceView(context, kFlowFeed, &GetStockInOut) {
  FollowNothing(kNothingSelected);
}

void FlowView::Select(const Security& security) {
  security_ = security;
  if (security.type == stock::kSymbolStock) {
    Follow(security.code);
  } else {
    FollowNothing(NoFlowsText(security));
  }
}

std::uint32_t FlowView::Session() const {
  return newest() == nullptr ? 0 : SessionDate(newest()->server_time);
}

Table FlowView::AsTable() const {
  std::vector<Column> columns = FlowColumns();
  columns.insert(columns.begin(), {{"code"}, {"name"}});
  columns[0].rank = columns[1].rank = 9;  // the title has them, too
  Table table(columns);
  if (newest() == nullptr || !HasFlows(newest()->data)) {
    return table;
  }
  for (std::vector<Cell>& row : FlowRows(newest()->data)) {
    row.insert(row.begin(), {{Printable(security_.code)}, {Printable(security_.name)}});
    table.Add(std::move(row));
  }
  return table;
}

std::string FlowView::WhyNothingIn(const Delivery<StockInOutItem>& delivery) const {
  return HasFlows(delivery.data) ? "" : "nothing flowed in or out within ten days";
}

std::string FlowView::NothingText() const {
  return "the server has no flows of " + NameText(security_);
}

std::string FlowView::Csv() const {
  std::string text = "symbol,days,big_in,big_out,small_in,small_out\n";
  for (const auto& [name, member] : kFlowPeriods) {
    const FlowAmounts& amounts = newest()->data.*member;
    text += CsvField(security_.code) + "," + (name + 1);
    for (const std::uint64_t amount :
         {amounts.big_in, amounts.big_out, amounts.small_in, amounts.small_out}) {
      text += "," + std::to_string(static_cast<std::int64_t>(amount));
    }
    text += "\n";
  }
  return text;
}

void FlowView::WriteData(JsonWriter& json) const {
  const StockInOutItem& item = newest()->data;
  json.BeginObject();
  json.Key("symbol");
  json.Value(item.symbol);
  json.Key("mtime");
  json.Value(item.mtime);
  for (const auto& [name, member] : kFlowPeriods) {
    const FlowAmounts& amounts = item.*member;
    json.Key(name);
    json.BeginObject();
    const std::pair<const char*, std::uint64_t> members[] = {{"big_in", amounts.big_in},
                                                             {"big_out", amounts.big_out},
                                                             {"small_in", amounts.small_in},
                                                             {"small_out", amounts.small_out}};
    for (const auto& [key, amount] : members) {
      json.Key(key);
      json.Value(amount);
    }
    json.EndObject();
  }
  json.EndObject();
}

}  // namespace cli
