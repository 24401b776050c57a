// The course of a command that shows reference data once: session, load, one look, the end. Main thread only.
// A command that follows a feed has a LineRun instead.
#pragma once

#include <functional>
#include <string>

#include "c_stock_market.h"
#include "cli/format/palette.h"
#include "cli/format/table.h"
#include "cli/main_loop.h"
#include "cli/options.h"
#include "cli/output.h"
#include "cli/session.h"

namespace cli {

/// What a command looks at.
enum class Needs {
  kLists,     ///< everything but the calendar
  kCalendar,  ///< the holidays in the host's calendar, and nothing else
};

/// Loads the reference data and calls `done` on the main thread, with false when what is needed could not be
/// loaded within about ten seconds. Lists that fail at once are tried three times, a second apart, before
/// that is said; then they are tried every ten seconds as long as the loop runs, and `done` is called a
/// second time, with true, when they have come. The loop must outlive the module's services.
void LoadReferenceData(MainLoop& loop, IStockCommon& reference, Needs needs,
                       std::function<void(bool ok)> done);

/// One try at the lists, without another: `done` is called once.
void TryReferenceData(MainLoop& loop, IStockCommon& reference, std::function<void(bool ok)> done);

/// After the load of the lists was begun: calls `done` on the main thread when the calendar was answered,
/// too, with false when it could not be loaded within about ten seconds.
void AwaitCalendar(MainLoop& loop, std::function<void(bool ok)> done);

/// What went wrong with the requests of a load, for a person: "/pc/rt/get_bk_list: timed out".
[[nodiscard]] std::string LoadFailure();

/// The same, or what the module has to say of its answers.
[[nodiscard]] std::string NotLoadedReason(LogTail& log);

/// "cannot load the reference data from …", with the reason as far as it is known.
[[nodiscard]] std::string NotLoadedText(Session& session);

class ReferenceRun {
 public:
  explicit ReferenceRun(const QueryOptions& options);

  /// Loads, then calls `show` once. Returns what it returns, or the exit code of a failure.
  [[nodiscard]] int Run(Needs needs, const std::function<int(IStockCommon&)>& show);

  /// Header and rows.
  void Print(const Table& table);

  [[nodiscard]] Output& output() { return output_; }

 private:
  MainLoop loop_;
  Output output_;
  Palette palette_;
  Session session_;
};

}  // namespace cli
