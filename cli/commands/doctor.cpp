#include "cli/commands/commands.h"

#include <unistd.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "c_stock_market.h"
#include "cli/commands/options.h"
#include "cli/commands/server_examination.h"
#include "cli/format/china_time.h"
#include "cli/format/figures.h"
#include "cli/format/json_writer.h"
#include "cli/format/table.h"
#include "cli/run/main_loop.h"
#include "cli/run/output.h"
#include "cli/run/reference_load.h"
#include "cli/run/session.h"
#include "cli/run/terminal.h"
#include "cli/temporary_directory.h"
#include "cli/views/feed_health.h"
#include "host/clock.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

using stock_host::Finding;
using State = Finding::State;

constexpr const char* kDoctorExamples = R"(Examples:
  csm doctor                      settings, key, directories, and the configured server or a simulated one
  csm doctor --server URL         the same with that server
  csm doctor --json               for other programs

A line for each thing: ok, warning or FAILED, what was looked at and, when something is wrong, what to do. Then what the
requests of this look came to, endpoint by endpoint. The exit code is 1 when anything FAILED.)";

// In the order of the values.
constexpr std::string_view kStateNames[] = {"ok", "warning", "FAILED"};
constexpr std::string_view kConnectionNames[] = {"idle", "live", "failing", "no server"};

std::string_view NameOf(State state) {
  return kStateNames[static_cast<std::size_t>(state)];
}

std::string_view NameOf(stock_host::Connection connection) {
  return kConnectionNames[static_cast<std::size_t>(connection)];
}

struct FailureKind {
  const char* name;
  std::uint64_t stock_host::Failures::*count;
};
constexpr FailureKind kFailureKinds[] = {
    {"invalid", &stock_host::Failures::invalid},       {"connection", &stock_host::Failures::connection},
    {"security", &stock_host::Failures::security},     {"timeout", &stock_host::Failures::timeout},
    {"incomplete", &stock_host::Failures::incomplete}, {"status", &stock_host::Failures::status},
    {"too_large", &stock_host::Failures::too_large},   {"stopped", &stock_host::Failures::stopped},
};

class Report {
 public:
  Report(Output& output, const ShowOptions& options)
      : output_(output), json_(options.json), palette_(WantsColour(STDOUT_FILENO, options.no_color)) {}

  void Tell(const Finding& finding) {
    failed_ = failed_ || finding.state == State::kFailed;
    if (json_) {
      WriteObject([&](JsonWriter& json) {
        json.Member("check", finding.subject);
        json.Member("state", NameOf(finding.state));
        json.Member("text", finding.text);
        json.Member("advice", finding.advice);
      });
      return;
    }
    StyledLine line = {{Pad(NameOf(finding.state), 9, Align::kLeft),
                        finding.state == State::kGood ? Tone::kPlain : Tone::kWarning},
                       {Pad(finding.subject, 25, Align::kLeft), Tone::kStrong},
                       {Printable(finding.text)}};
    if (!finding.advice.empty()) {
      line.push_back({". What to do: " + Printable(finding.advice)});
    }
    output_.WriteLine(Render(line, palette_));
  }

  /// The last thing to be reported.
  void TellCounters(const stock_host::Counters& counters, stock_host::Connection connection) {
    complete_ = true;
    if (json_) {
      WriteCounters(counters, connection);
      return;
    }
    std::string failures;
    for (const FailureKind& kind : kFailureKinds) {
      if (counters.failures.*kind.count > 0) {
        failures += (failures.empty() ? " (" : ", ") + std::string(kind.name) + " " +
                    std::to_string(counters.failures.*kind.count);
      }
    }
    output_.WriteLine("\nconnection " + std::string(NameOf(connection)) + ", requests " +
                      std::to_string(counters.requests) + ", failed " + std::to_string(counters.failed) +
                      failures + (failures.empty() ? "" : ")") + ", KiB " +
                      Fixed(static_cast<double>(counters.bytes_received) / 1024, 1) + ", connections " +
                      std::to_string(counters.connections));
    if (counters.endpoints.empty()) {
      return;
    }
    Table table({{"endpoint"},
                 {"requests", Align::kRight},
                 {"ok", Align::kRight},
                 {"failed", Align::kRight},
                 {"KiB", Align::kRight},
                 {"answer ms", Align::kRight},
                 {"age s", Align::kRight},
                 {"last success"},
                 {"last failure"}});
    for (const auto& [name, one] : counters.endpoints) {
      const bool ever = one.succeeded > 0;
      table.Add({{Printable(name)},
                 {std::to_string(one.requests)},
                 {std::to_string(one.succeeded)},
                 {std::to_string(one.failed)},
                 {Fixed(static_cast<double>(one.bytes_received) / 1024, 1)},
                 {ever ? Fixed(one.answer_seconds * 1000, 1) : kNoFigure},
                 {ever ? Fixed(one.success_age, 1) : kNoFigure},
                 {ever ? DateAndTime(one.last_success) : kNoFigure},
                 {Printable(one.last_error)}});
    }
    output_.Write(TextOf(table.Lines(), palette_));
  }

  [[nodiscard]] bool failed() const { return failed_; }
  /// False when the look was broken off.
  [[nodiscard]] bool is_complete() const { return complete_; }

