#include "cli/commands/commands.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "cli/commands/options.h"
#include "cli/format/table.h"
#include "cli/run/main_loop.h"
#include "cli/run/output.h"
#include "cli/temporary_directory.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"

namespace cli {
namespace {

constexpr const char* kServeExamples = R"(Examples:
  csm serve                                    on a free port of this machine
  csm serve --port 8080 --access-log -         a line for every answer, on standard error
  csm serve --clock 09:10 --speed 60           a trading day in six minutes
  csm serve --scenario crash --seed 7          another day
  csm serve --faults 'errno::0.5'              every second answer carries an error number
  csm serve --list                             scenarios and faults

The first lines of the output say where the server listens and how a client gets the key; then comes "ready".
Ctrl-C or SIGTERM ends the server.)";

struct ServeOptions {
  market_server::Options server;
  bool unsigned_too = false;
  bool list = false;
};

constexpr int kLastPort = 65535;

bool IsLoopback(const std::string& address) {
  return address.rfind("127.", 0) == 0 || address == "::1" || address == "localhost";
}

// A key file as clients read it, for this user alone.
std::string WriteKeyFile(const TemporaryDirectory& directory, const market_server::Server& server) {
  std::string path = directory.path() + "/key";
  std::ofstream file(path);  // in a directory for this user alone
  file << "key_id = " << server.key_id() << "\nkey = " << server.key() << std::endl;
  if (!file) {
    throw std::runtime_error("cannot write the key file \"" + path + "\"");
  }
  std::filesystem::permissions(path,
                               std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  return path;
}

void List(Output& output) {
  const Palette palette(false);
  const auto print = [&](const char* title, const Table& table) {
    output.WriteLine(title);
    for (const StyledLine& row : table.Rows()) {
      output.WriteLine("  " + Render(row, palette));
    }
  };
  Table scenarios({{"name"}, {"summary"}});
  for (const market_server::ScenarioInfo& scenario : market_server::Scenarios()) {
    scenarios.Add({{scenario.name}, {scenario.summary}});
  }
  print("Scenarios (--scenario NAME)", scenarios);
  Table faults({{"name"}, {"stage"}, {"arguments"}, {"summary"}});
  for (const market_server::FaultInfo& fault : market_server::Faults()) {
    faults.Add({{fault.name}, {fault.stage}, {fault.arguments}, {fault.summary}});
  }
  print("\nFaults (--faults name[:endpoint[:probability[:arguments]]])", faults);
}

int Serve(const ServeOptions& options) {
  MainLoop loop;
  Output output(loop, STDOUT_FILENO);
  if (options.list) {
    List(output);
    return kFine;
  }
  market_server::Options server_options = options.server;
  server_options.check_signatures = !options.unsigned_too;
  // With a key of the user's own, clients of the same user need to be told nothing.
  const stock_host::Settings settings = stock_host::LoadSettings();
  const bool has_key = !settings.key_id.empty() && !settings.key.empty();
  if (has_key) {
    server_options.keys = {{settings.key_id, settings.key}};
  }
  if (!IsLoopback(server_options.bind)) {
    Say("warning: " + server_options.bind + " may be reached from other machines");
  }

  market_server::Server server(server_options);
  server.Start();
  output.WriteLine("listening on " + server.url());
  if (server.control_port() != 0) {
    output.WriteLine("control on 127.0.0.1:" + std::to_string(server.control_port()));
  }
  std::unique_ptr<TemporaryDirectory> directory;
  if (has_key) {
    output.WriteLine("key " + settings.key_id + " (configured); a client: csm --server " + server.url());
  } else {
    directory = std::make_unique<TemporaryDirectory>();
    output.WriteLine("key of this run; a client: CSM_KEY_FILE=" + WriteKeyFile(*directory, server) +
                     " csm --server " + server.url());
  }
  output.WriteLine("ready");
  loop.Run();
  server.Stop();
  return kFine;
}

}  // namespace

Runner SetUpServe(Form& form) {
  const auto options = std::make_shared<ServeOptions>();
  market_server::Options& server = options->server;
  form.Add("--port PORT", "port to listen on; 0: any free one", Into(server.port, 0, kLastPort)).standard =
      std::to_string(server.port);
  form.Add("--bind ADDRESS", "address to listen on; any but this one is open to other machines",
           Into(server.bind))
      .standard = server.bind;
  form.Add("--tls-cert FILE", "certificate chain (PEM): HTTPS instead of HTTP", Into(server.tls_cert))
      .needs = {"--tls-key"};
  form.Add("--tls-key FILE", "its private key (PEM)", Into(server.tls_key)).needs = {"--tls-cert"};
  form.Add("--access-log FILE", "file for a line per answer, - for standard error", Into(server.access_log));
  form.Add("--control-port PORT",
           "port on 127.0.0.1 where faults and clock can be changed; 0: any free one. Default: none",
           Into(server.control_port, 0, kLastPort));
  form.AddFlag("--unsigned", "answer requests without a signature, too", options->unsigned_too);
  form.AddFlag("--list", "list the scenarios and faults, and end", options->list);
  AddSimulationOptions(form, server);
  form.footer = kServeExamples;
  return [options] { return Serve(*options); };
}

}  // namespace cli
