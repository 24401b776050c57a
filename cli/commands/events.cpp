#include "cli/commands/events.h"

#include <list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "analytics/stock_unusual_event_table.h"
#include "cli/daily_query.h"
#include "cli/format/event_rows.h"
#include "cli/format/record_json.h"

namespace cli {
namespace {

using Events = std::list<StockUnusualEventItem>;

// A failure delivers an empty list, too; its line in the log may come a moment later.
constexpr std::chrono::milliseconds kUntilLogged(600);

constexpr const char* kExamples = R"(Examples:
  csm events                        today's, the newest first
  csm events --last 10              the newest ten
  csm events --date 2024-03-13      those of another day
  csm events --json                 one JSON line)";

struct EventsOptions {
  DailyOptions daily;
  std::optional<std::size_t> last;
};

std::string JsonLine(const Events& events, std::uint32_t date, std::int64_t time) {
  JsonWriter json;
  BeginJsonLine(json, kEventsFeed.name, std::to_wstring(date), time);
  json.BeginArray();
  for (const StockUnusualEventItem& event : events) {
    json.BeginObject();
    json.Key("symbol");
    json.Value(event.symbol);
    WriteMembers(json, analytics::kStockUnusualEventTable, event);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  return json.Text();
}

class EventsQuery {
 public:
  explicit EventsQuery(const EventsOptions& options)
      : options_(options), run_(options.daily.query, kEventsFeed) {}

  int Run() {
    return run_.Run(QueryRun::First::kCalendar, [this](IStockCommon&) { Ask(); });
  }

 private:
  void Ask() {
    IStockUnusualEvent* const service = GetStockUnusualEvent();
    if (service == nullptr) {
      throw std::runtime_error("the service of market events cannot be made");
    }
    date_ = DayOf(options_.daily.date);
    const bool today = date_ == common::GetCurrentServerDate();
    service->FetchUnusualEvent(today ? 0 : date_, [this](const Events& events) {
      run_.loop().Post([this, events, time = common::GetCurrentServerTime()] { Show(events, time); });
    });
  }

  void Show(Events events, std::int64_t time) {
    if (events.empty()) {
      run_.loop().After(kUntilLogged, [this, time] { ShowNone(time); });
      return;
    }
    if (options_.last && *options_.last < events.size()) {
      events.resize(*options_.last);
    }
    if (options_.daily.query.json) {
      run_.output().WriteLine(JsonLine(events, date_, time));
    } else {
      run_.Print(EventTable(events));
    }
    if (options_.daily.date == 0) {
      run_.TellClosed(date_);
    }
    run_.Finish();
  }

  void ShowNone(std::int64_t time) {
    if (run_.Failed()) {
      run_.Fail();
    }
    if (options_.daily.query.json) {
      run_.output().WriteLine(JsonLine({}, date_, time));
    }
    Say(NoEventText(date_, time));
    run_.Finish();
  }

  const EventsOptions& options_;
  QueryRun run_;
  std::uint32_t date_ = 0;
};

}  // namespace

Runner SetUpEvents(Form& form) {
  const auto options = std::make_shared<EventsOptions>();
  AddDailyOptions(form, options->daily);
  form.Add(
      {.name = "--last", .help = "the newest so many", .take = Into(options->last, 1, 100000), .value = "N"});
  form.footer = kExamples;
  return [options] { return EventsQuery(*options).Run(); };
}

}  // namespace cli
