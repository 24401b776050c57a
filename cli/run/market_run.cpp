#include "cli/run/market_run.h"

#include <unistd.h>

#include <cmath>
#include <utility>

#include "cli/run/terminal.h"

namespace cli {
namespace {

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(std::llround(seconds * 1000));
}

}  // namespace

std::chrono::milliseconds ShowOptions::Interval() const {
  return Milliseconds(interval);
}

MarketRun::MarketRun(const ShowOptions& options)
    : options_(options),
      output_(loop_, STDOUT_FILENO),
      palette_(WantsColour(STDOUT_FILENO, options.no_color)),
      session_(options.session, loop_, [this] { OnEvent(); }),
      context_{[this](std::function<void()> work) { loop_.Post(std::move(work)); }, [this] { OnChange(); },
               &session_.warnings(), options.Interval()} {}

void MarketRun::Load(Needs needs) {
  IStockCommon& reference = Made(GetStockCommon(), "stock_common");
  LoadReferenceData(session_.host(), reference, needs,
                    [this, &reference](bool loaded) { OnReference(reference, loaded); });
}

void MarketRun::Loop(std::chrono::milliseconds look) {
  loop_.Every(look, [this] { OnLook(); });
  loop_.Every(options_.Interval(), [this] { OnInterval(); });
  if (options_.seconds) {
    loop_.After(Milliseconds(*options_.seconds), [this] {
      timed_out_ = true;
      loop_.End();
    });
  }
  loop_.Run();
}

}  // namespace cli
