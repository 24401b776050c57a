#include "http.h"

#include <curl/curl.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <future>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "addresses.h"
#include "clock.h"
#include "counters.h"
#include "exchange.h"
#include "recorder.h"
#include "wire.h"
#include "worker_pool.h"

namespace stock_host {
namespace {

using Steady = std::chrono::steady_clock;

constexpr std::size_t kCompletionThreads = 4;
constexpr std::size_t kThreads = kCompletionThreads + 1;  // one always has time for the network

bool IsSendable(const std::string& name, const std::string& value) {
  static constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  const auto is_token = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           kMarks.find(c) != std::string_view::npos;
  };
  const auto is_text = [](char c) { return static_cast<unsigned char>(c) >= 0x20 && c != 0x7f; };
  return !name.empty() && std::all_of(name.begin(), name.end(), is_token) &&
         std::all_of(value.begin(), value.end(), is_text);
}

void GlobalInit() {
  static std::once_flag once;
  std::call_once(once, [] {
    // Without its clean-up at exit, which would run under the feet of the network thread.
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
      throw std::runtime_error("the HTTP library cannot be initialised");
    }
  });
}

// Fails requests while no client runs: the thread lives as long as there are some. Leaked with its queue.
class FailureThread {
 public:
  void Post(HttpClient::Done done, HttpAnswer answer) {
    const std::lock_guard lock(mutex_);
    queue_.emplace_back(std::move(done), std::move(answer));
    if (!running_) {
      const SignalsBlocked blocked;
      std::thread([this] { Run(); }).detach();
      running_ = true;
    }
  }

 private:
  void Run() {
    const HostThreadMark mark;
    for (;;) {
      std::pair<HttpClient::Done, HttpAnswer> next;
      {
        const std::lock_guard lock(mutex_);
        if (queue_.empty()) {
          running_ = false;
          return;
        }
        next = std::move(queue_.front());
        queue_.pop_front();
      }
      RunGuarded("http call-back", [&] { next.first(next.second); });
    }
  }

  std::mutex mutex_;  // guards all members below
  std::deque<std::pair<HttpClient::Done, HttpAnswer>> queue_;
  bool running_ = false;
};

FailureThread& TheFailureThread() {
  static FailureThread* const thread = new FailureThread;
  return *thread;
}

// What a call-back thread does with an answer: the request is under way until its call-back is over.
std::function<void()> HandingOver(std::string endpoint, HttpClient::Done done, HttpAnswer answer) {
  return [endpoint = std::move(endpoint), done = std::move(done), answer = std::move(answer)] {
    const struct Over {
      ~Over() { CountHandedOver(endpoint); }
      const std::string& endpoint;
    } over{endpoint};
    done(answer);
  };
}

}  // namespace

// The threads of a client. One of them leads: it waits for the wire. When it has answers it leaves that to
// another and runs a call-back itself, so that no answer waits for a thread to be woken.
struct HttpClient::Impl {
  std::mutex mutex;                   // guards all members below but the settings
  std::condition_variable wanted;     // a thread, for a call-back or to lead
  std::condition_variable all_ended;  // every request has
  bool running = false;               // takes requests
  bool led = false;                   // a thread leads
  bool over = false;                  // every request has ended; what is left are call-backs
  std::size_t busy = 0;               // threads that run a call-back
  std::deque<std::function<void()>> completions;
  std::shared_ptr<Wire> wire;  // the same as long as a thread may lead, which needs no mutex for it
  HttpSettings settings;       // the same; nobody else uses them
  std::vector<std::thread> threads;

  void Work();

  // Until there are call-backs to run: true. False when the client was stopped, after every request has
  // ended.
  bool Lead();
  bool AskAgain(Wire::Ended& ended);
  void Finish(Wire::Ended ended, std::vector<std::function<void()>>& call_backs) const;

  // Whether this thread is wanted for a call-back.
  bool HandOver(std::vector<std::function<void()>> call_backs);

