#include "http.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <openssl/crypto.h>
#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <future>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "addresses.h"
#include "clock.h"
#include "counters.h"
#include "exchange.h"
#include "recorder.h"
#include "replayer.h"
#include "worker_pool.h"

namespace stock_host {
namespace {

using Steady = std::chrono::steady_clock;

constexpr std::size_t kCompletionThreads = 4;
constexpr std::size_t kThreads = kCompletionThreads + 1;  // one always has time for the network
constexpr long kConnections = 64;
constexpr long kConnectionsToHost = 32;
constexpr long kKeptConnections = 16;

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

// Sockets of this machine without a name, such as a pair has.
std::set<int> LocalSockets() {
  std::set<int> found;
  std::error_code failure;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", failure)) {
    const std::string number = entry.path().filename().string();
    int fd = -1;
    (void)std::from_chars(number.data(), number.data() + number.size(), fd);
    sockaddr_storage name{};
    socklen_t size = sizeof name;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&name), &size) == 0 && name.ss_family == AF_UNIX &&
        size <= sizeof name.ss_family) {
      found.insert(fd);
    }
  }
  return found;
}

// The library makes a pair of sockets to be woken by, and gives it to every child process.
CURLM* MakeMulti() {
  const std::set<int> before = LocalSockets();
  CURLM* const multi = curl_multi_init();
  for (const int fd : LocalSockets()) {
    if (!before.contains(fd)) {
      (void)fcntl(fd, F_SETFD, FD_CLOEXEC);
    }
  }
  return multi;
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

// The threads of a client. One of them leads: it waits for the network. When it has answers it leaves that to
// another and runs a call-back itself, so that no answer waits for a thread to be woken.
struct HttpClient::Impl {
  std::mutex mutex;  // guards all members below but the network, which belongs to the thread that leads
  std::condition_variable wanted;  // a thread, for a call-back or to lead
  std::condition_variable ended;   // every request has
  bool running = false;            // takes requests
  bool led = false;                // a thread leads
  bool over = false;               // every request has ended; what is left are call-backs
  std::size_t busy = 0;            // threads that run a call-back
  std::deque<std::function<void()>> completions;
  std::vector<std::unique_ptr<Exchange>> arrived;  // not yet seen by the thread that leads
  HttpSettings settings;
  CURLM* multi = nullptr;
  std::unique_ptr<Network> network;
  std::vector<std::thread> threads;

  void Work();

  // Whether somebody must lead, because requests are under way; whoever asks for something new, or ends the
  // client, calls for one as well. Under the mutex, as what follows.
  [[nodiscard]] bool IsLeaderWanted() const;

  // The thread that leads, or one that will, looks at what is new.
  void CallLeader();

  void Post(std::function<void()> completion);
};

// What waits for the network. Used by one thread at a time.
class HttpClient::Network {
 public:
  explicit Network(Impl& impl) : impl_(impl), multi_(impl.multi), settings_(impl.settings) {}

  // Until there are call-backs to run: true. False when the client was stopped, after every request has
  // ended.
  bool Lead() {
    while (TakeArrived()) {
      int active = 0;
      curl_multi_perform(multi_, &active);
      Collect();
      Expire();
      Play();
      if (HandOver()) {
        return true;
      }
      curl_multi_poll(multi_, nullptr, 0, MillisecondsToDeadline(), nullptr);
    }
    while (!exchanges_.empty()) {
      Complete(exchanges_.begin()->first,
               FailedAnswer(HttpError::kStopped, "the host services were stopped"));
    }
    for (auto& [due, played] : played_) {
      Finish(std::move(played.exchange), FailedAnswer(HttpError::kStopped, "the host services were stopped"));
    }
    played_.clear();
    HandOver();
    return false;
  }

  // Whether requests are under way.
  [[nodiscard]] bool IsWaiting() const { return !exchanges_.empty() || !played_.empty(); }

 private:
  struct Played {
    std::unique_ptr<Exchange> exchange;
    HttpAnswer answer;
  };

  // False when the client was stopped.
  bool TakeArrived() {
    std::vector<std::unique_ptr<Exchange>> arrived;
    bool running = false;
    {
      const std::lock_guard lock(impl_.mutex);
      arrived.swap(impl_.arrived);
      running = impl_.running;
    }
    for (auto& exchange : arrived) {
      if (settings_.replayer) {
        Schedule(std::move(exchange));
        continue;
      }
      if (!exchange->SetUp(settings_) || curl_multi_add_handle(multi_, exchange->handle()) != CURLM_OK) {
        Finish(std::move(exchange), FailedAnswer(HttpError::kInvalid, "the request cannot be set up"));
        continue;
      }
      CURL* const easy = exchange->handle();
      deadlines_.emplace(exchange->deadline, easy);
      exchanges_.emplace(easy, std::move(exchange));
    }
    return running;
  }

  // An answer from the record takes its time, as far as the limit allows.
  void Schedule(std::unique_ptr<Exchange> exchange) {
    Replayer::Answer given = settings_.replayer->AnswerTo(exchange->request.url, Moment::Now());
    Steady::time_point due = exchange->asked + given.after;
    if (due > exchange->deadline) {
      due = exchange->deadline;
      given.answer = LateAnswer();
    }
    played_.emplace(due, Played{std::move(exchange), std::move(given.answer)});
  }

  void Play() {
    const auto now = Steady::now();
    while (!played_.empty() && played_.begin()->first <= now) {
      Played played = std::move(played_.begin()->second);
      played_.erase(played_.begin());
      if (played.answer.error == HttpError::kNone || played.answer.error == HttpError::kStatus) {
        settings_.replayer->Teach(ServerClock(), Moment::Now());
      }
      Finish(std::move(played.exchange), std::move(played.answer));
    }
  }

  static HttpAnswer LateAnswer() { return FailedAnswer(HttpError::kTimeout, "not complete in time"); }

  void Collect() {
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(multi_, &left)) {
      if (message->msg != CURLMSG_DONE) {
        continue;
      }
      CURL* const easy = message->easy_handle;
      const CURLcode code = message->data.result;
      Exchange& exchange = *exchanges_.at(easy);
      HttpAnswer answer = exchange.Outcome(code);
      if (AskAgain(exchange, answer)) {
        continue;
      }
      Complete(easy, std::move(answer));
    }
  }

  // A whole answer may show that the request was signed by a wrong clock.
  bool AskAgain(Exchange& exchange, const HttpAnswer& answer) {
    if (!settings_.correct || (answer.error != HttpError::kNone && answer.error != HttpError::kStatus)) {
      return false;
    }
    std::string url = settings_.correct(exchange.Report());
    if (url.empty() || exchange.asked_again) {
      return false;
    }
    CountOpened(exchange.handle());
    curl_multi_remove_handle(multi_, exchange.handle());
    return exchange.SetUpAgain(std::move(url)) &&
           curl_multi_add_handle(multi_, exchange.handle()) == CURLM_OK;
  }

  void Expire() {
    const auto now = Steady::now();
    while (!deadlines_.empty() && deadlines_.begin()->first <= now) {
      Complete(deadlines_.begin()->second, LateAnswer());
    }
  }

  int MillisecondsToDeadline() const {
    constexpr std::chrono::milliseconds kLongest{60000};
    auto next = Steady::now() + kLongest;
    if (!deadlines_.empty()) {
      next = std::min(next, deadlines_.begin()->first);
    }
    if (!played_.empty()) {
      next = std::min(next, played_.begin()->first);
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Steady::now());
    return static_cast<int>(std::clamp(left, std::chrono::milliseconds{0}, kLongest).count());
  }

  void Complete(CURL* easy, HttpAnswer answer) {
    auto node = exchanges_.extract(easy);
    std::unique_ptr<Exchange> exchange = std::move(node.mapped());
    deadlines_.erase({exchange->deadline, easy});
    CountOpened(easy);
    curl_multi_remove_handle(multi_, easy);
    Finish(std::move(exchange), std::move(answer));
  }

  static void CountOpened(CURL* easy) {
    long opened = 0;
    curl_easy_getinfo(easy, CURLINFO_NUM_CONNECTS, &opened);
    CountConnections(static_cast<std::uint64_t>(std::max(opened, 0L)));
  }

  void Finish(std::unique_ptr<Exchange> exchange, HttpAnswer answer) {
    if (settings_.recorder) {
      settings_.recorder->Record(exchange->request, exchange->endpoint, exchange->asked, Steady::now(),
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
    completions_.push_back(HandingOver(exchange->endpoint, std::move(exchange->done), std::move(answer)));
  }

  // Whether this thread is wanted for a call-back.
  bool HandOver() {
    if (completions_.empty()) {
      return false;
    }
    const std::lock_guard lock(impl_.mutex);
    for (auto& completion : completions_) {
      impl_.completions.push_back(std::move(completion));
    }
    completions_.clear();
    return impl_.busy < kCompletionThreads;
  }

  Impl& impl_;
  CURLM* const multi_;
  const HttpSettings settings_;
  std::map<CURL*, std::unique_ptr<Exchange>> exchanges_;
  std::set<std::pair<Steady::time_point, CURL*>> deadlines_;
  std::multimap<Steady::time_point, Played> played_;
  std::vector<std::function<void()>> completions_;  // of this look at the network
};

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
      const bool goes_on = network->Lead();
      lock.lock();
      led = false;
      if (!goes_on) {
        over = true;
        wanted.notify_all();
        ended.notify_all();
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
  return !led && !over && (!arrived.empty() || !running || network->IsWaiting());
}

void HttpClient::Impl::CallLeader() {
  if (led) {
    curl_multi_wakeup(multi);
  } else {
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
  impl_->multi = MakeMulti();
  if (impl_->multi == nullptr) {
    throw std::runtime_error("the HTTP library cannot be initialised");
  }
  curl_multi_setopt(impl_->multi, CURLMOPT_MAX_TOTAL_CONNECTIONS, kConnections);
  curl_multi_setopt(impl_->multi, CURLMOPT_MAX_HOST_CONNECTIONS, kConnectionsToHost);
  curl_multi_setopt(impl_->multi, CURLMOPT_MAXCONNECTS, kKeptConnections);
  impl_->settings = std::move(settings);
  impl_->network = std::make_unique<Network>(*impl_);
  impl_->running = true;
  impl_->over = false;
  try {
    const SignalsBlocked blocked;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
      impl_->threads.emplace_back([impl = impl_.get()] { impl->Work(); });
    }
  } catch (...) {
    impl_->over = impl_->threads.empty();
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
  impl_->CallLeader();
  impl_->ended.wait(lock, [this] { return impl_->over; });
  impl_->network.reset();
  curl_multi_cleanup(std::exchange(impl_->multi, nullptr));
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

  HttpAnswer refusal = FailedAnswer(HttpError::kInvalid, "the URL or a header cannot be sent");
  {
    const std::lock_guard lock(impl_->mutex);
    if (!impl_->running) {
      refusal = FailedAnswer(HttpError::kStopped, "the host services do not run");
    } else if (sendable) {
      exchange->request.url = std::move(url);
      exchange->done = std::move(done);
      impl_->arrived.push_back(std::move(exchange));
      impl_->CallLeader();
      return;
    }
  }
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
