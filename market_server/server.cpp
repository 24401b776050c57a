// The server put together: market, clock, faults, service and listeners, and the threads that run them.
#include <openssl/rand.h>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/thread_pool.hpp>

#include <algorithm>
#include <chrono>
#include <future>
#include <map>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "market_server/access_log.h"
#include "market_server/clock.h"
#include "market_server/control.h"
#include "market_server/faults.h"
#include "market_server/http/listener.h"
#include "market_server/market_server.h"
#include "market_server/model/market.h"
#include "market_server/service.h"
#include "market_server/signing.h"

namespace market_server {
namespace {

namespace asio = boost::asio;

constexpr std::string_view kControlAddress = "127.0.0.1";
constexpr std::size_t kWorkers = 2;

std::string RandomHex(std::size_t bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::vector<unsigned char> random(bytes);
  if (RAND_bytes(random.data(), static_cast<int>(bytes)) != 1) {
    throw std::runtime_error("the system gives no random numbers for a key");
  }
  std::string text;
  for (const unsigned char byte : random) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 15]);
  }
  return text;
}

model::Scenario ReadScenario(const std::string& name) {
  if (name.empty()) return model::Scenario::kNone;
  const auto scenario = model::ScenarioNamed(name);
  if (!scenario) {
    std::string known;
    for (const std::string_view other : model::ScenarioNames()) known += " " + std::string(other);
    throw std::runtime_error("there is no scenario \"" + name + "\"; there are:" + known);
  }
  return *scenario;
}

std::unique_ptr<asio::ssl::context> MakeTls(const std::string& certificate, const std::string& key) {
  if (certificate.empty() && key.empty()) return nullptr;
  if (certificate.empty() || key.empty()) {
    throw std::runtime_error("HTTPS needs both a certificate and its private key");
  }
  auto context = std::make_unique<asio::ssl::context>(asio::ssl::context::tls_server);
  boost::system::error_code error;
  context->set_options(asio::ssl::context::default_workarounds | asio::ssl::context::no_tlsv1 |
                       asio::ssl::context::no_tlsv1_1);
  context->use_certificate_chain_file(certificate, error);
  if (error) throw std::runtime_error("cannot use the certificate " + certificate + ": " + error.message());
  context->use_private_key_file(key, asio::ssl::context::pem, error);
  if (error) throw std::runtime_error("cannot use the private key " + key + ": " + error.message());
  return context;
}

/// What exists while a server runs. Members are destroyed in reverse order: connections before what they use.
struct Running {
  std::unique_ptr<asio::ssl::context> tls;
  std::unique_ptr<AccessLog> log;
  std::unique_ptr<model::Market> market;
  std::unique_ptr<Service> service;
  std::unique_ptr<asio::io_context> io;
  std::unique_ptr<asio::thread_pool> workers;
  std::unique_ptr<http::Listener> listener;
  std::unique_ptr<http::Listener> control;
  std::vector<std::thread> threads;
  std::thread history;      ///< makes what the first index candles need; ends by itself
  std::promise<void> ends;  ///< fulfilled when the server stops
};

/// Until the context is stopped. A call-back that throws has run out of memory and costs its connection.
void Run(asio::io_context& io) {
  while (!io.stopped()) {
    try {
      io.run();
    } catch (const std::exception&) {
      continue;
    }
  }
}

}  // namespace

class Server::Impl {
 public:
  Impl(Server& server, Options options)
      : options_(std::move(options)),
        control_(server),
        faults_(options_.seed),
        keys_(MakeKeys(options_.keys)),
        signatures_(keys_) {}

  void Start() {
    if (running()) throw std::runtime_error("the server runs already");
    auto run = std::make_unique<Running>();
    clock_.SetSpeed(options_.speed);
    clock_.Set(options_.clock);
    faults_.Set(options_.faults);
    signatures_.Forget();
    Clear(traffic_);
    service_counters_.errors = 0;
    service_counters_.faults = 0;
    model::Options market;
    market.seed = options_.seed;
    market.stocks = options_.stocks;
    market.scenario = ReadScenario(options_.scenario);
    market.scenario_date = model::SessionDate(clock_.Now());
    run->tls = MakeTls(options_.tls_cert, options_.tls_key);
    run->log = std::make_unique<AccessLog>(options_.access_log);
    run->market = std::make_unique<model::Market>(market);
    run->service = std::make_unique<Service>(*run->market, clock_, faults_,
                                             options_.check_signatures ? &signatures_ : nullptr, *run->log,
                                             service_counters_);
    run->io = std::make_unique<asio::io_context>();
    run->workers = std::make_unique<asio::thread_pool>(kWorkers);
    run->listener = std::make_unique<http::Listener>(*run->io, *run->workers, *run->service, traffic_,
                                                     options_.limits, run->tls.get());
    run->listener->Open(options_.bind, options_.port);
    if (options_.control_port) {
      run->control = std::make_unique<http::Listener>(*run->io, *run->workers, control_, control_traffic_,
                                                      options_.limits, nullptr);
      run->control->Open(std::string(kControlAddress), *options_.control_port);
    }
    run->listener->SetListening(!faults_.refusing());
    run->market->Prepare(clock_.Now());
    const std::lock_guard lock(mutex_);
    running_ = std::move(run);
    for (std::size_t i = 0; i < std::max<std::size_t>(1, options_.threads); ++i) {
      running_->threads.emplace_back([&io = *running_->io] {
        // Keeps the threads while nobody is connected and, with the fault "refuse", nobody can be.
        const auto work = asio::make_work_guard(io);
        Run(io);
      });
    }
    PrepareHistory();
  }

