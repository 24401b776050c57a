// DownloadFileSyncWithRetry of the host contract: a complete answer that is a whole gzip file replaces the
// file, or nothing does. No state, callable from any thread; two downloads to one path do not disturb each
// other, the later one stays.
#include <algorithm>
#include <chrono>
#include <string>

#include "gzip.h"
#include "host/network.h"
#include "host/text.h"
#include "http.h"
#include "log.h"
#include "replace_file.h"

namespace {

constexpr std::size_t kLargestDownload = 16U << 20;

// Empty when the file is in place.
std::string TryDownload(const std::string& url, const std::string& path, int seconds) {
  stock_host::HttpRequest request;
  request.url = url;
  request.limit = std::chrono::seconds(std::clamp(seconds, 1, 3600));
  request.largest_body = kLargestDownload;
  request.unpack = false;
  const stock_host::HttpAnswer answer = stock_host::TheHttpClient().Fetch(std::move(request));
  if (answer.error != stock_host::HttpError::kNone) {
    return answer.reason;
  }
  if (!stock_host::IsWholeGzip(answer.body)) {
    return "what came is no whole gzip file";
  }
  std::string error;
  return stock_host::ReplaceFile(path, answer.body, error) ? std::string() : error;
}

}  // namespace

bool DownloadFileSyncWithRetry(const std::wstring& url, const std::wstring& path, int retries, int seconds) {
  const std::string from = common::ws2s(url, common::kUtf8);
  const std::string to = common::ws2s(path, common::kUtf8);
  if (from.empty() || to.empty()) {
    return false;
  }
  for (int left = std::max(retries, 1); left > 0; --left) {
    const std::string failure = TryDownload(from, to, seconds);
    if (failure.empty()) {
      return true;
    }
    stock_host::Log(stock_host::Severity::kWarning,
                    "download: " + from.substr(0, from.find('?')) + ": " + failure);
  }
  return false;
}
