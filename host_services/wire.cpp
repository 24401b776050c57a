#include "wire.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <new>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>

#include "clock.h"
#include "counters.h"
#include "replayer.h"
#include "worker_pool.h"

namespace stock_host {
namespace {

constexpr long kConnections = 64;
constexpr long kConnectionsToHost = 32;
constexpr long kKeptConnections = 16;

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

// The library makes a pair of sockets and gives it to every child process.
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

bool Control(int epoll, int operation, int fd, std::uint32_t events) {
  epoll_event event{};
  event.events = events;
  event.data.fd = fd;
  return epoll_ctl(epoll, operation, fd, &event) == 0;
}

void CountOpened(CURL* easy) {
  long opened = 0;
  curl_easy_getinfo(easy, CURLINFO_NUM_CONNECTS, &opened);
  CountConnections(static_cast<std::uint64_t>(std::max(opened, 0L)));
}

HttpAnswer LateAnswer() {
  return FailedAnswer(HttpError::kTimeout, "not complete in time");
}

HttpAnswer StoppedAnswer() {
  return FailedAnswer(HttpError::kStopped, "the host services were stopped");
}

}  // namespace

Wire::Wire(std::string proxy, std::string ca_file, std::shared_ptr<Replayer> replayer)
    : proxy_(std::move(proxy)),
      ca_file_(std::move(ca_file)),
      replayer_(std::move(replayer)),
      epoll_(epoll_create1(EPOLL_CLOEXEC)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      timer_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      multi_(MakeMulti()) {
  if (multi_ == nullptr || !epoll_.good() || !Control(epoll_.get(), EPOLL_CTL_ADD, wake_.get(), EPOLLIN) ||
      !Control(epoll_.get(), EPOLL_CTL_ADD, timer_.get(), EPOLLIN)) {
    throw std::runtime_error("the HTTP library cannot be initialised");
  }
  curl_multi_setopt(multi_.get(), CURLMOPT_MAX_TOTAL_CONNECTIONS, kConnections);
  curl_multi_setopt(multi_.get(), CURLMOPT_MAX_HOST_CONNECTIONS, kConnectionsToHost);
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, kKeptConnections);
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETFUNCTION, &OnSocket);
  curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETDATA, this);
  curl_multi_setopt(multi_.get(), CURLMOPT_TIMERFUNCTION, &OnTimer);
  curl_multi_setopt(multi_.get(), CURLMOPT_TIMERDATA, this);
}

Wire::~Wire() = default;

int Wire::OnSocket(CURL* easy, curl_socket_t socket, int what, void* wire, void* /*unused*/) {
  auto* const self = static_cast<Wire*>(wire);
  if (what == CURL_POLL_REMOVE) {
    self->Forget(socket);
    return 0;
  }
  self->Watch(socket, easy,
              ((what & CURL_POLL_IN) != 0 ? EPOLLIN : 0U) | ((what & CURL_POLL_OUT) != 0 ? EPOLLOUT : 0U));
  return 0;
}

int Wire::OnTimer(CURLM* /*multi*/, long milliseconds, void* wire) {
  auto& due = static_cast<Wire*>(wire)->library_due_;
  due.reset();
  if (milliseconds >= 0) {
    due = Steady::now() + std::chrono::milliseconds(milliseconds);
  }
  return 0;
}

// An exchange whose socket cannot be watched ends by its limit. Told of it, the library would give up all
// exchanges; nothing may be thrown through it.
void Wire::Watch(int socket, CURL* easy, std::uint32_t events) noexcept {
  try {
    watched_.insert_or_assign(socket, easy);
  } catch (const std::bad_alloc&) {
    return;
  }
  if (!Control(epoll_.get(), EPOLL_CTL_ADD, socket, events) && errno == EEXIST) {
    (void)Control(epoll_.get(), EPOLL_CTL_MOD, socket, events);
  }
}

