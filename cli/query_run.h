// The course of a command that asks one service once: session, reference data if it needs them, question,
// answer, the end. Main thread only. A command that looks at reference data has a ReferenceRun, one that
// follows a feed a LineRun.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "c_stock_market.h"
#include "cli/command.h"
#include "cli/format/palette.h"
#include "cli/format/table.h"
#include "cli/line_run.h"
#include "cli/main_loop.h"
#include "cli/options.h"
#include "cli/output.h"
#include "cli/session.h"

namespace cli {

class QueryRun {
 public:
  /// What has to be there before the question.
  enum class First {
    kNothing,
    kCalendar,  ///< holidays, as far as the server tells them
    kLists,     ///< stocks, indices, plates and the versions of K-line packages
  };

  QueryRun(const QueryOptions& options, const Feed& feed);

  /// Calls `ask` as soon as `first` is there, then waits until somebody calls `Finish`. Returns an exit code.
  /// When it is certain that no answer will come, throws std::runtime_error with the reason. What `ask`
  /// throws ends the run, too.
  [[nodiscard]] int Run(First first, std::function<void(IStockCommon& reference)> ask);

  /// Ends the run.
  void Finish(ExitCode code = kFine);

  /// What else may explain that no answer comes; called at most once, when nothing is known to have failed.
  void SetExplanation(std::function<std::string()> explain) { explain_ = std::move(explain); }

  /// True when something has gone wrong with the feed since the question.
  [[nodiscard]] bool Failed();
  /// Throws std::runtime_error with what went wrong.
  [[noreturn]] void Fail();

  /// Says so when the market is closed, or has not begun today, and what day's figures are shown.
  void TellClosed(std::uint32_t session_date) const;

  /// Header and rows.
  void Print(const Table& table);
  void Print(const std::vector<StyledLine>& lines);

  [[nodiscard]] MainLoop& loop() { return loop_; }
  [[nodiscard]] Output& output() { return output_; }

 private:
  using Clock = std::chrono::steady_clock;

  void Ask(IStockCommon& reference);
  void Watch();

  const Feed feed_;
  MainLoop loop_;
  Output output_;
  Palette palette_;
  Session session_;
  std::function<void(IStockCommon&)> ask_;
  std::function<std::string()> explain_;
  std::uint64_t failures_before_ = 0;
  std::uint64_t warnings_before_ = 0;
  Clock::time_point quiet_since_;
  ExitCode result_ = kFailure;
};

}  // namespace cli