 private:
  void WriteCounters(const stock_host::Counters& counters, stock_host::Connection connection) {
    WriteObject([&](JsonWriter& json) {
      json.Member("connection", NameOf(connection));
      json.Member("requests", counters.requests);
      json.Member("succeeded", counters.succeeded);
      json.Member("failed", counters.failed);
      json.Member("bytes_received", counters.bytes_received);
      json.Member("connections", counters.connections);
      json.Key("failures");
      json.Object([&] {
        for (const FailureKind& kind : kFailureKinds) {
          json.Member(kind.name, counters.failures.*kind.count);
        }
      });
    });
    for (const auto& [name, one] : counters.endpoints) {
      WriteObject([&, &name = name, &one = one](JsonWriter& json) {
        json.Member("endpoint", name);
        json.Member("requests", one.requests);
        json.Member("succeeded", one.succeeded);
        json.Member("failed", one.failed);
        json.Member("bytes_received", one.bytes_received);
        json.Member("last_success", one.last_success);
        json.Member("success_age", one.success_age);
        json.Member("answer_seconds", one.answer_seconds);
        json.Member("last_error", one.last_error);
      });
    }
  }

  template <class Members>
  void WriteObject(const Members& members) {
    JsonWriter json;
    json.Object([&] { members(json); });
    output_.WriteLine(json.Text());
  }

  Output& output_;
  const bool json_;
  const Palette palette_;
  bool failed_ = false;
  bool complete_ = false;
};

// Of the look alone: the user's own directories may be what is wrong.
stock_host::Settings InDirectory(stock_host::Settings settings, const TemporaryDirectory& directory) {
  settings.data_directory = directory.path() + "/data";
  settings.log_directory = directory.path() + "/log";
  settings.config_directory = directory.path() + "/config";
  settings.log_level = "info";
  settings.log_to_stderr = false;
  return settings;
}

void Finish(MainLoop& loop, Report& report) {
  report.TellCounters(stock_host::ReadCounters(), stock_host::ConnectionState());
  loop.End();  // nothing is written any more
}

void ExamineReferenceData(MainLoop& loop, HostServices& host, Report& report) {
  IStockCommon* const reference = GetStockCommon();
  if (reference == nullptr) {
    report.Tell({State::kFailed, "reference data", "the service cannot be made", "look at the program log"});
    Finish(loop, report);
    return;
  }
  TryReferenceData(host, *reference, [&loop, &host, &report, reference](bool loaded) {
    if (loaded) {
      report.Tell({State::kGood,
                   "reference data",
                   std::to_string(reference->GetStockList(1).size()) + " stocks, " +
                       std::to_string(reference->GetPlateList(1).size() + reference->GetPlateList(2).size()) +
                       " plates",
                   {}});
    } else {
      report.Tell({State::kFailed, "reference data", "not loaded: " + NotLoadedReason(host.warnings()),
                   "the lines above and the table below say what failed"});
    }
    AwaitCalendar(host, [&loop, &report](bool known) {
      const std::string now = DateAndTime(common::GetCurrentServerTime()) + ", " + PhaseName(CurrentPhase());
      if (known) {
        report.Tell({State::kGood, "phase", now, {}});
      } else {
        report.Tell({State::kWarning, "phase", now + "; the holidays are not known, only weekends",
                     "look at /pc/rt/trade_date in the table below"});
      }
      Finish(loop, report);
    });
  });
}

int Examine(const ShowOptions& options) {
  MainLoop loop;
  Output output(loop, STDOUT_FILENO);
  Report report(output, options);
  for (const Finding& finding : stock_host::ExamineSetup()) {
    report.Tell(finding);
  }

  stock_host::Settings settings = stock_host::LoadSettings();
  ExaminedServer server{settings.api_root, settings.proxy, {}, false};
  std::unique_ptr<market_server::Server> simulation;
  if (!options.session.server.empty()) {
    server.url = options.session.server;
    settings.static_root.clear();
    settings.history_root.clear();
  } else if (server.url.empty()) {
    simulation = std::make_unique<market_server::Server>(options.session.simulation);
    simulation->Start();
    server = {simulation->url(), {}, {}, true};
    settings = {};
    settings.key_id = simulation->key_id();
    settings.key = simulation->key();
  }
  settings.api_root = server.url;
  if (settings.key.empty() || settings.key_id.empty()) {
    settings.key.clear();  // what is missing was reported above
    settings.key_id.clear();
  }
  server.key_id = settings.key_id;

  const TemporaryDirectory directory;
  std::optional<HostServices> services;
  try {
    services.emplace(InDirectory(settings, directory), loop);
  } catch (const std::runtime_error& error) {
    report.Tell({State::kFailed, "services", error.what(), "correct it; the server was not looked at"});
    return kFailure;
  }
  std::jthread requests([&] {
    const bool reached = ExamineServer(
        server, [&](const Finding& finding) { loop.Post([&report, finding] { report.Tell(finding); }); });
    loop.Post([&, reached] {
      if (reached && !server.key_id.empty()) {
        ExamineReferenceData(loop, *services, report);
      } else {
        Finish(loop, report);
      }
    });
  });
  loop.Run();
  services.reset();  // a request that is still waited for comes to its end
  requests.join();
  return report.is_complete() && !report.failed() ? kFine : kFailure;
}

}  // namespace

Runner SetUpDoctor(Form& form) {
  const auto options = std::make_shared<ShowOptions>();
  AddMarketOptions(form, options->session);
  AddOutputOptions(form, *options);
  form.footer = kDoctorExamples;
  return [options] { return Examine(*options); };
}

}  // namespace cli