void Wire::Forget(int socket) {
  if (watched_.erase(socket) != 0) {
    (void)Control(epoll_.get(), EPOLL_CTL_DEL, socket, 0);
  }
}

HttpError Wire::Begin(std::unique_ptr<Exchange>& exchange) {
  if (!replayer_ && exchange->handle() == nullptr && !exchange->SetUp(proxy_, ca_file_)) {
    return HttpError::kInvalid;
  }
  // A record is read by the thread that waits, which goes first when it has something to do.
  std::unique_lock lock(mutex_, std::defer_lock);
  if (!replayer_ && !is_wanted_ && lock.try_lock()) {
    if (drained_) {
      return HttpError::kStopped;
    }
    const SignalsBlocked blocked;  // for threads that the library makes
    Add(std::move(exchange));
    ++under_way_;
    RunLibrary(1);
    SetTimer();
    if (!ended_.empty() || static_cast<std::size_t>(active_) != exchanges_.size()) {
      Wake();
    }
    return HttpError::kNone;
  }
  const std::lock_guard arrived_lock(arrived_mutex_);
  if (closed_) {
    return HttpError::kStopped;
  }
  arrived_.push_back(std::move(exchange));
  ++under_way_;
  Wake();
  return HttpError::kNone;
}

bool Wire::Await(std::vector<Ended>& ended) {
  std::array<epoll_event, 64> events{};
  std::span<const epoll_event> occurred;
  for (;;) {
    {
      const std::lock_guard lock(mutex_);
      is_wanted_ = false;
      for (const auto& [flags, data] : occurred) {
        OnEvent(data.fd, flags);
      }
      const bool goes_on = TakeArrived();
      if (goes_on) {
        constexpr int kManyTimes = 16;
        RunLibrary(kManyTimes);
        Collect();
        Expire();
        Play();
        SetTimer();
      } else {
        EndAll();
      }
      under_way_ -= ended_.size();
      std::move(ended_.begin(), ended_.end(), std::back_inserter(ended));
      ended_.clear();
      if (!goes_on) {
        return false;
      }
    }
    if (!ended.empty()) {
      return true;
    }
    const int count = epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), -1);
    is_wanted_ = true;
    occurred = {events.data(), static_cast<std::size_t>(std::max(count, 0))};
  }
}

void Wire::Close() {
  const std::lock_guard lock(arrived_mutex_);
  closed_ = true;
  Wake();
}

void Wire::Wake() {
  const std::uint64_t one = 1;
  (void)!write(wake_.get(), &one, sizeof one);
}

bool Wire::TakeArrived() {
  std::vector<std::unique_ptr<Exchange>> arrived;
  bool closed = false;
  {
    const std::lock_guard lock(arrived_mutex_);
    arrived.swap(arrived_);
    closed = closed_;
  }
  for (auto& exchange : arrived) {
    Add(std::move(exchange));
  }
  return !closed;
}

void Wire::Add(std::unique_ptr<Exchange> exchange) {
  if (replayer_) {
    Schedule(std::move(exchange));
    return;
  }
  Exchange& added = *exchange;
  exchanges_.emplace(Key(added.deadline, added.handle()), std::move(exchange));
  if (curl_multi_add_handle(multi_.get(), added.handle()) != CURLM_OK) {
    End(added, FailedAnswer(HttpError::kInvalid, "the request cannot be set up"));
  }
}

// An answer from the record takes its time, as far as the limit allows.
void Wire::Schedule(std::unique_ptr<Exchange> exchange) {
  Replayer::Answer given = replayer_->AnswerTo(exchange->request.url, Moment::Now());
  Steady::time_point due = exchange->asked + given.after;
  if (due > exchange->deadline) {
    due = exchange->deadline;
    given.answer = LateAnswer();
  }
  played_.emplace(due, Ended{std::move(exchange), std::move(given.answer)});
}

