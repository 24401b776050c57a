#include "cli/session.h"

#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "c_stock_market.h"
#include "cli/format/text.h"
#include "host_services/stock_host.h"

namespace cli {
namespace {

// Where the log is when the settings leave it to the default. Named here because the log is read here, too.
std::string DefaultLogDirectory() {
  const char* const state = std::getenv("XDG_STATE_HOME");
  if (state != nullptr && *state == '/') {
    return std::string(state) + "/csm";
  }
  const char* const home = std::getenv("HOME");
  return home != nullptr && *home == '/' ? std::string(home) + "/.local/state/csm" : std::string();
}

std::string& RecordDirectory() {
  static std::string* const directory = new std::string;
  return *directory;
}

}  // namespace

void RecordSessions(const std::string& directory) {
  RecordDirectory() = directory;
}

struct Session::HostServices {
  explicit HostServices(const stock_host::Settings& settings) {
    std::string error;
    if (!stock_host::Start(settings, error)) {
      throw std::runtime_error(error);
    }
  }
  ~HostServices() { stock_host::Stop(); }
  HostServices(const HostServices&) = delete;
  HostServices& operator=(const HostServices&) = delete;
};

struct Session::Services {
  Services() = default;
  ~Services() { DestroyStockMarket(); }
  Services(const Services&) = delete;
  Services& operator=(const Services&) = delete;
};

Session::Session(const SessionOptions& options) {
  stock_host::Settings settings = stock_host::LoadSettings();
  settings.static_root.clear();
  settings.history_root.clear();
  settings.log_to_stderr = false;
  if (options.has_server) {
    settings.record_directory = RecordDirectory();
  }
  if (!options.has_server) {
    UseTemporaryDirectory(settings);
    settings.api_root.clear();
    server_text_ = "no server";
  } else if (!options.replay.empty()) {
    UseTemporaryDirectory(settings);
    settings.replay_directory = options.replay;
    settings.replay_speed = options.simulation.speed;
    server_text_ = "the record in " + Printable(options.replay);
  } else if (options.server.empty()) {
    UseTemporaryDirectory(settings);
    simulation_ = std::make_unique<market_server::Server>(options.simulation);
    simulation_->Start();
    settings.api_root = simulation_->url();
    settings.key_id = simulation_->key_id();
    settings.key = simulation_->key();
    settings.proxy.clear();
    settings.ca_file.clear();
    server_text_ = settings.api_root + " (simulated market)";
  } else {
    settings.api_root = options.server;
    if (settings.log_directory.empty()) {
      settings.log_directory = DefaultLogDirectory();
    }
    server_text_ = settings.api_root;
  }
  log_ = std::make_unique<LogTail>(settings.log_directory + "/csm.log");
  host_ = std::make_unique<HostServices>(settings);
  if (!options.has_server) {
    return;
  }
  if (!options.replay.empty()) {
    services_ = std::make_unique<Services>();
    return;
  }
  if (settings.key_id.empty() || settings.key.empty()) {
    log_->Poll();
    throw std::runtime_error(
        "no key to sign requests with: set CSM_KEY_ID and CSM_KEY, or name a key file in CSM_KEY_FILE" +
        (log_->first().empty() ? "" : " (" + log_->first() + ")"));
  }
  services_ = std::make_unique<Services>();
}

Session::~Session() = default;

void Session::UseTemporaryDirectory(stock_host::Settings& settings) {
  directory_ = std::make_unique<TemporaryDirectory>();
  settings.data_directory = directory_->path() + "/data";
  settings.log_directory = directory_->path() + "/log";
  settings.log_level = "info";
}

}  // namespace cli
