#include "cli/commands/live.h"

#include <unistd.h>

#include <memory>

#include "cli/commands/index.h"
#include "cli/options.h"
#include "cli/screen/live_run.h"

namespace cli {
namespace {

constexpr double kSecondsWithoutTerminal = 10;

}  // namespace

Runner SetUpLive(Form& form) {
  const auto options = std::make_shared<WatchOptions>();
  AddWatchOptions(form, *options);
  return [options] {
    if (isatty(STDOUT_FILENO) != 1 && !options->seconds) {
      options->seconds = kSecondsWithoutTerminal;
    }
    return options->json || options->count || !CanShowLiveScreen() ? PrintIndices(*options)
                                                                   : RunLiveScreen(*options);
  };
}

}  // namespace cli
