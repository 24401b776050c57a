#include "cli/views/security_views.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <utility>

#include "charts/kline_table.h"
#include "cli/format/figures.h"
#include "cli/format/quote_rows.h"
#include "cli/format/quote_sheet.h"
#include "cli/plot/candle_chart.h"
#include "cli/plot/minute_chart.h"

namespace cli {
namespace {

constexpr std::size_t kRowsOfATable = 60;

}  // namespace

// --- Quote

std::vector<StyledLine> QuoteView::Lines(int width) const {
  if (newest() == nullptr) {
    return {};
  }
  std::vector<StyledLine> lines = QuoteSheet(newest()->data);
  const bool fits = std::all_of(lines.begin(), lines.end(),
                                [width](const StyledLine& line) { return DisplayWidth(line) <= width; });
  return fits ? lines : NarrowQuoteSheet(newest()->data);
}

Sheet QuoteView::AsSheet() const {
  const StockMarketItem quote = WithLimitsOfBoard(figures());
  Sheet sheet = SheetOf(kSingleQuoteTable, std::vector{quote});
  sheet.json = [quote](JsonWriter& json) {
    json.Array(std::array{quote}, [&json](const StockMarketItem& only) {
      json.Object([&] {
        json.Member("symbol_type", static_cast<std::int32_t>(only.symbol_type));
        WriteMembers(json, kSingleQuoteTable, only);
      });
    });
  };
  return sheet;
}

// --- Minutes

MinuteLineView::MinuteLineView(const ViewContext& context)
    : SecurityView(context, kMinuteLineFeed, &GetStockMLine),
      past_(context.post, [this](const Delivery<StockMLineData>& delivery) { OnDelivery(delivery); }) {}

void MinuteLineView::Select(const Security& security) {
  past_.Forget();
  SecurityView::Select(security);
}

void MinuteLineView::SelectDays(std::uint32_t date, int days) {
  date_ = date;
  days_ = days;
  past_.Forget();
  SetFeed(days_ > 1 ? kPastDaysFeed : date_ == 0 ? kMinuteLineFeed : kPastDayFeed);
  FollowSecurity();
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
  service.FetchHistoryMLine(security().code.c_str(), date, days_ > 1 ? days_ : 0, past_.Sender());
}

bool MinuteLineView::IsWanted(const StockMLineData& line) const {
  const bool is_today =
      line.days.size() < 2 && (line.days.empty() || date_ == 0 || line.days[0].date == date_);
  return line.symbol == security().code && (days_ > 1 || is_today);
}

std::string MinuteLineView::NothingText() const {
  const std::uint32_t date = date_ == 0 ? SessionDate(common::GetCurrentServerTime()) : date_;
  return "the server has no minute line of " + NameText(security()) + " on " + DateText(date);
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
  for (const MLineDay& day : figures().days) {
    for (const MinutePoint& point : day.points) {
      const Tone tone = ToneOf(point.change);
      table.Add({{DateText(day.date), Tone::kDim},
                 {MinuteText(point.time), Tone::kDim},
                 {Fixed(point.price, 2), tone},
                 {Signed(point.change, 2), tone},
                 {SignedPercent(point.change_rate, 2), tone},
                 {HasAverage(security()) ? Fixed(point.avg_price, 2) : kNoFigure},
                 {ShortAmount(static_cast<double>(point.volume))},
                 {ShortAmount(point.amount)},
                 {Fixed(point.qrr, 2)}});
    }
  }
  return table;
}

std::vector<StyledLine> MinuteLineView::Chart(const ChartSize& size) const {
  if (LastPoint(figures()) == nullptr) {
    return {};
  }
  StyledLine title = MinuteHeading(figures());
  title.insert(title.begin(), {{NameText(security()), Tone::kStrong}, {"  "}});
  return MinuteChart(figures(), {size, title, HasAverage(security())});
}

Sheet MinuteLineView::AsSheet() const {
  return {[line = figures()](JsonWriter& json) {
            json.Object([&] {
              json.Member("symbol", line.symbol);
              json.Member("preclose", line.preclose);
              json.Key("days");
              json.Array(line.days, [&json](const MLineDay& day) {
                json.Object([&] {
                  json.Member("date", day.date);
                  json.Key("points");
                  WriteRecords(json, kMinutePointTable, day.points);
                });
              });
            });
          },
          [days = figures().days] {
            std::string text = "date," + CsvHeader(kMinutePointTable) + "\n";
            for (const MLineDay& day : days) {
              for (const MinutePoint& point : day.points) {
                text += CsvDate(day.date) + "," + CsvLine(kMinutePointTable, point) + "\n";
              }
            }
            return text;
          }};
}

// --- Candles

KLineView::KLineView(const ViewContext& context, int period, int adjustment, std::optional<std::size_t> last)
    : SecurityView(context, kKLineFeed, &GetStockKLine),
      period_(period),
      adjustment_(adjustment),
      last_(last) {}

std::optional<KnobSetting> KLineView::SettingOf(Knob knob) const {
  if (knob == Knob::kPeriod) {
    return KnobSetting{kPeriods, period_};
  }
  return knob == Knob::kAdjustment ? std::optional(KnobSetting{kAdjustments, adjustment_}) : std::nullopt;
}

bool KLineView::Turn(Knob knob, int step) {
  if (knob == Knob::kPeriod) {
    period_ = StepFrom(kPeriods, period_, step);
  } else if (knob == Knob::kAdjustment) {
    adjustment_ = StepFrom(kAdjustments, adjustment_, step);
  } else {
    return false;
  }
  FollowSecurity();
  return true;
}

// The service goes on with the series that it was last asked for in this way.
void KLineView::Resume(Observer& observer) {
  observer.Resume(false);
  failures_before_ = FailuresOfHistory().first;
  observer.service().FetchKLine(security().code.c_str(), period_, adjustment_, {});
}

std::string KLineView::WhyNothingIn(const Delivery<StockKLineData>& delivery) const {
  if (IsTodayAlone(delivery.data)) {
    return NoPastText(security(), FailuresOfHistory().second);
  }
  return delivery.data.candles.empty() ? NoCandlesText(security()) : "";
}

std::vector<KLineCandle> KLineView::Candles() const {
  if (IsTodayAlone(figures())) {
    return {};
  }
  return {figures().candles.begin(), figures().candles.end()};
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
               {{NameText(security()), Tone::kStrong}, {"  " + SeriesText(period_, adjustment_) + "  "}});
  return CandleChart(candles, {size, title, Averages(all, candles.size())});
}

