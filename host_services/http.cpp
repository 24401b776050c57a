#include "http.h"

#include <curl/curl.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <array>
#include <deque>
#include <future>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "addresses.h"
#include "counters.h"
#include "gzip.h"
#include "worker_pool.h"

namespace stock_host {
namespace {

using Steady = std::chrono::steady_clock;

constexpr std::size_t kHeaderBytes = 64U << 10;
constexpr std::size_t kPackingLoss = 64U << 10;  // what gzip may add to bytes that do not pack
constexpr std::size_t kCompletionThreads = 4;
constexpr long kConnections = 64;
constexpr long kConnectionsToHost = 32;
constexpr long kKeptConnections = 16;

std::string Trimmed(std::string_view text) {
  const auto is_space = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (!text.empty() && is_space(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && is_space(text.back())) {
    text.remove_suffix(1);
  }
  return std::string(text);
}

std::string Lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c + ('a' - 'A'));
    }
  }
  return text;
}

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

// One request on its way. Used by the network thread only, after it was handed over.
struct Exchange {
  HttpRequest request;
  HttpClient::Done done;
  bool on_network_thread = false;  // `done` only wakes a waiting caller
  std::string endpoint;
  Steady::time_point deadline;
  Steady::time_point sent;
  bool corrected = false;

  CURL* easy = nullptr;
  curl_slist* header_lines = nullptr;

  // The answer so far.
  std::size_t header_bytes = 0;
  std::size_t body_bytes = 0;  // as they came
  bool header_complete = false;
  bool chunked = false;
  bool too_large = false;
  std::string trouble;  // why our own callbacks broke off
  std::int64_t date = -1;
  std::optional<std::string> speed;
  Steady::time_point header_at;
  std::unique_ptr<Gunzip> gunzip;
  std::string body;

  Exchange() = default;
  ~Exchange() {
    curl_easy_cleanup(easy);
    curl_slist_free_all(header_lines);
  }
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  void ForgetAnswer() {
    header_bytes = 0;
    body_bytes = 0;
    too_large = false;
    trouble.clear();
    body.clear();
    ForgetHeader();
  }

  void ForgetHeader() {
    header_complete = false;
    chunked = false;
    date = -1;
    speed.reset();
    gunzip.reset();
  }

  bool TakeHeaderLine(std::string_view line) {
    header_bytes += line.size();
    if (header_bytes > kHeaderBytes) {
      too_large = true;
      return false;
    }
    if (header_complete && !line.starts_with("HTTP/")) {
      return true;  // a trailer
    }
    if (line.starts_with("HTTP/")) {
      ForgetHeader();
      return true;
    }
    if (line == "\r\n" || line == "\n") {
      header_complete = true;
      header_at = Steady::now();
      return true;
    }
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
      return true;
    }
    const std::string name = Lower(std::string(line.substr(0, colon)));
    const std::string value = Trimmed(line.substr(colon + 1));
    if (name == "date") {
      date = curl_getdate(value.c_str(), nullptr);
    } else if (name == "x-market-speed") {
      speed = value;
    } else if (name == "transfer-encoding") {
      chunked = Lower(value) == "chunked";
      if (!chunked && Lower(value) != "identity") {
        trouble = "unknown transfer encoding";
        return false;
      }
    } else if (name == "content-encoding" && request.unpack) {
      const std::string encoding = Lower(value);
      if ((encoding == "gzip" || encoding == "x-gzip") && !gunzip) {
        gunzip = std::make_unique<Gunzip>(request.largest_body);
      } else if (encoding != "identity" && !encoding.empty()) {
        trouble = "unknown content encoding";
        return false;
      }
    }
    return true;
  }

  bool TakeBody(std::string_view piece) {
    body_bytes += piece.size();
    if (!gunzip) {
      if (piece.size() > request.largest_body - body.size()) {
        too_large = true;
        return false;
      }
      body.append(piece);
      return true;
    }
    switch (gunzip->Feed(piece, body)) {
      case Gunzip::State::kGood:
        return true;
      case Gunzip::State::kCorrupt:
        trouble = "damaged gzip";
        return false;
      case Gunzip::State::kTooLarge:
        too_large = true;
        return false;
    }
    return false;
  }
};