void Wire::OnEvent(int fd, std::uint32_t flags) {
  if (fd == wake_.get() || fd == timer_.get()) {
    std::uint64_t times = 0;
    (void)!read(fd, &times, sizeof times);
    if (fd == timer_.get()) {
      timer_due_.reset();
    }
    return;
  }
  const int what = ((flags & EPOLLIN) != 0 ? CURL_CSELECT_IN : 0) |
                   ((flags & EPOLLOUT) != 0 ? CURL_CSELECT_OUT : 0) |
                   ((flags & (EPOLLERR | EPOLLHUP)) != 0 ? CURL_CSELECT_ERR : 0);
  curl_multi_socket_action(multi_.get(), fd, what, &active_);
}

void Wire::RunLibrary(int most) {
  for (int calls = 0; calls < most && library_due_ && *library_due_ <= Steady::now(); ++calls) {
    library_due_.reset();
    curl_multi_socket_action(multi_.get(), CURL_SOCKET_TIMEOUT, 0, &active_);
  }
}

void Wire::Collect() {
  int left = 0;
  while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &left)) {
    if (message->msg == CURLMSG_DONE) {
      char* owner = nullptr;
      curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &owner);
      auto& exchange = *reinterpret_cast<Exchange*>(owner);
      End(exchange, exchange.Outcome(message->data.result));
    }
  }
}

void Wire::Expire() {
  const auto now = Steady::now();
  while (!exchanges_.empty() && exchanges_.begin()->first.first <= now) {
    End(*exchanges_.begin()->second, LateAnswer());
  }
}

void Wire::Play() {
  const auto now = Steady::now();
  while (!played_.empty() && played_.begin()->first <= now) {
    Ended played = std::move(played_.begin()->second);
    played_.erase(played_.begin());
    if (played.answer.error == HttpError::kNone || played.answer.error == HttpError::kStatus) {
      replayer_->Teach(ServerClock(), Moment::Now());
    }
    ended_.push_back(std::move(played));
  }
}

// A timer that rings too early does no harm: whoever waits sets it anew then.
void Wire::SetTimer() {
  std::optional<Steady::time_point> next = library_due_;
  const auto also = [&next](Steady::time_point due) { next = std::min(next.value_or(due), due); };
  if (!exchanges_.empty()) {
    also(exchanges_.begin()->first.first);
  }
  if (!played_.empty()) {
    also(played_.begin()->first);
  }
  if (!next || (timer_due_ && *timer_due_ <= *next)) {
    return;
  }
  timer_due_ = next;
  const auto nanoseconds =
      std::max<std::int64_t>(std::chrono::nanoseconds(next->time_since_epoch()).count(), 1);
  constexpr std::int64_t kSecond = 1'000'000'000;
  itimerspec when{};
  when.it_value.tv_sec = nanoseconds / kSecond;
  when.it_value.tv_nsec = nanoseconds % kSecond;
  (void)timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &when, nullptr);
}

void Wire::End(Exchange& exchange, HttpAnswer answer) {
  ended_.emplace_back();
  auto node = exchanges_.extract(Key(exchange.deadline, exchange.handle()));
  CountOpened(exchange.handle());
  // Of what has not ended the library closes the connection, and says so when its number may be another's.
  for (auto watched = watched_.begin(); watched != watched_.end();) {
    const auto [socket, easy] = *watched++;
    if (easy == exchange.handle()) {
      Forget(socket);
    }
  }
  curl_multi_remove_handle(multi_.get(), exchange.handle());
  ended_.back() = {std::move(node.mapped()), std::move(answer)};
}

void Wire::EndAll() {
  while (!exchanges_.empty()) {
    End(*exchanges_.begin()->second, StoppedAnswer());
  }
  for (auto& [due, played] : played_) {
    ended_.push_back({std::move(played.exchange), StoppedAnswer()});
  }
  played_.clear();
  drained_ = true;
  multi_.reset();  // here: whoever still holds the wire is a thread of the application
}

}  // namespace stock_host
