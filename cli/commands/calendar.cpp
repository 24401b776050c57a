#include "cli/commands/calendar.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/format/record_json.h"
#include "cli/format/table.h"
#include "cli/options.h"
#include "cli/reference_run.h"
#include "cli/trading_days.h"
#include "host/clock.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm calendar            this year, month by month
  csm calendar --json     one JSON line with every holiday
  csm calendar 2030       another year; only this year's holidays are known

A holiday is a day from Monday to Friday without trading.)";

constexpr std::int64_t kDay = 86400;

struct CalendarOptions {
  QueryOptions query;
  std::uint32_t year = 0;  // 0: this year
};

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

std::string JsonLine(std::uint32_t year, const std::vector<Month>& months) {
  JsonWriter json;
  BeginJsonLine(json, "calendar", std::to_wstring(year), common::GetCurrentServerTime());
  json.BeginArray();
  for (const Month& month : months) {
    json.BeginObject();
    json.Key("month");
    json.Value(month.number);
    json.Key("trading_days");
    json.Value(std::int64_t{month.trading_days});
    json.Key("holidays");
    json.BeginArray();
    for (const std::uint32_t date : month.holidays) {
      json.Value(date);
    }
    json.EndArray();
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  return json.Text();
}

std::string TwoDigits(std::uint32_t number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

Table TableOf(const std::vector<Month>& months) {
  Table table({{"month"}, {"trading days", Align::kRight}, {"holidays"}});
  for (const Month& month : months) {
    std::string days;
    for (const std::uint32_t date : month.holidays) {
      days += (days.empty() ? "" : " ") + TwoDigits(date % 100);
    }
    table.Add({{std::to_string(month.number / 100) + "-" + TwoDigits(month.number % 100)},
               {std::to_string(month.trading_days)},
               {days}});
  }
  return table;
}

int PrintCalendar(const CalendarOptions& options) {
  ReferenceRun run(options.query);
  return run.Run(Needs::kCalendar, [&](IStockCommon&) {
    const std::uint32_t this_year = common::GetCurrentServerDate() / 10000;
    const std::uint32_t year = options.year == 0 ? this_year : options.year;
    const std::vector<Month> months = MonthsOf(year);
    if (options.query.json) {
      run.output().WriteLine(JsonLine(year, months));
    } else {
      run.Print(TableOf(months));
    }
    int trading_days = 0;
    for (const Month& month : months) {
      trading_days += month.trading_days;
    }
    Say(std::to_string(trading_days) + " trading days in " + std::to_string(year));
    if (year != this_year) {
      Say("the holidays of " + std::to_string(year) + " are not known, only its weekends");
    }
    return kFine;
  });
}

}  // namespace

Runner SetUpCalendar(Form& form) {
  const auto options = std::make_shared<CalendarOptions>();
  form.Add({.name = "YEAR",
            .help = "another year than this one",
            .take = Into(options->year, 1990, 2099),
            .value = "UINT:UINT in [1990 - 2099]"});
  AddQueryOptions(form, options->query);
  form.footer = kExamples;
  return [options] { return PrintCalendar(*options); };
}

}  // namespace cli
