// The exchanges under way: any thread may add one, one thread at a time waits for their ends. Over libcurl's
// multi interface and epoll, which takes up a new connection while it is being waited for. Every operation
// may be called from any thread.
#pragma once

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "descriptor.h"
#include "exchange.h"
#include "http.h"

namespace stock_host {

class Wire {
 public:
  /// Throws `std::runtime_error` when the library or the system has no means for it. A replayer, if there is
  /// one, answers in place of any server.
  Wire(std::string proxy, std::string ca_file, std::shared_ptr<Replayer> replayer);
  /// After `Close` and the `Await` that told of it, or without any `Begin`.
  ~Wire();
  Wire(const Wire&) = delete;
  Wire& operator=(const Wire&) = delete;

  /// Takes an exchange on, which ends in `Await`. On a kept connection the calling thread sends the request
  /// itself, so that no thread has to be woken for it, unless another one is at the network just then. Never
  /// waits for a server, nor for another thread. Anything but `kNone`, with the exchange left to its caller:
  /// it cannot be set up (`kInvalid`), or the wire is closed (`kStopped`).
  [[nodiscard]] HttpError Begin(std::unique_ptr<Exchange>& exchange);

  /// Whether exchanges are under way.
  [[nodiscard]] bool IsBusy() const { return under_way_.load() > 0; }

  struct Ended {
    std::unique_ptr<Exchange> exchange;
    HttpAnswer answer;
  };
  /// Waits until exchanges have ended, and adds them to `ended`. False when the wire was closed, after every
  /// exchange has ended. One thread at a time.
  [[nodiscard]] bool Await(std::vector<Ended>& ended);

  /// Ends every exchange, in `Await`.
  void Close();

 private:
  using Steady = std::chrono::steady_clock;
  struct Multi {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
  };

  static int OnSocket(CURL* easy, curl_socket_t socket, int what, void* wire, void* unused);
  static int OnTimer(CURLM* multi, long milliseconds, void* wire);

  void Wake();

  // The rest with `mutex_` held. False when the wire was closed.
  bool TakeArrived();
  void Add(std::unique_ptr<Exchange> exchange);
  void Schedule(std::unique_ptr<Exchange> exchange);

  void Watch(int socket, CURL* easy, std::uint32_t events) noexcept;
  void Forget(int socket);
  void OnEvent(int fd, std::uint32_t flags);
  void RunLibrary(int most);  // what it wants to do now, unless for a socket; then the timer rings
  void Collect();
  void Expire();
  void Play();
  void SetTimer();

  // Of an exchange that was added.
  void End(Exchange& exchange, HttpAnswer answer);
  void EndAll();

  const std::string proxy_;
  const std::string ca_file_;
  const std::shared_ptr<Replayer> replayer_;
  const Descriptor epoll_;
  const Descriptor wake_;
  const Descriptor timer_;
  std::atomic<std::size_t> under_way_ = 0;
  std::atomic<bool> is_wanted_ = false;  // the wire's mutex, by the thread that has waited

  std::mutex arrived_mutex_;  // guards the members below; may be taken with the other one held
  std::vector<std::unique_ptr<Exchange>> arrived_;
  bool closed_ = false;

  std::mutex mutex_;                                 // of the library's handles, and of the members below
  using Key = std::pair<Steady::time_point, CURL*>;  // by deadline
  std::map<Key, std::unique_ptr<Exchange>> exchanges_;
  std::multimap<Steady::time_point, Ended> played_;  // from a record, by when they are due
  std::vector<Ended> ended_;
  int active_ = 0;                                 // transfers that the library has not ended
  std::map<int, CURL*> watched_;                   // sockets, and whose transfer each one is
  std::optional<Steady::time_point> library_due_;  // when the library wants to be called
  std::optional<Steady::time_point> timer_due_;    // as the timer is set
  bool drained_ = false;                           // every exchange was ended, none is taken on
  std::unique_ptr<CURLM, Multi> multi_;            // its end still touches the others
};

}  // namespace stock_host
