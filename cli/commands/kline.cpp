#include "cli/commands/kline.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/choices.h"
#include "cli/format/chart_headings.h"
#include "cli/format/chart_tables.h"
#include "cli/format/china_time.h"
#include "cli/format/csv.h"
#include "cli/format/figures.h"
#include "cli/format/record_json.h"
#include "cli/line_run.h"
#include "cli/plot/candle_chart.h"
#include "cli/plot_options.h"
#include "cli/query_run.h"
#include "cli/securities.h"
#include "cli/vocabulary.h"
#include "host/clock.h"

namespace cli {
namespace {

constexpr std::size_t kRowsOfATable = 60;

constexpr const char* kExamples = R"(Examples:
  csm kline sh600000 --plot                       the days that fit the terminal, today's candle last
  csm kline 600000 --period week --last 20        the last twenty weeks
  csm kline sh600000 --adjust forward --json      every day in one JSON line
  csm kline sh000001 --period month --csv         for spreadsheets

Adjusted prices leave the jumps of dividends and splits out. Without --last a table has the last 60
candles, a chart those that fit, JSON and comma-separated values all. In the chart a rise is hollow.)";

struct KLineOptions {
  QueryOptions query;
  PlotOptions plot;
  std::string symbol;
  int period = kByDay;
  int adjustment = kUnadjusted;
  std::optional<std::size_t> last;
  bool csv = false;
};

class KLineQuery {
 public:
  explicit KLineQuery(const KLineOptions& options) : options_(options), run_(options.query, kKLineFeed) {}

  int Run() {
    return run_.Run(QueryRun::First::kLists, [this](IStockCommon& reference) { Ask(reference); });
  }

 private:
  void Ask(IStockCommon& reference) {
    security_ = FindSecurity(reference, options_.symbol);
    if (security_.type == stock::kSymbolPlate) {
      throw std::runtime_error("there are no candles of plates; " + NameText(security_) + " is one");
    }
    IStockKLine* const service = GetStockKLine();
    if (service == nullptr) {
      throw std::runtime_error("the service of candles cannot be made");
    }
    failures_before_ = FailuresOfHistory().first;
    service->FetchKLine(
        security_.code.c_str(), options_.period, options_.adjustment, [this](const StockKLineData& data) {
          run_.loop().Post([this, data, time = common::GetCurrentServerTime()] { Show(data, time); });
        });
  }

  void Show(const StockKLineData& data, std::int64_t time) {
    // Today's candle alone is no series: with a week or a month before it, it would be another one.
    const auto [failures, reason] = FailuresOfHistory();
    if (data.candles.size() == 1 && failures > failures_before_) {
      throw std::runtime_error(NoPastText(security_, reason));
    }
    const std::vector<KLineCandle> candles = Chosen(data);
    if (options_.query.json) {
      run_.output().WriteLine(JsonLine(data, candles, time));
    } else if (options_.csv) {
      std::string text = CsvHeader(kKLineCandleTable) + "\n";
      for (const KLineCandle& candle : candles) {
        text += CsvLine(kKLineCandleTable, candle) + "\n";
      }
      run_.output().Write(text);
    } else if (!candles.empty() && options_.plot.plot) {
      run_.Print(CandleChart(candles, Title(candles.back()), options_.plot.Size()));
    } else if (!candles.empty()) {
      run_.Print(TableOf(candles));
    }
    if (candles.empty()) {
      Say(NoCandlesText(security_));
      run_.Finish(kFailure);
      return;
    }
    run_.TellClosed(candles.back().date);
    run_.Finish();
  }

  [[nodiscard]] std::vector<KLineCandle> Chosen(const StockKLineData& data) const {
    std::size_t most = data.candles.size();
    if (options_.last) {
      most = *options_.last;
    } else if (options_.plot.plot) {
      most = CandlesThatFit(options_.plot.Size());
    } else if (!options_.query.json && !options_.csv) {
      most = kRowsOfATable;
    }
    const std::size_t left_out = data.candles.size() - std::min(most, data.candles.size());
    return {std::next(data.candles.begin(), static_cast<std::ptrdiff_t>(left_out)), data.candles.end()};
  }

  [[nodiscard]] StyledLine Title(const KLineCandle& last) const {
    StyledLine title = CandleHeading(last);
    title.insert(title.begin(), {{NameText(security_), Tone::kStrong},
                                 {"  " + SeriesText(options_.period, options_.adjustment) + "  "}});
    return title;
  }

  static Table TableOf(const std::vector<KLineCandle>& candles) {
    Table table({{"date"},
                 {"open", Align::kRight},
                 {"high", Align::kRight},
                 {"low", Align::kRight},
                 {"close", Align::kRight},
                 {"change", Align::kRight},
                 {"volume", Align::kRight},
                 {"amount", Align::kRight},
                 {"turnover", Align::kRight}});
    for (const KLineCandle& candle : candles) {
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

  [[nodiscard]] std::string JsonLine(const StockKLineData& data, const std::vector<KLineCandle>& candles,
                                     std::int64_t time) const {
    JsonWriter json;
    BeginJsonLine(json, kKLineFeed.name, security_.code, time);
    json.BeginObject();
    json.Key("symbol");
    json.Value(data.symbol);
    json.Key("period");
    json.Value(data.period);
    json.Key("adjustment");
    json.Value(data.adjustment);
    json.Key("candles");
    WriteRecords(json, kKLineCandleTable, candles);
    json.EndObject();
    json.EndObject();
    return json.Text();
  }

  const KLineOptions& options_;
  QueryRun run_;
  Security security_;
  std::uint64_t failures_before_ = 0;
};

}  // namespace

Runner SetUpKLine(Form& form) {
  const auto options = std::make_shared<KLineOptions>();
  form.Add({.name = "SYMBOL",
            .help = "sh600000, 600000 or a name",
            .take = Into(options->symbol),
            .is_required = true});
  AddChoice(form, "--period", Periods(), "what one candle stands for", options->period);
  AddChoice(form, "--adjust", Adjustments(), "prices adjusted for dividends and splits", options->adjustment);
  form.Add({.name = "--last",
            .help = "the newest so many candles",
            .take = Into(options->last, 1, 100000),
            .value = "N"});
  AddQueryOptions(form, options->query);
  AddPlotOptions(form, options->plot);
  AddCsvOption(form, options->csv);
  form.footer = kExamples + ("\n\n" + ListOf("Adjustments", Adjustments()));
  return [options] { return KLineQuery(*options).Run(); };
}

}  // namespace cli