// Nothing may be thrown through the library's own frames.
template <class Take>
std::size_t Guarded(Exchange& exchange, std::size_t size, Take take) {
  try {
    return take() ? size : 0;
  } catch (...) {
    exchange.trouble = "out of memory";
    return 0;
  }
}

std::size_t OnHeader(char* bytes, std::size_t size, std::size_t count, void* data) {
  Exchange& exchange = *static_cast<Exchange*>(data);
  return Guarded(exchange, size * count, [&] { return exchange.TakeHeaderLine({bytes, size * count}); });
}

std::size_t OnBody(char* bytes, std::size_t size, std::size_t count, void* data) {
  Exchange& exchange = *static_cast<Exchange*>(data);
  return Guarded(exchange, size * count, [&] { return exchange.TakeBody({bytes, size * count}); });
}

// Bytes on the wire count too: a packed body that unpacks to nothing must come to an end.
int OnProgress(void* exchange, curl_off_t /*total*/, curl_off_t now, curl_off_t /*up_total*/,
               curl_off_t /*up_now*/) {
  auto* const one = static_cast<Exchange*>(exchange);
  if (now > static_cast<curl_off_t>(one->request.largest_body + kPackingLoss)) {
    one->too_large = true;
    return 1;
  }
  return 0;
}

HttpError ErrorOf(CURLcode code) {
  switch (code) {
    case CURLE_OK:
      return HttpError::kNone;
    case CURLE_URL_MALFORMAT:
      return HttpError::kInvalid;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
    case CURLE_PROXY:
    case CURLE_INTERFACE_FAILED:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_NO_CONNECTION_AVAILABLE:
      return HttpError::kConnection;
    case CURLE_OPERATION_TIMEDOUT:
      return HttpError::kTimeout;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_USE_SSL_FAILED:
      return HttpError::kSecurity;
    default:
      return HttpError::kIncomplete;
  }
}

HttpAnswer Failed(HttpError error, std::string reason) {
  HttpAnswer answer;
  answer.error = error;
  answer.reason = std::move(reason);
  return answer;
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

}  // namespace

struct HttpClient::Impl {
  std::mutex mutex;  // guards all members below
  bool running = false;
  HttpSettings settings;
  CURLM* multi = nullptr;
  std::vector<std::unique_ptr<Exchange>> arrived;  // not yet seen by the network thread
  std::unique_ptr<WorkerPool> completions;
  std::thread network;
};

// A run of the network thread.
class HttpClient::Network {
 public:
  explicit Network(Impl& impl) : impl_(impl), multi_(impl.multi), settings_(impl.settings) {}

  void Run() {
    while (TakeArrived()) {
      int active = 0;
      curl_multi_perform(multi_, &active);
      Collect();
      Expire();
      curl_multi_poll(multi_, nullptr, 0, MillisecondsToDeadline(), nullptr);
    }
    while (!exchanges_.empty()) {
      Complete(exchanges_.begin()->first, Failed(HttpError::kStopped, "the host services were stopped"));
    }
  }

