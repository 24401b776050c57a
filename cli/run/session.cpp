#include "cli/run/session.h"

#include <atomic>
#include <stdexcept>
#include <utility>
#include <vector>

#include "c_stock_market.h"
#include "cli/format/text.h"

namespace cli {
namespace {

std::string& RecordDirectory() {
  static std::string* const directory = new std::string;
  return *directory;
}

}  // namespace

void RecordSessions(const std::string& directory) {
  RecordDirectory() = directory;
}

struct HostServices::Events {
  // On the loop.
  void HandOut() {
    is_posted = false;
    if (on_event) {
      on_event();
    }
    std::erase_if(waiting, [](const std::function<bool()>& is_over) { return is_over(); });
    is_awaited = !waiting.empty();
  }

  Warnings warnings;
  std::atomic<bool> is_posted{false};
  std::atomic<bool> is_awaited{false};  // somebody waits
  std::function<void()> on_event;
  std::vector<std::function<bool()>> waiting;
};

HostServices::HostServices(const stock_host::Settings& settings, Schedule& loop,
                           std::function<void()> on_event)
    : loop_(loop), events_(std::make_shared<Events>()) {
  events_->on_event = std::move(on_event);
  stock_host::SetListener(
      [&loop, events = events_.get(), weak = std::weak_ptr<Events>(events_)](const stock_host::Event& event) {
        if (event.kind == stock_host::Event::Kind::kWarning) {
          events->warnings.Add(event.text);
        }
        const bool is_news = event.kind != stock_host::Event::Kind::kHandedOver || events->is_awaited;
        if (is_news && !events->is_posted.exchange(true)) {
          loop.Post([weak] {
            if (const auto alive = weak.lock()) {
              alive->HandOut();
            }
          });
        }
      });
  std::string error;
  if (!stock_host::Start(settings, error)) {
    stock_host::SetListener({});
    throw std::runtime_error(error);
  }
}

HostServices::~HostServices() {
  DestroyStockMarket();
  stock_host::Stop();
  stock_host::SetListener({});
}

const Warnings& HostServices::warnings() const {
  return events_->warnings;
}

void HostServices::Until(std::function<bool()> is_over) {
  events_->is_awaited = true;  // before the look, so that nothing is missed
  if (!is_over()) {
    events_->waiting.push_back(std::move(is_over));
  }
}

bool Session::IsRecorded() {
  return !RecordDirectory().empty();
}

Session::Session(const SessionOptions& options, Schedule& loop, std::function<void()> on_event) {
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
    badge_ = "REPLAY";
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
    badge_ = "SIMULATED";
  } else {
    settings.api_root = options.server;
    server_text_ = settings.api_root;
  }
  host_ = std::make_unique<HostServices>(settings, loop, std::move(on_event));
  const bool needs_key = options.has_server && options.replay.empty();
  if (needs_key && (settings.key_id.empty() || settings.key.empty())) {
    const std::string first = warnings().All().first;
    throw std::runtime_error(
        "no key to sign requests with: set CSM_KEY_ID and CSM_KEY, or name a key file in CSM_KEY_FILE" +
        (first.empty() ? "" : " (" + first + ")"));
  }
}

void Session::UseTemporaryDirectory(stock_host::Settings& settings) {
  directory_ = std::make_unique<TemporaryDirectory>();
  settings.data_directory = directory_->path() + "/data";
  settings.log_directory = directory_->path() + "/log";
  settings.log_level = "info";
}

}  // namespace cli
