#include "cli/commands/distribution.h"

#include <memory>
#include <string>
#include <vector>

#include "cli/daily_query.h"
#include "cli/format/record_json.h"
#include "cli/plot/market_charts.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm distribution                        how many stocks rose and fell how far, drawn as bars
  csm distribution --date 2024-03-13      at the end of another day
  csm distribution --json                 one JSON line)";

void WriteBuckets(JsonWriter& json, const char* name, const std::vector<DistributionBucket>& buckets) {
  json.Key(name);
  json.BeginArray();
  for (const DistributionBucket& bucket : buckets) {
    json.BeginObject();
    json.Key("count");
    json.Value(bucket.count);
    json.Key("ratio");
    json.Value(bucket.ratio);
    json.EndObject();
  }
  json.EndArray();
}

std::string JsonLine(const Delivery<DistributionItem>& delivery, std::uint32_t date) {
  const DistributionItem& item = delivery.data;
  JsonWriter json;
  BeginJsonLine(json, kDistributionFeed.name, std::to_wstring(date), delivery.server_time);
  json.BeginObject();
  json.Key("up");
  json.Value(item.up);
  json.Key("down");
  json.Value(item.down);
  json.Key("nochange");
  json.Value(item.nochange);
  WriteBuckets(json, "first_half", item.first_half);
  WriteBuckets(json, "second_half", item.second_half);
  json.EndObject();
  json.EndObject();
  return json.Text();
}

int PrintDistribution(const DailyOptions& options) {
  return RunDaily<DistributionItem>(
      options, kDistributionFeed, &GetStockDistribution,
      [&](QueryRun& run, const Delivery<DistributionItem>& delivery, std::uint32_t date) {
        if (options.query.json) {
          run.output().WriteLine(JsonLine(delivery, date));
        } else if (HasFigures(delivery.data)) {
          run.Print(DistributionChart(delivery.data, date, options.plot.Size().columns));
        }
        return HasFigures(delivery.data);
      });
}

}  // namespace

Runner SetUpDistribution(Form& form) {
  const auto options = std::make_shared<DailyOptions>();
  AddDailyOptions(form, *options);
  form.footer = kExamples;
  return [options] { return PrintDistribution(*options); };
}

}  // namespace cli
