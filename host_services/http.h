// The HTTP client: whoever asks sends the request where it can; a few threads, one of which waits for answers
// while the others run completions. What is under way is wire.h's.
// Every operation may be called from any thread. The contract's GetSync and GetAsyn (network.cpp) and the
// download stand on it.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "clock.h"

namespace stock_host {

enum class HttpError {
  kNone,
  kInvalid,     ///< the URL or a header cannot be sent
  kConnection,  ///< no connection, or it broke
  kSecurity,    ///< TLS
  kTimeout,
  kIncomplete,  ///< the answer ended early, or is no proper HTTP or gzip
  kStatus,      ///< complete, but not 200
  kTooLarge,
  kStopped,
};

struct HttpRequest {
  std::string url;
  std::map<std::string, std::string> headers;
  std::chrono::milliseconds limit{8000};  ///< for the whole exchange, waiting for its turn included
  std::size_t largest_body = 8U << 20;    ///< bytes, unpacked
  bool unpack = true;  ///< offers gzip to the server and unpacks it; else the bytes are taken as they come
};

struct HttpAnswer {
  HttpError error = HttpError::kStopped;
  std::string reason;  ///< of the failure, in words of our own; no text of the server
  int status = 0;
  std::string body;  ///< empty unless `error` is `kNone` or `kStatus`
};

/// What an answer tells about the server's clock.
struct HttpHeaderReport {
  std::string url;
  std::int64_t date = 0;             ///< Date header, Unix seconds; -1 if none
  std::optional<std::string> speed;  ///< X-Market-Speed header
  Moment sent;
  Moment received;
};

class Recorder;
class Replayer;

struct HttpSettings {
  std::string proxy;
  std::string ca_file;
  /// Called for each complete answer, whatever its status, on the thread at the network. A URL that it gives
  /// is asked instead, once for each request and within the same limit.
  std::function<std::string(const HttpHeaderReport&)> correct;
  std::shared_ptr<Recorder> recorder;  ///< told of each exchange that ends; may be null
  std::shared_ptr<Replayer> replayer;  ///< answers in place of any server, if not null
};

class HttpClient {
 public:
  using Done = std::function<void(const HttpAnswer&)>;

  HttpClient();
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  /// Starts the threads. Must not be called while running. Throws what thread creation throws.
  void Start(HttpSettings settings);

  /// Fails every request under way and returns when all have ended. Completions still run.
  void StopNetwork();

  /// Returns when all completions have run and their threads are joined. After `StopNetwork`.
  void FinishCompletions();

  /// `done` is called exactly once, never inside this call, on a thread that holds no lock; what it throws is
  /// logged and dropped. While the client does not run the request fails, on a thread made for it.
  void FetchLater(HttpRequest request, Done done);

  /// Waits for the answer, for which there is always a thread: a completion may call it.
  [[nodiscard]] HttpAnswer Fetch(HttpRequest request);

 private:
  struct Impl;

  void Submit(HttpRequest request, Done done, bool wakes_caller);
  const std::unique_ptr<Impl> impl_;
};

/// The one that the host contract uses; leaked.
[[nodiscard]] HttpClient& TheHttpClient();

}  // namespace stock_host
