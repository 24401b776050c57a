#include "cli/commands/plate.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/follow.h"
#include "cli/format/record_json.h"
#include "cli/list_options.h"
#include "cli/securities.h"
#include "cli/vocabulary.h"
#include "ranking/stock_market_summary_table.h"

namespace cli {
namespace {

constexpr Feed kFeed{"plate_stock_market", "/pc/rt/get_bk_zone_list", kQuotePolling};
constexpr const char* kExamples = R"(Examples:
  csm plate bk1001                       the stocks of a plate that rose most
  csm plate 银行 --sort tr --rows 0:50   the fifty with the largest turnover rate
  csm plate bk1001 --count 1 --json      once, for other programs

Stocks have no column lead, lead_change, bpin or cud: the server orders them by change then. csm plates names the
plates.)";

struct PlateOptions : ListOptions {
  std::string plate;
};

std::string JsonLine(const PlateOptions& options, const std::wstring& code,
                     const Delivery<PlateStockMarketData>& delivery) {
  JsonWriter json;
  BeginJsonLine(json, kFeed.name, options.Key(code), delivery.server_time);
  WriteRecords(json, ranking::kStockMarketSummaryTable, delivery.data.stocks);
  json.Key("total_num");
  json.Value(delivery.data.total_num);
  json.EndObject();
  return json.Text();
}

std::vector<StyledLine> Picture(const PlateOptions& options, const PlateStockMarketData& data) {
  std::vector<StyledLine> lines = RankedStockLines(data.stocks, {"row", options.rows.start});
  lines.push_back({{std::to_string(data.total_num) + " stocks in all", Tone::kDim}});
  return lines;
}

// The plate that is meant. Throws std::runtime_error when there is none.
Security FindPlate(IStockCommon& reference, const std::string& text) {
  Security plate = FindSecurity(reference, text);
  if (plate.type != stock::kSymbolPlate) {
    throw std::runtime_error(Printable(plate.code) + " " + Printable(plate.name) + " is no plate");
  }
  return plate;
}

int ShowPlate(const PlateOptions& options) {
  using PlateDelivery = Delivery<PlateStockMarketData>;
  LineRun run(options.watch, kFeed, options.Title("plate " + Printable(options.plate)));
  std::wstring code;
  return FollowKeyAfterLists<PlateStockMarketData>(
      run, Made(GetPlateStockMarket(), kFeed),
      [&](IStockCommon& reference, bool loaded) {
        if (!loaded) {
          throw std::runtime_error(NotLoadedText(run.session()));
        }
        code = FindPlate(reference, options.plate).code;
        return PlateStockRankingTarget{code, static_cast<std::uint32_t>(options.sort.column),
                                       static_cast<std::uint32_t>(options.sort.direction), options.rows.start,
                                       options.rows.end};
      },
      [&](const PlateDelivery& delivery) { return JsonLine(options, code, delivery); },
      [&](const PlateDelivery& delivery) { return Picture(options, delivery.data); });
}

}  // namespace

Runner SetUpPlate(Form& form) {
  const auto options = std::make_shared<PlateOptions>();
  options->sort.columns = PlateColumns();
  form.Add({.name = "PLATE",
            .help = "a plate: bk1001, 1001 or a name",
            .take = Into(options->plate),
            .value = "",
            .is_required = true});
  AddPageOptions(form, *options);
  AddWatchOptions(form, options->watch);
  form.footer = ListOf("Columns to order by", PlateColumns()) + "\n\n" + kExamples;
  return [options] { return ShowPlate(*options); };
}

}  // namespace cli
