// One request and its answer so far: how it is asked, what of the answer is taken, how the outcome is judged.
// Used by one thread at a time; threads, deadlines and the order of things are wire.cpp's and http.cpp's.
#pragma once

#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "gzip.h"
#include "http.h"

namespace stock_host {

[[nodiscard]] HttpAnswer FailedAnswer(HttpError error, std::string reason);

class Exchange {
 public:
  using Steady = std::chrono::steady_clock;

  explicit Exchange(HttpRequest asked);
  ~Exchange();
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  /// Makes the library's handle ready to be run. False when it cannot be made.
  [[nodiscard]] bool SetUp(const std::string& proxy, const std::string& ca_file);

  /// Forgets the answer and asks `url` instead, on the same handle. False when that cannot be.
  [[nodiscard]] bool SetUpAgain(std::string url);

  /// What came of it, once the library has ended it with `code`. Takes the body.
  [[nodiscard]] HttpAnswer Outcome(CURLcode code);

  [[nodiscard]] HttpHeaderReport Report() const { return {request.url, date_, speed_, sent_, header_at_}; }
  [[nodiscard]] CURL* handle() const { return easy_; }

  HttpRequest request;
  HttpClient::Done done;
  bool wakes_caller = false;  ///< `done` does no more than that, and needs no thread of its own
  std::string endpoint;
  const Steady::time_point asked = Steady::now();
  Steady::time_point deadline;
  bool asked_again = false;

 private:
  static std::size_t OnHeader(char* bytes, std::size_t size, std::size_t count, void* exchange);
  static std::size_t OnBody(char* bytes, std::size_t size, std::size_t count, void* exchange);
  static int OnProgress(void* exchange, curl_off_t total, curl_off_t now, curl_off_t up_total,
                        curl_off_t up_now);

  [[nodiscard]] bool TakeHeaderLine(std::string_view line);
  [[nodiscard]] bool TakeBody(std::string_view piece);
  void ForgetHeader();

  CURL* easy_ = nullptr;
  curl_slist* header_lines_ = nullptr;
  Moment sent_;

  // The answer so far.
  std::size_t header_bytes_ = 0;
  std::size_t body_bytes_ = 0;  // as they came
  bool header_complete_ = false;
  bool chunked_ = false;
  bool too_large_ = false;
  std::string trouble_;  // why our own callbacks broke off
  std::int64_t date_ = -1;
  std::optional<std::string> speed_;
  Moment header_at_;
  std::unique_ptr<Gunzip> gunzip_;
  std::string body_;
};

}  // namespace stock_host