  // Whether somebody must lead, because requests are under way; whoever asks for something new, or ends the
  // client, calls for one as well. Under the mutex, as what follows.
  [[nodiscard]] bool IsLeaderWanted() const;
  void CallLeader();

  void Post(std::function<void()> completion);
};

bool HttpClient::Impl::Lead() {
  std::vector<Wire::Ended> ended;
  bool goes_on = true;
  bool is_wanted = false;
  while (goes_on && !is_wanted) {
    ended.clear();
    goes_on = wire->Await(ended);
    std::vector<std::function<void()>> call_backs;
    for (Wire::Ended& one : ended) {
      if (!AskAgain(one)) {
        Finish(std::move(one), call_backs);
      }
    }
    is_wanted = HandOver(std::move(call_backs));
  }
  return goes_on;
}

// A whole answer may show that the request was signed by a wrong clock.
bool HttpClient::Impl::AskAgain(Wire::Ended& ended) {
  auto& [exchange, answer] = ended;
  if (!settings.correct || (answer.error != HttpError::kNone && answer.error != HttpError::kStatus)) {
    return false;
  }
  std::string url = settings.correct(exchange->Report());
  return !url.empty() && !exchange->asked_again && exchange->SetUpAgain(std::move(url)) &&
         wire->Begin(exchange) == HttpError::kNone;
}

void HttpClient::Impl::Finish(Wire::Ended ended, std::vector<std::function<void()>>& call_backs) const {
  auto& [exchange, answer] = ended;
  if (settings.recorder) {
    settings.recorder->Record(exchange->request, exchange->endpoint, exchange->asked, Steady::now(),
                              exchange->Report(), answer);
  }
  CountCompleted(exchange->endpoint, answer.error, answer.reason, answer.body.size(),
                 std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()),
                 Steady::now() - exchange->asked);
  if (exchange->wakes_caller) {
    CountHandedOver(exchange->endpoint);
    exchange->done(answer);
    return;
  }
  call_backs.push_back(HandingOver(exchange->endpoint, std::move(exchange->done), std::move(answer)));
}

bool HttpClient::Impl::HandOver(std::vector<std::function<void()>> call_backs) {
  if (call_backs.empty()) {
    return false;
  }
  const std::lock_guard lock(mutex);
  std::move(call_backs.begin(), call_backs.end(), std::back_inserter(completions));
  return busy < kCompletionThreads;
}

void HttpClient::Impl::Work() {
  const HostThreadMark mark;
  std::unique_lock lock(mutex);
  for (;;) {
    if (!completions.empty() && busy < kCompletionThreads) {
      // Taken over, so that what the function holds goes away here.
      std::function<void()> completion = std::move(completions.front());
      completions.pop_front();
      ++busy;
      const bool is_another_wanted = !completions.empty() || IsLeaderWanted();
      lock.unlock();
      if (is_another_wanted) {
        wanted.notify_one();
      }
      RunGuarded("http call-back", completion);
      completion = nullptr;
      lock.lock();
      --busy;
    } else if (!led && !over) {
      led = true;
      lock.unlock();
      const bool goes_on = Lead();
      lock.lock();
      led = false;
      if (!goes_on) {
        over = true;
        wanted.notify_all();
        all_ended.notify_all();
      }
    } else if (over && completions.empty()) {
      wanted.notify_all();  // who found four at work waits still
      return;
    } else {
      wanted.wait(lock);
    }
  }
}

bool HttpClient::Impl::IsLeaderWanted() const {
  return !led && !over && (!running || wire->IsBusy());
}

void HttpClient::Impl::CallLeader() {
  if (!led) {
    wanted.notify_one();
  }
}

void HttpClient::Impl::Post(std::function<void()> completion) {
  completions.push_back(std::move(completion));
  wanted.notify_one();
}

HttpClient::HttpClient() : impl_(std::make_unique<Impl>()) {}

HttpClient::~HttpClient() {
  StopNetwork();
  FinishCompletions();
}

