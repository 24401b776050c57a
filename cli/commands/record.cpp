#include "cli/commands/commands.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/application.h"
#include "cli/commands/options.h"
#include "cli/format/text.h"
#include "cli/run/market_run.h"
#include "cli/screen/live_run.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

constexpr const char* kRecordExamples = R"(Examples:
  csm record DIR                              on a terminal: the live screen, and what it shows
  csm record DIR | cat                        elsewhere: all services with their usual keys, until Ctrl-C
  csm record DIR --for 600 --server URL       ten minutes of a real server
  csm record DIR index --count 5              what one command asks
  csm index --replay DIR                      and once more, without a server

DIR must be missing, empty or hold a record, which is continued. Neither key nor signature is ever kept. A command and its
options stand after everything else.)";

struct RecordOptions {
  std::string directory;
  ShowOptions show;
  std::vector<std::string> command;  // that is to be recorded, with its options; empty: all services
};

// A client that shows everything at once and looks at nothing.
class Recording final : public MarketRun {
 public:
  explicit Recording(const ShowOptions& options) : MarketRun(options) {}

  void Run() {
    Note("recording " + session_.server_text() + "; Ctrl-C ends it");
    Load(Needs::kLists);
    Loop(options_.Interval());
  }

 private:
  void OnReference(IStockCommon& reference, bool /*loaded*/) override {
    views_ = UsualViews(context_, reference);
    for (const auto& view : views_) {
      view->Show();
    }
  }
  void OnInterval() override {
    for (const auto& view : views_) {
      if (!view->PollsItself() && !view->IsAskedOnce()) {
        view->Refresh();
      }
    }
  }

  Views views_;
};

// What stands after the options of `record`, as a whole command line. What was given to `record` itself,
// save for how long, would not reach it.
std::vector<std::string> CommandOf(std::vector<std::string> rest, const std::vector<std::string>& given,
                                   const RecordOptions& options) {
  static constexpr std::string_view kNotThese[] = {"record", "serve", "doctor"};
  static constexpr std::string_view kIts[] = {"DIR", "--for"};
  if (rest.empty()) {
    return rest;
  }
  const std::string& command = rest.front();
  if (command.rfind('-', 0) == 0) {
    throw UsageError("The following argument was not expected: " + command);
  }
  if (std::find(std::begin(kNotThese), std::end(kNotThese), command) != std::end(kNotThese)) {
    throw UsageError("csm " + command + ": cannot be recorded");
  }
  const auto options_begin = rest.begin() + static_cast<std::ptrdiff_t>(CommandWords(Commands(), rest));
  for (const std::string& name : given) {
    if (std::find(std::begin(kIts), std::end(kIts), name) == std::end(kIts)) {
      std::string path = "csm record DIR";
      std::for_each(rest.begin(), options_begin, [&](const std::string& word) { path += " " + word; });
      throw UsageError(name + ": belongs after the command: " + path + " " + name);
    }
  }
  if (options.show.seconds) {
    rest.insert(options_begin, {"--for", std::to_string(*options.show.seconds)});
  }
  return rest;
}

int RecordCommand(const std::vector<std::string>& command) {
  std::vector<const char*> arguments = {"csm"};
  for (const std::string& argument : command) {
    arguments.push_back(argument.c_str());
  }
  return RunApplication(static_cast<int>(arguments.size()), arguments.data());
}

int Record(const RecordOptions& options) {
  RecordSessions(options.directory);
  int code = kFine;
  if (options.command.empty() && CanShowLiveScreen()) {
    code = RunLiveScreen(options.show);
  } else if (options.command.empty()) {
    Recording(options.show).Run();
  } else {
    code = RecordCommand(options.command);
  }
  const stock_host::Counters counters = stock_host::ReadCounters();
  if (code == kFine && counters.requests > 0 && counters.succeeded == 0) {
    Say("the record in " + Printable(options.directory) +
        " is of no use, no request was answered: " + LoadFailure());
    return kFailure;
  }
  if (code != kUsage) {
    Say(std::to_string(counters.recorded) + " exchanges recorded in " + Printable(options.directory));
  }
  if (!counters.recording_failure.empty()) {
    Say("the record is not complete: " + Printable(counters.recording_failure));
    return kFailure;
  }
  return code;
}

}  // namespace

Runner SetUpRecord(Form& form) {
  const auto options = std::make_shared<RecordOptions>();
  form.Add("DIR", "directory of the record", Into(options->directory)).is_required = true;
  AddMarketOptions(form, options->show.session);
  AddForOption(form, options->show.seconds);
  AddIntervalOption(form, options->show.interval);
  form.take_rest = [options = options.get()](const std::vector<std::string>& rest,
                                             const std::vector<std::string>& given) {
    options->command = CommandOf(rest, given, *options);
  };
  form.footer = kRecordExamples;
  return [options] { return Record(*options); };
}

}  // namespace cli