Sheet KLineView::AsSheet() const {
  const auto candles = Chosen(Candles(), std::numeric_limits<std::size_t>::max());
  Sheet sheet = SheetOf(charts::kKLineCandleTable, candles);
  sheet.json = [=, symbol = figures().symbol, period = figures().period,
                adjustment = figures().adjustment](JsonWriter& json) {
    json.Object([&] {
      json.Member("symbol", symbol);
      json.Member("period", period);
      json.Member("adjustment", adjustment);
      json.Key("candles");
      WriteRecords(json, charts::kKLineCandleTable, candles);
    });
  };
  return sheet;
}

// --- Flows

Table FlowView::AsTable() const {
  std::vector<Column> columns = FlowColumns();
  columns.insert(columns.begin(), {{"code"}, {"name"}});
  columns[0].rank = columns[1].rank = 9;  // the title has them, too
  Table table(columns);
  if (newest() == nullptr || !HasFlows(newest()->data)) {
    return table;
  }
  for (std::vector<Cell>& row : FlowRows(newest()->data)) {
    row.insert(row.begin(), {{Printable(security().code)}, {Printable(security().name)}});
    table.Add(std::move(row));
  }
  return table;
}

Sheet FlowView::AsSheet() const {
  return {[item = figures()](JsonWriter& json) {
            json.Object([&] {
              json.Member("symbol", item.symbol);
              json.Member("mtime", item.mtime);
              for (const auto& [name, member] : kFlowPeriods) {
                const FlowAmounts& amounts = item.*member;
                json.Key(name);
                json.Object([&] {
                  json.Member("big_in", amounts.big_in);
                  json.Member("big_out", amounts.big_out);
                  json.Member("small_in", amounts.small_in);
                  json.Member("small_out", amounts.small_out);
                });
              }
            });
          },
          [item = figures(), code = security().code] {
            std::string text = "symbol,days,big_in,big_out,small_in,small_out\n";
            for (const auto& [name, member] : kFlowPeriods) {
              const FlowAmounts& amounts = item.*member;
              text += CsvField(code) + "," + (name + 1);
              for (const std::uint64_t amount :
                   {amounts.big_in, amounts.big_out, amounts.small_in, amounts.small_out}) {
                text += "," + CsvField(static_cast<std::int64_t>(amount));
              }
              text += "\n";
            }
            return text;
          }};
}

}  // namespace cli
