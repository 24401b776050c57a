// The course of a command that shows one day of a service whose key is a date. Main thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "cli/date_option.h"
#include "cli/format/china_time.h"
#include "cli/options.h"
#include "cli/plot_options.h"
#include "cli/query_run.h"
#include "cli/subscription.h"
#include "cli/trading_days.h"
#include "host/clock.h"

namespace cli {

struct DailyOptions {
  QueryOptions query;
  PlotOptions plot;
  std::uint32_t date = 0;  ///< 0: today
};

/// Adds --date and the options of every query.
inline void AddDailyOptions(Form& form, DailyOptions& options) {
  AddDateOption(form, options.date, "another day than today");
  AddQueryOptions(form, options.query);
}

/// The day that a query is about. Throws std::runtime_error when the one that was asked for has no figures.
inline std::uint32_t DayOf(std::uint32_t asked) {
  const std::int64_t now = common::GetCurrentServerTime();
  if (asked == 0) {
    return SessionDate(now);
  }
  if (const std::string why = WhyNoFigures(asked, now); !why.empty()) {
    throw std::runtime_error(why);
  }
  return asked;
}

/// Says why there is nothing of `date`, and ends the run as a failure.
inline void EndWithNothing(QueryRun& run, std::uint32_t date) {
  Say(NoFiguresText(date, common::GetCurrentServerTime()));
  run.Finish(kFailure);
}

/// Asks `service` once. `show` prints what arrived and returns whether there was anything in it.
template <class Data, class Service>
int RunDaily(
    const DailyOptions& options, const Feed& feed, Service* (*get)(),
    const std::function<bool(QueryRun& run, const Delivery<Data>& delivery, std::uint32_t date)>& show) {
  QueryRun run(options.query, feed);
  std::unique_ptr<Subscription<Service, Data>> subscription;
  return run.Run(QueryRun::First::kCalendar, [&](IStockCommon&) {
    Service* const service = get();
    if (service == nullptr) {
      throw std::runtime_error("the service cannot be made");
    }
    const std::uint32_t date = DayOf(options.date);
    subscription = std::make_unique<Subscription<Service, Data>>(
        *service, options.date, run.loop(), [&run, &show, &options, date](const Delivery<Data>& delivery) {
          if (!show(run, delivery, date)) {
            EndWithNothing(run, date);
            return;
          }
          if (options.date == 0) {
            run.TellClosed(date);
          }
          run.Finish();
        });
  });
}

}  // namespace cli