 private:
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
      CURL* const easy = curl_easy_init();
      exchange->easy = easy;
      Exchange& taken = *exchange;
      if (easy == nullptr) {
        Finish(std::move(exchange), Failed(HttpError::kInvalid, "the request cannot be set up"));
        continue;
      }
      deadlines_.emplace(taken.deadline, easy);
      exchanges_.emplace(easy, std::move(exchange));
      if (!SetUp(taken) || curl_multi_add_handle(multi_, easy) != CURLM_OK) {
        Complete(easy, Failed(HttpError::kInvalid, "the request cannot be set up"));
      }
    }
    return running;
  }

  bool SetUp(Exchange& exchange) {
    CURL* const easy = exchange.easy;
    bool good = true;
    const auto set = [&](CURLoption option, auto value) {
      good = curl_easy_setopt(easy, option, value) == CURLE_OK && good;
    };
    set(CURLOPT_URL, exchange.request.url.c_str());
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L);  // a name server that does not answer must not hold up the other requests
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
    set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    set(CURLOPT_PROXY, settings_.proxy.c_str());  // empty: none, whatever the environment says
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    if (!settings_.ca_file.empty()) {
      set(CURLOPT_CAINFO, settings_.ca_file.c_str());
    }
    set(CURLOPT_USERAGENT, "csm");
    set(CURLOPT_HEADERFUNCTION, &OnHeader);
    set(CURLOPT_HEADERDATA, static_cast<void*>(&exchange));
    set(CURLOPT_WRITEFUNCTION, &OnBody);
    set(CURLOPT_WRITEDATA, static_cast<void*>(&exchange));
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_XFERINFOFUNCTION, &OnProgress);
    set(CURLOPT_XFERINFODATA, static_cast<void*>(&exchange));
    // The header is written here and the body unpacked by ourselves: the library takes a gzip stream that
    // breaks off for a complete one.
    std::vector<std::string> lines;
    if (exchange.request.unpack) {
      lines.emplace_back("Accept-Encoding: gzip");
    }
    for (const auto& [name, value] : exchange.request.headers) {
      lines.push_back(value.empty() ? name + ";" : name + ": " + value);
    }
    for (const std::string& line : lines) {
      curl_slist* const longer = curl_slist_append(exchange.header_lines, line.c_str());
      good = longer != nullptr && good;
      exchange.header_lines = longer != nullptr ? longer : exchange.header_lines;
    }
    set(CURLOPT_HTTPHEADER, exchange.header_lines);
    exchange.sent = Steady::now();
    return good;
  }

  void Collect() {
    int left = 0;
    while (const CURLMsg* const message = curl_multi_info_read(multi_, &left)) {
      if (message->msg != CURLMSG_DONE) {
        continue;
      }
      CURL* const easy = message->easy_handle;
      const CURLcode code = message->data.result;
      Exchange& exchange = *exchanges_.at(easy);
      HttpAnswer answer = Understood(exchange, code);
      if (AskAgain(exchange, answer)) {
        continue;
      }
      Complete(easy, std::move(answer));
    }
  }

  static HttpAnswer Understood(Exchange& exchange, CURLcode code) {
    if (exchange.too_large) {
      return Failed(HttpError::kTooLarge, "the answer is too large");
    }
    if (!exchange.trouble.empty()) {
      return Failed(HttpError::kIncomplete, exchange.trouble);
    }
    if (code != CURLE_OK) {
      return Failed(ErrorOf(code), curl_easy_strerror(code));
    }
    curl_off_t length = -1;
    long status = 0;
    curl_easy_getinfo(exchange.easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    curl_easy_getinfo(exchange.easy, CURLINFO_RESPONSE_CODE, &status);
    // A body that ends where the connection ends may have been cut anywhere.
    if (!exchange.header_complete || (status == 200 && length < 0 && !exchange.chunked)) {
      return Failed(HttpError::kIncomplete, "the answer does not tell its length");
    }
    if (exchange.gunzip && exchange.body_bytes > 0 && !exchange.gunzip->Whole()) {
      return Failed(HttpError::kIncomplete, "the gzip stream breaks off");
    }
    HttpAnswer answer;
    answer.status = static_cast<int>(status);
    answer.body = std::move(exchange.body);
    answer.error = status == 200 ? HttpError::kNone : HttpError::kStatus;
    if (answer.error == HttpError::kStatus) {
      answer.reason = "HTTP status " + std::to_string(status);
    }
    return answer;
  }

  // A whole answer may show that the request was signed by a wrong clock.
  bool AskAgain(Exchange& exchange, const HttpAnswer& answer) {
    if (!settings_.correct || (answer.error != HttpError::kNone && answer.error != HttpError::kStatus)) {
      return false;
    }
    std::string url = settings_.correct(
        {exchange.request.url, exchange.date, exchange.speed, exchange.sent, exchange.header_at});
    if (url.empty() || exchange.corrected) {
      return false;
    }
    CountOpened(exchange.easy);
    curl_multi_remove_handle(multi_, exchange.easy);
    exchange.corrected = true;
    exchange.request.url = std::move(url);
    exchange.ForgetAnswer();
    exchange.sent = Steady::now();
    return curl_easy_setopt(exchange.easy, CURLOPT_URL, exchange.request.url.c_str()) == CURLE_OK &&
           curl_multi_add_handle(multi_, exchange.easy) == CURLM_OK;
  }

  void Expire() {
    const auto now = Steady::now();
    while (!deadlines_.empty() && deadlines_.begin()->first <= now) {
      Complete(deadlines_.begin()->second, Failed(HttpError::kTimeout, "not complete in time"));
    }
  }

  int MillisecondsToDeadline() const {
    constexpr std::chrono::milliseconds kLongest{60000};
    if (deadlines_.empty()) {
      return static_cast<int>(kLongest.count());
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadlines_.begin()->first - Steady::now());
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
    CountCompleted(exchange->endpoint, answer.error, answer.reason, answer.body.size(),
                   std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()));
    Done done = std::move(exchange->done);
    if (exchange->on_network_thread) {
      done(answer);
      return;
    }
    // The pool outlives this thread.
    impl_.completions->Post([done = std::move(done), answer = std::move(answer)] { done(answer); });
  }

  Impl& impl_;
  CURLM* const multi_;
  const HttpSettings settings_;
  std::map<CURL*, std::unique_ptr<Exchange>> exchanges_;
  std::set<std::pair<Steady::time_point, CURL*>> deadlines_;
};

