#include "cli/commands/margin.h"

#include <list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/format/record_json.h"
#include "cli/options.h"
#include "cli/query_run.h"
#include "cli/subscription.h"

namespace cli {
namespace {

using Days = std::list<MarginTradeItem>;

constexpr double kHundredMillion = 1e8;  // days differ in the fifth digit
constexpr Feed kFeed{"margin_trade", "/pc/rt/stock_trade"};
constexpr const char* kExamples = R"(Examples:
  csm margin               every day that the server tells, the newest last
  csm margin --last 10     the last ten days
  csm margin --json        one JSON line

The balance is that of both exchanges in yuan, the change that from the trading day before.)";

constexpr auto kMembers = request::TableOf<MarginTradeItem>(
    request::Read("date", &MarginTradeItem::date, request::Truncated{}),
    request::Read("sh_close", &MarginTradeItem::sh_close, request::Truncated{}),
    request::Read("sz_close", &MarginTradeItem::sz_close, request::Truncated{}),
    request::Read("balance", &MarginTradeItem::balance, request::Amount{}),
    request::Read("change", &MarginTradeItem::change, request::Amount{}));

struct MarginOptions {
  QueryOptions query;
  std::optional<std::size_t> last;
};

std::string JsonLine(const Days& days, std::int64_t time) {
  JsonWriter json;
  BeginJsonLine(json, kFeed.name, L"", time);
  WriteRecords(json, kMembers, days);
  json.EndObject();
  return json.Text();
}

Table TableOf(const Days& days) {
  Table table({{"date"},
               {"Shanghai", Align::kRight},
               {"Shenzhen", Align::kRight},
               {"balance", Align::kRight},
               {"change", Align::kRight}});
  for (const MarginTradeItem& day : days) {
    const auto change = static_cast<double>(day.change);
    table.Add({{DateText(static_cast<std::uint32_t>(day.date)), Tone::kDim},
               {Fixed(day.sh_close, 0)},
               {Fixed(day.sz_close, 0)},
               {Fixed(static_cast<double>(day.balance) / kHundredMillion, 2) + "亿"},
               {SignedShortAmount(change), ToneOf(change)}});
  }
  return table;
}

int PrintMargin(const MarginOptions& options) {
  QueryRun run(options.query, kFeed);
  std::unique_ptr<Subscription<IMarginTrade, Days>> subscription;
  return run.Run(QueryRun::First::kNothing, [&](IStockCommon&) {
    IMarginTrade* const service = GetMarginTrade();
    if (service == nullptr) {
      throw std::runtime_error("the service of margin trading cannot be made");
    }
    subscription = std::make_unique<Subscription<IMarginTrade, Days>>(
        *service, run.loop(), [&](const Delivery<Days>& delivery) {
          Days days = delivery.data;
          while (options.last && days.size() > *options.last) {
            days.pop_front();
          }
          if (options.query.json) {
            run.output().WriteLine(JsonLine(days, delivery.server_time));
          } else if (!days.empty()) {
            run.Print(TableOf(days));
          }
          if (days.empty()) {
            Say("the server tells fewer than two days, and none can be compared");
          }
          run.Finish(days.empty() ? kFailure : kFine);
        });
    service->FetchMarginTradeInfo();
  });
}

}  // namespace

Runner SetUpMargin(Form& form) {
  const auto options = std::make_shared<MarginOptions>();
  form.Add({.name = "--last",
            .help = "the newest so many days",
            .take = Into(options->last, 1, 100000),
            .value = "N"});
  AddQueryOptions(form, options->query);
  form.footer = kExamples;
  return [options] { return PrintMargin(*options); };
}

}  // namespace cli