void HttpClient::Start(HttpSettings settings) {
  GlobalInit();
  std::unique_lock lock(impl_->mutex);
  impl_->wire = std::make_shared<Wire>(settings.proxy, settings.ca_file, settings.replayer);
  impl_->settings = std::move(settings);
  impl_->running = true;
  impl_->over = false;
  try {
    const SignalsBlocked blocked;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
      impl_->threads.emplace_back([impl = impl_.get()] { impl->Work(); });
    }
  } catch (...) {
    if (impl_->threads.empty()) {
      impl_->running = false;  // nobody would end what others ask for now
      impl_->over = true;
      impl_->wire.reset();
      impl_->settings = {};
    }
    lock.unlock();
    StopNetwork();
    FinishCompletions();
    throw;
  }
}

void HttpClient::StopNetwork() {
  std::unique_lock lock(impl_->mutex);
  if (!impl_->running) {
    return;
  }
  impl_->running = false;
  impl_->wire->Close();
  impl_->CallLeader();
  impl_->all_ended.wait(lock, [this] { return impl_->over; });
  impl_->wire.reset();
  impl_->settings = {};  // closes the record
}

void HttpClient::FinishCompletions() {
  std::vector<std::thread> threads;
  {
    const std::lock_guard lock(impl_->mutex);
    threads.swap(impl_->threads);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

void HttpClient::Submit(HttpRequest request, Done done, bool wakes_caller) {
  auto exchange = std::make_unique<Exchange>(std::move(request));
  exchange->deadline = exchange->asked + exchange->request.limit;
  exchange->endpoint = EndpointOf(*CurrentAddresses(), exchange->request.url);
  exchange->wakes_caller = wakes_caller;
  std::string url = SendableUrl(exchange->request.url);
  const bool sendable =
      !url.empty() && std::all_of(exchange->request.headers.begin(), exchange->request.headers.end(),
                                  [](const auto& header) { return IsSendable(header.first, header.second); });
  CountStarted(exchange->endpoint);

  std::shared_ptr<Wire> wire;
  {
    const std::lock_guard lock(impl_->mutex);
    if (impl_->running) {
      wire = impl_->wire;
    }
  }
  HttpError error = wire == nullptr ? HttpError::kStopped : HttpError::kInvalid;
  const char* reason =
      wire == nullptr ? "the host services do not run" : "the URL or a header cannot be sent";
  if (wire != nullptr && sendable) {
    exchange->request.url = std::move(url);
    exchange->done = std::move(done);
    error = wire->Begin(exchange);
    if (error == HttpError::kNone) {
      const std::lock_guard lock(impl_->mutex);
      impl_->CallLeader();
      return;
    }
    done = std::move(exchange->done);
    reason = error == HttpError::kStopped ? "the host services do not run" : "the request cannot be set up";
  }
  HttpAnswer refusal = FailedAnswer(error, reason);
  CountCompleted(exchange->endpoint, refusal.error, refusal.reason, 0, 0);
  if (wakes_caller) {
    CountHandedOver(exchange->endpoint);
    done(refusal);
    return;
  }
  {
    const std::lock_guard lock(impl_->mutex);
    if (impl_->running) {
      impl_->Post(HandingOver(exchange->endpoint, std::move(done), std::move(refusal)));
      return;
    }
  }
  CountHandedOver(exchange->endpoint);
  TheFailureThread().Post(std::move(done), std::move(refusal));
}

void HttpClient::FetchLater(HttpRequest request, Done done) {
  Submit(std::move(request), std::move(done), false);
}

HttpAnswer HttpClient::Fetch(HttpRequest request) {
  const auto answered = std::make_shared<std::promise<HttpAnswer>>();
  std::future<HttpAnswer> answer = answered->get_future();
  Submit(
      std::move(request), [answered](const HttpAnswer& given) { answered->set_value(given); }, true);
  return answer.get();
}

HttpClient& TheHttpClient() {
  static HttpClient* const client = new HttpClient;
  return *client;
}

}  // namespace stock_host
