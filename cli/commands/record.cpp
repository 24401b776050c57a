#include "cli/commands/record.h"

#include <CLI/Error.hpp>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/application.h"
#include "cli/format/text.h"
#include "cli/main_loop.h"
#include "cli/options.h"
#include "cli/output.h"
#include "cli/session.h"
#include "cli/usual_services.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

constexpr const char* kExamples = R"(Examples:
  csm record DIR                              all services with their usual keys, until Ctrl-C
  csm record DIR --for 600 --server URL       ten minutes of a real server
  csm record DIR index --count 5              what one command asks
  csm index --replay DIR                      and once more, without a server

DIR must be missing, empty or hold a record, which is continued. Neither key nor signature is ever kept. A command and its
options stand behind everything else.)";

struct RecordOptions {
  std::string directory;
  std::optional<double> seconds;
  double interval = 3;
  SessionOptions session;
  std::vector<std::string> command;  // that is to be recorded, with its options; empty: all services
};

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(std::llround(seconds * 1000));
}

void RecordUsualServices(const RecordOptions& options) {
  MainLoop loop;
  const Session session(options.session);
  Say("recording " + session.server_text() + "; Ctrl-C ends it");
  const UsualServices services(loop);
  loop.Every(Milliseconds(options.interval), [&services] { services.Refresh(); });
  if (options.seconds) {
    loop.After(Milliseconds(*options.seconds), [&loop] { loop.End(); });
  }
  loop.Run();
}

// What `record` itself was told, save for how long, would not reach the command.
void RefuseMisplaced(const CLI::App& app, const std::string& command) {
  for (const CLI::Option* const option : app.get_options()) {
    if (option->count() > 0 && !option->check_name("--for") && !option->check_name("DIR")) {
      throw CLI::ValidationError(option->get_name(), "belongs behind the command: csm record DIR " + command +
                                                         " " + option->get_name());
    }
  }
}

// What stands behind the options of `record`, as a command line of its own.
std::vector<std::string> CommandOf(const CLI::App& app, const RecordOptions& options) {
  static constexpr std::string_view kNotThese[] = {"record", "serve", "doctor"};
  std::vector<std::string> command = app.remaining();
  if (command.empty()) {
    return command;
  }
  if (command.front().rfind('-', 0) == 0) {
    throw CLI::ExtrasError("record", {command.front()});
  }
  if (std::find(std::begin(kNotThese), std::end(kNotThese), command.front()) != std::end(kNotThese)) {
    throw CLI::ValidationError("csm " + command.front(), "cannot be recorded");
  }
  RefuseMisplaced(app, command.front());
  if (options.seconds) {
    command.insert(command.begin() + 1, {"--for", std::to_string(*options.seconds)});
  }
  return command;
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
  if (options.command.empty()) {
    RecordUsualServices(options);
  } else {
    code = RecordCommand(options.command);
  }
  const stock_host::Counters counters = stock_host::ReadCounters();
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

Runner SetUpRecord(CLI::App& app) {
  const auto options = std::make_shared<RecordOptions>();
  app.add_option("DIR", options->directory, "directory of the record")->required();
  AddMarketOptions(app, options->session);
  AddForOption(app, options->seconds);
  AddIntervalOption(app, options->interval);
  app.prefix_command();
  app.footer(kExamples);
  app.final_callback([&app, options] { options->command = CommandOf(app, *options); });
  return [options] { return Record(*options); };
}

}  // namespace cli
