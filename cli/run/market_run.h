// What every run of csm that shows the market has in common: the loop, standard output, the session, and what
// views stand on; the reference data, the interval, and the end after a while. The only bridge from other
// threads to the loop. Main thread only.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "cli/format/table.h"
#include "cli/plot/axes.h"
#include "cli/run/main_loop.h"
#include "cli/run/output.h"
#include "cli/run/reference_load.h"
#include "cli/run/session.h"
#include "cli/views/view.h"

namespace cli {

struct ShowOptions {
  SessionOptions session;
  bool json = false;
  bool csv = false;
  bool no_color = false;
  std::optional<ChartSize> chart;      ///< a chart instead of a table
  std::optional<double> seconds;       ///< ends after so long
  std::optional<std::uint64_t> count;  ///< ends after so many updates
  double interval = 3;                 ///< seconds between two requests

  [[nodiscard]] std::chrono::milliseconds Interval() const;
};

using Views = std::vector<std::unique_ptr<View>>;

class MarketRun {
 public:
  MarketRun(const MarketRun&) = delete;
  MarketRun& operator=(const MarketRun&) = delete;

 protected:
  explicit MarketRun(const ShowOptions& options);
  virtual ~MarketRun() = default;

  /// Loads what is needed; `OnReference` is called as `LoadReferenceData` says.
  void Load(Needs needs);
  /// Runs the loop until something ends it, at the latest when the options' time is up.
  void Loop(std::chrono::milliseconds look);

  virtual void OnReference(IStockCommon& reference, bool loaded) = 0;
  /// An exchange ended, or a warning was written.
  virtual void OnEvent() {}
  /// Every `look`, for what changes by itself.
  virtual void OnLook() {}
  /// At the options' interval.
  virtual void OnInterval() {}
  /// Something is to be drawn anew.
  virtual void OnChange() {}

  const ShowOptions options_;
  MainLoop loop_;
  Output output_;
  const Palette palette_;
  Session session_;
  const ViewContext context_;
  bool timed_out_ = false;  // the options' time was up
};

}  // namespace cli
