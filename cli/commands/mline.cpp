#include "cli/commands/mline.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/date_option.h"
#include "cli/format/chart_headings.h"
#include "cli/format/chart_tables.h"
#include "cli/format/china_time.h"
#include "cli/format/csv.h"
#include "cli/format/figures.h"
#include "cli/format/record_json.h"
#include "cli/plot/minute_chart.h"
#include "cli/plot_options.h"
#include "cli/query_run.h"
#include "cli/securities.h"
#include "cli/trading_days.h"
#include "host/clock.h"

namespace cli {
namespace {

constexpr Feed kPastDay{"stock_mline", "/pc/rt/get_day_htime"};
constexpr Feed kDays{"stock_mline", "/pc/rt/get_choice_htime"};

constexpr const char* kExamples = R"(Examples:
  csm mline sh600000 --plot               today's line as a chart
  csm mline 000001                        every minute of today; the market may be left out
  csm mline sh000001 --days 5 --plot      the last five trading days
  csm mline sh600000 --date 2024-03-13    another day
  csm mline sh600000 --json               one JSON line with every day and minute
  csm mline sh600000 --csv                for spreadsheets

Volume and amount are those of the minute, the average price is that of the day so far. Changes are against the
previous close of the first day that is shown. In the chart the dotted line is the average price.)";

struct MinuteLineOptions {
  QueryOptions query;
  PlotOptions plot;
  std::string symbol;
  std::uint32_t date = 0;
  int days = 1;
  bool csv = false;
};

const Feed& FeedFor(const MinuteLineOptions& options) {
  if (options.days > 1) {
    return kDays;
  }
  return options.date == 0 ? kMinuteLineFeed : kPastDay;
}

class MinuteLineQuery {
 public:
  explicit MinuteLineQuery(const MinuteLineOptions& options)
      : options_(options), run_(options.query, FeedFor(options)) {}

  int Run() {
    return run_.Run(QueryRun::First::kLists, [this](IStockCommon& reference) { Ask(reference); });
  }

 private:
  void Ask(IStockCommon& reference) {
    security_ = FindSecurity(reference, options_.symbol);
    IStockMLine* const service = GetStockMLine();
    if (service == nullptr) {
      throw std::runtime_error("the service of minute lines cannot be made");
    }
    const std::int64_t now = common::GetCurrentServerTime();
    const std::uint32_t date = options_.date == 0 ? SessionDate(now) : options_.date;
    if (const std::string why = WhyNoFigures(date, now);
        options_.date != 0 && options_.days == 1 && !why.empty()) {
      throw std::runtime_error(why);
    }
    run_.SetExplanation([this, date] {
      return "the server has no minute line of " + Printable(security_.code) + " on " + DateText(date);
    });
    const MLineCallback done = [this](const StockMLineData& line) {
      run_.loop().Post([this, line, time = common::GetCurrentServerTime()] { Show(line, time); });
    };
    if (options_.days > 1) {
      service->FetchHistoryMLine(security_.code.c_str(), date, options_.days, done);
    } else if (options_.date == 0) {
      service->FetchMLine(security_.code.c_str(), 0, done);
    } else {
      service->FetchHistoryMLine(security_.code.c_str(), date, 0, done);
    }
  }

  void Show(const StockMLineData& line, std::int64_t time) {
    const MinutePoint* const last = LastPoint(line);
    if (options_.query.json) {
      run_.output().WriteLine(JsonLine(line, time));
    } else if (options_.csv) {
      run_.output().Write(Csv(line));
    } else if (last != nullptr && options_.plot.plot) {
      run_.Print(MinuteChart(line, {options_.plot.Size(), Title(line), HasAverage(security_)}));
    } else if (last != nullptr) {
      run_.Print(TableOf(line));
    }
    if (last == nullptr) {
      Say(WhyNoPoint(line, security_, time));
      run_.Finish(kFailure);
      return;
    }
    if (options_.date == 0) {
      run_.TellClosed(line.days.back().date);
    }
    run_.Finish();
  }

  [[nodiscard]] StyledLine Title(const StockMLineData& line) const {
    StyledLine title = MinuteHeading(line);
    title.insert(title.begin(), {{NameText(security_), Tone::kStrong}, {"  "}});
    return title;
  }

  [[nodiscard]] Table TableOf(const StockMLineData& line) const {
    std::vector<Column> columns = {{"time"},
                                   {"price", Align::kRight},
                                   {"change", Align::kRight},
                                   {"rate", Align::kRight},
                                   {"average", Align::kRight},
                                   {"volume", Align::kRight},
                                   {"amount", Align::kRight},
                                   {"qrr", Align::kRight}};
    columns.insert(columns.begin(), Column{"date"});
    Table table(columns);
    for (const MLineDay& day : line.days) {
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

  [[nodiscard]] std::string JsonLine(const StockMLineData& line, std::int64_t time) const {
    JsonWriter json;
    BeginJsonLine(json, kMinuteLineFeed.name, security_.code, time);
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
    json.EndObject();
    return json.Text();
  }

  static std::string Csv(const StockMLineData& line) {
    std::string text = "date," + CsvHeader(kMinutePointTable) + "\n";
    for (const MLineDay& day : line.days) {
      for (const MinutePoint& point : day.points) {
        text += CsvField(day.date) + "," + CsvLine(kMinutePointTable, point) + "\n";
      }
    }
    return text;
  }

  const MinuteLineOptions& options_;
  QueryRun run_;
  Security security_;
};

}  // namespace

Runner SetUpMinuteLine(Form& form) {
  const auto options = std::make_shared<MinuteLineOptions>();
  form.Add({.name = "SYMBOL",
            .help = "sh600000, 600000 or a name",
            .take = Into(options->symbol),
            .is_required = true});
  AddDateOption(form, options->date, "another day than today; with --days the last of them");
  form.Add({.name = "--days",
            .help = "so many trading days",
            .take = Into(options->days, 1, 250),
            .value = "N",
            .standard = std::to_string(options->days)});
  AddQueryOptions(form, options->query);
  AddPlotOptions(form, options->plot);
  AddCsvOption(form, options->csv);
  form.footer = kExamples;
  return [options] { return MinuteLineQuery(*options).Run(); };
}

}  // namespace cli