HttpClient::HttpClient() : impl_(std::make_unique<Impl>()) {}

HttpClient::~HttpClient() {
  StopNetwork();
  FinishCompletions();
}

void HttpClient::Start(HttpSettings settings) {
  GlobalInit();
  auto completions = std::make_unique<WorkerPool>("http call-back", kCompletionThreads);
  const std::lock_guard lock(impl_->mutex);
  impl_->multi = curl_multi_init();
  if (impl_->multi == nullptr) {
    throw std::runtime_error("the HTTP library cannot be initialised");
  }
  curl_multi_setopt(impl_->multi, CURLMOPT_MAX_TOTAL_CONNECTIONS, kConnections);
  curl_multi_setopt(impl_->multi, CURLMOPT_MAX_HOST_CONNECTIONS, kConnectionsToHost);
  curl_multi_setopt(impl_->multi, CURLMOPT_MAXCONNECTS, kKeptConnections);
  impl_->settings = std::move(settings);
  impl_->completions = std::move(completions);
  impl_->running = true;
  try {
    const SignalsBlocked blocked;
    impl_->network = std::thread([impl = impl_.get()] { Network(*impl).Run(); });
  } catch (...) {
    impl_->running = false;
    impl_->completions.reset();
    curl_multi_cleanup(std::exchange(impl_->multi, nullptr));
    throw;
  }
}

void HttpClient::StopNetwork() {
  std::thread network;
  {
    const std::lock_guard lock(impl_->mutex);
    if (!impl_->running) {
      return;
    }
    impl_->running = false;
    curl_multi_wakeup(impl_->multi);
    network.swap(impl_->network);
  }
  network.join();
  const std::lock_guard lock(impl_->mutex);
  curl_multi_cleanup(std::exchange(impl_->multi, nullptr));
}

void HttpClient::FinishCompletions() {
  std::unique_ptr<WorkerPool> completions;
  {
    const std::lock_guard lock(impl_->mutex);
    completions.swap(impl_->completions);
  }
  if (completions) {
    completions->Finish();
  }
}

void HttpClient::Submit(HttpRequest request, Done done, bool on_network_thread) {
  auto exchange = std::make_unique<Exchange>();
  exchange->deadline = Steady::now() + request.limit;
  exchange->endpoint = EndpointOf(*CurrentAddresses(), request.url);
  exchange->on_network_thread = on_network_thread;
  std::string url = SendableUrl(request.url);
  const bool sendable =
      !url.empty() && std::all_of(request.headers.begin(), request.headers.end(),
                                  [](const auto& header) { return IsSendable(header.first, header.second); });
  CountStarted(exchange->endpoint);

  HttpAnswer refusal = Failed(HttpError::kInvalid, "the URL or a header cannot be sent");
  {
    const std::lock_guard lock(impl_->mutex);
    if (!impl_->running) {
      refusal = Failed(HttpError::kStopped, "the host services do not run");
    } else if (sendable) {
      exchange->request = std::move(request);
      exchange->request.url = std::move(url);
      exchange->done = std::move(done);
      impl_->arrived.push_back(std::move(exchange));
      curl_multi_wakeup(impl_->multi);
      return;
    }
  }
  CountCompleted(exchange->endpoint, refusal.error, refusal.reason, 0, 0);
  if (on_network_thread) {
    done(refusal);
    return;
  }
  {
    const std::lock_guard lock(impl_->mutex);
    if (impl_->running) {
      impl_->completions->Post([done = std::move(done), refusal] { done(refusal); });
      return;
    }
  }
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