  void Stop() {
    std::unique_ptr<Running> run;
    {
      const std::lock_guard lock(mutex_);
      run = std::move(running_);
    }
    if (run == nullptr) return;
    run->listener->Close();
    if (run->control) run->control->Close();
    run->io->stop();
    run->market->Cease();
    run->ends.set_value();
    for (std::thread& thread : run->threads) thread.join();
    if (run->history.joinable()) run->history.join();
    run->workers->stop();
    run->workers->join();
  }

  bool running() const {
    const std::lock_guard lock(mutex_);
    return running_ != nullptr;
  }
  std::uint16_t port() const {
    const std::lock_guard lock(mutex_);
    return running_ == nullptr ? std::uint16_t{0} : running_->listener->port();
  }
  std::uint16_t control_port() const {
    const std::lock_guard lock(mutex_);
    return running_ == nullptr || running_->control == nullptr ? std::uint16_t{0} : running_->control->port();
  }
  std::string url() const {
    std::string host = options_.bind;
    if (host == "0.0.0.0") host = "127.0.0.1";
    if (host == "::") host = "::1";
    if (host.find(':') != std::string::npos) host = "[" + host + "]";
    return (options_.tls_cert.empty() ? "http://" : "https://") + host + ":" + std::to_string(port());
  }

  void SetFaults(const std::vector<std::string>& faults) {
    faults_.Set(faults);
    const std::lock_guard lock(mutex_);
    if (running_ != nullptr) running_->listener->SetListening(!faults_.refusing());
  }
  void SetClock(std::string_view text) {
    clock_.Set(text);
    signatures_.Forget();  // those of the old clock may lie in the future of the new one
  }

  Counters ReadCounters() const {
    Counters counters;
    counters.connections = traffic_.connections;
    counters.open = traffic_.open;
    counters.refused = traffic_.refused;
    counters.requests = traffic_.requests;
    counters.errors = service_counters_.errors;
    counters.faults = service_counters_.faults;
    counters.bytes_sent = traffic_.bytes_sent;
    return counters;
  }

  const std::map<std::string, std::string>& keys() const { return keys_; }
  ServerClock& clock() { return clock_; }
  const FaultRules& faults() const { return faults_; }

 private:
  /// Never in the way: requests make what is still missing when they need it. A server that lives for one
  /// command has better things to do.
  void PrepareHistory() {
    static constexpr std::chrono::seconds kSoon{1};
    try {
      running_->history =
          std::thread([&market = *running_->market, end = running_->ends.get_future(), now = clock_.Now()] {
            try {
              if (end.wait_for(kSoon) == std::future_status::ready) {
                return;
              }
              market.PrepareHistory(now);
            } catch (const std::exception&) {
              return;
            }
          });
    } catch (const std::system_error&) {
      return;
    }
  }
  static std::map<std::string, std::string> MakeKeys(const std::map<std::string, std::string>& given) {
    if (!given.empty()) return given;
    return {{"local-" + RandomHex(4), RandomHex(32)}};
  }
  static void Clear(http::Traffic& traffic) {
    traffic.connections = 0;
    traffic.refused = 0;
    traffic.requests = 0;
    traffic.bytes_sent = 0;
  }

  const Options options_;
  Control control_;
  FaultRules faults_;
  const std::map<std::string, std::string> keys_;
  Signatures signatures_;
  ServerClock clock_{"now", 1};
  http::Traffic traffic_;
  http::Traffic control_traffic_;
  ServiceCounters service_counters_;
  mutable std::mutex mutex_;  ///< guards running_, the pointer
  std::unique_ptr<Running> running_;
};

Server::Server(Options options) : impl_(std::make_unique<Impl>(*this, std::move(options))) {}

Server::~Server() {
  Stop();
}

void Server::Start() {
  impl_->Start();
}

void Server::Stop() {
  impl_->Stop();
}

bool Server::running() const {
  return impl_->running();
}

std::uint16_t Server::port() const {
  return impl_->port();
}

std::uint16_t Server::control_port() const {
  return impl_->control_port();
}

std::string Server::url() const {
  return impl_->url();
}

std::string Server::static_url() const {
  return url() + std::string(endpoints::kStaticRoot);
}

std::string Server::key_id() const {
  return impl_->keys().begin()->first;
}

std::string Server::key() const {
  return impl_->keys().begin()->second;
}

double Server::Now() const {
  return impl_->clock().Now();
}

void Server::SetClock(std::string_view clock) {
  impl_->SetClock(clock);
}

void Server::SetSpeed(double speed) {
  impl_->clock().SetSpeed(speed);
}

void Server::SetFaults(const std::vector<std::string>& faults) {
  impl_->SetFaults(faults);
}

std::vector<std::string> Server::ActiveFaults() const {
  return impl_->faults().Texts();
}

Counters Server::ReadCounters() const {
  return impl_->ReadCounters();
}

std::vector<ScenarioInfo> Scenarios() {
  return {{"none", "an ordinary market"},
          {"calm", "a day on which little moves"},
          {"crash", "a day of panic: nearly everything falls, much of it to the limit"},
          {"limit-up", "a day on which nearly everything rises to the limit"},
          {"outage", "a day on which the feed stands still for half of the session"},
          {"suspended", "a day on which a stock that everybody watches does not trade"}};
}

}  // namespace market_server
