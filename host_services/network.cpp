// The network functions of the host contract: arguments checked and handed to the HTTP client. No state.
#include "host/network.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "host/text.h"
#include "http.h"

namespace {

stock_host::HttpRequest RequestOf(const std::wstring& url, const std::map<std::string, std::string>& headers,
                                  int seconds) {
  stock_host::HttpRequest request;
  request.url = common::ws2s(url, common::kUtf8);
  request.headers = headers;
  request.limit = std::chrono::seconds(std::clamp(seconds, 1, 3600));
  return request;
}

}  // namespace

bool GetSync(const std::wstring& url, std::string& body, const std::map<std::string, std::string>& headers,
             int seconds) {
  stock_host::HttpAnswer answer = stock_host::TheHttpClient().Fetch(RequestOf(url, headers, seconds));
  body = std::move(answer.body);
  return answer.error == stock_host::HttpError::kNone;
}

void GetAsyn(const std::wstring& url, const AsynCallback& done,
             const std::map<std::string, std::string>& headers, int seconds) {
  stock_host::TheHttpClient().FetchLater(
      RequestOf(url, headers, seconds), [done](const stock_host::HttpAnswer& answer) {
        if (done.empty()) {
          return;
        }
        const bool answered =
            answer.error == stock_host::HttpError::kNone || answer.error == stock_host::HttpError::kStatus;
        done(answer.error == stock_host::HttpError::kNone, answered ? answer.body.c_str() : nullptr,
             answer.body.size());
      });
}
