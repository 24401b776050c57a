#include "cli/commands/purchase.h"

#include <list>
#include <memory>
#include <stdexcept>
#include <string>

#include "analytics/stock_purchase_table.h"
#include "cli/format/figures.h"
#include "cli/format/record_json.h"
#include "cli/options.h"
#include "cli/query_run.h"
#include "cli/subscription.h"

namespace cli {
namespace {

using Issues = std::list<StockPurchaseItem>;

constexpr Feed kFeed{"stock_purchase", "/pc/rt/stock_buy"};
constexpr const char* kExamples = R"(Examples:
  csm purchase             the latest online subscription first
  csm purchase --json      one JSON line

"issued" and "online" are ten thousands of shares, "limit" the most of them that one account may
subscribe to, "raised" hundred millions of yuan, "chance" percent of the subscriptions; it is known after
the draw.)";

std::string JsonLine(const Delivery<Issues>& delivery) {
  JsonWriter json;
  BeginJsonLine(json, kFeed.name, L"", delivery.server_time);
  WriteRecords(json, analytics::kStockPurchaseTable, delivery.data);
  json.EndObject();
  return json.Text();
}

// A figure that the feed leaves out is 0.
Cell Figure(float value, int decimals) {
  return {value == 0 ? kNoFigure : Fixed(value, decimals)};
}

Table TableOf(const Issues& issues) {
  Table table({{"code"},
               {"name"},
               {"apply"},
               {"published"},
               {"online on"},
               {"price", Align::kRight},
               {"pe", Align::kRight},
               {"issued", Align::kRight},
               {"online", Align::kRight},
               {"limit", Align::kRight},
               {"raised", Align::kRight},
               {"chance", Align::kRight}});
  for (const StockPurchaseItem& issue : issues) {
    table.Add({{Printable(issue.code)},
               {Printable(issue.name)},
               {Printable(issue.buy_code)},
               {Printable(issue.publish_time)},
               {Printable(issue.publish_online_time)},
               Figure(issue.publish_price, 2),
               Figure(issue.pe, 2),
               Figure(issue.publish_num, 0),
               Figure(issue.publish_online_num, 0),
               Figure(issue.buy_limit, 2),
               Figure(issue.total_price, 2),
               Figure(issue.chance, 4)});
  }
  return table;
}

int PrintPurchase(const QueryOptions& options) {
  QueryRun run(options, kFeed);
  std::unique_ptr<Subscription<IStockPurchase, Issues>> subscription;
  return run.Run(QueryRun::First::kNothing, [&](IStockCommon&) {
    IStockPurchase* const service = GetStockPurchase();
    if (service == nullptr) {
      throw std::runtime_error("the service of new shares cannot be made");
    }
    subscription = std::make_unique<Subscription<IStockPurchase, Issues>>(
        *service, run.loop(), [&](const Delivery<Issues>& delivery) {
          if (options.json) {
            run.output().WriteLine(JsonLine(delivery));
          } else if (!delivery.data.empty()) {
            run.Print(TableOf(delivery.data));
          }
          if (delivery.data.empty()) {
            Say("no new shares to subscribe to");
          }
          run.Finish();
        });
    service->FetchPurchaseInfo();
  });
}

}  // namespace

Runner SetUpPurchase(Form& form) {
  const auto options = std::make_shared<QueryOptions>();
  AddQueryOptions(form, *options);
  form.footer = kExamples;
  return [options] { return PrintPurchase(*options); };
}

}  // namespace cli
