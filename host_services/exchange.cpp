#include "exchange.h"

#include <sys/socket.h>

#include <utility>
#include <vector>

#include "ascii.h"

namespace stock_host {
namespace {

constexpr std::size_t kHeaderBytes = 64U << 10;
constexpr std::size_t kPackingLoss = 64U << 10;  // what gzip may add to bytes that do not pack

// No child process inherits a connection.
curl_socket_t OpenSocket(void* /*unused*/, curlsocktype /*purpose*/, curl_sockaddr* address) {
  return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
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

}  // namespace

HttpAnswer FailedAnswer(HttpError error, std::string reason) {
  HttpAnswer answer;
  answer.error = error;
  answer.reason = std::move(reason);
  return answer;
}

Exchange::Exchange(HttpRequest wanted) : request(std::move(wanted)) {}

Exchange::~Exchange() {
  curl_easy_cleanup(easy_);
  curl_slist_free_all(header_lines_);
}

bool Exchange::SetUp(const std::string& proxy, const std::string& ca_file) {
  easy_ = curl_easy_init();
  if (easy_ == nullptr) {
    return false;
  }
  bool good = true;
  const auto set = [&](CURLoption option, auto value) {
    good = curl_easy_setopt(easy_, option, value) == CURLE_OK && good;
  };
  set(CURLOPT_URL, request.url.c_str());
  set(CURLOPT_PRIVATE, static_cast<void*>(this));
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // a name server that does not answer must not hold up the other requests
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  set(CURLOPT_FOLLOWLOCATION, 0L);
  set(CURLOPT_PATH_AS_IS, 1L);
  set(CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
  set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
  // Empty: none. Given: for every host. Whatever the environment says.
  set(CURLOPT_PROXY, proxy.c_str());
  set(CURLOPT_NOPROXY, "");
  set(CURLOPT_OPENSOCKETFUNCTION, &OpenSocket);
  set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  set(CURLOPT_SSL_VERIFYPEER, 1L);
  set(CURLOPT_SSL_VERIFYHOST, 2L);
  if (!ca_file.empty()) {
    // In place of the system's, which stand in a directory.
    set(CURLOPT_CAINFO, ca_file.c_str());
    set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));
  }
  set(CURLOPT_USERAGENT, "csm");
  set(CURLOPT_HEADERFUNCTION, &OnHeader);
  set(CURLOPT_HEADERDATA, static_cast<void*>(this));
  set(CURLOPT_WRITEFUNCTION, &OnBody);
  set(CURLOPT_WRITEDATA, static_cast<void*>(this));
  set(CURLOPT_NOPROGRESS, 0L);
  set(CURLOPT_XFERINFOFUNCTION, &OnProgress);
  set(CURLOPT_XFERINFODATA, static_cast<void*>(this));
  // The header is written here and the body unpacked by ourselves: the library takes a gzip stream that
  // breaks off for a complete one.
  std::vector<std::string> lines;
  if (request.unpack) {
    lines.emplace_back("Accept-Encoding: gzip");
  }
  for (const auto& [name, value] : request.headers) {
    lines.push_back(value.empty() ? name + ";" : name + ": " + value);
  }
  for (const std::string& line : lines) {
    curl_slist* const longer = curl_slist_append(header_lines_, line.c_str());
    good = longer != nullptr && good;
    header_lines_ = longer != nullptr ? longer : header_lines_;
  }
  set(CURLOPT_HTTPHEADER, header_lines_);
  sent_ = Moment::Now();
  return good;
}

bool Exchange::SetUpAgain(std::string url) {
  request.url = std::move(url);
  asked_again = true;
  header_bytes_ = 0;
  body_bytes_ = 0;
  too_large_ = false;
  trouble_.clear();
  body_.clear();  // the header goes with the next status line
  sent_ = Moment::Now();
  return curl_easy_setopt(easy_, CURLOPT_URL, request.url.c_str()) == CURLE_OK;
}

HttpAnswer Exchange::Outcome(CURLcode code) {
  if (too_large_) {
    return FailedAnswer(HttpError::kTooLarge, "the answer is too large");
  }
  if (!trouble_.empty()) {
    return FailedAnswer(HttpError::kIncomplete, trouble_);
  }
  if (code != CURLE_OK) {
    // The library has one code for a connection that broke and for chunks that are none; only the first comes
    // from the system.
    long system_error = 0;
    curl_easy_getinfo(easy_, CURLINFO_OS_ERRNO, &system_error);
    if (code == CURLE_RECV_ERROR && chunked_ && system_error == 0) {
      return FailedAnswer(HttpError::kIncomplete, "the chunks of the answer are damaged");
    }
    return FailedAnswer(ErrorOf(code), curl_easy_strerror(code));
  }
  curl_off_t length = -1;
  long status = 0;
  curl_easy_getinfo(easy_, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
  curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
  // A body that ends where the connection ends may have been cut anywhere.
  if (!header_complete_ || (status == 200 && length < 0 && !chunked_)) {
    return FailedAnswer(HttpError::kIncomplete, "the answer does not tell its length");
  }
  if (gunzip_ && body_bytes_ > 0 && !gunzip_->Whole()) {
    return FailedAnswer(HttpError::kIncomplete, "the gzip stream breaks off");
  }
  HttpAnswer answer;
  answer.status = static_cast<int>(status);
  answer.body = std::move(body_);
  answer.error = status == 200 ? HttpError::kNone : HttpError::kStatus;
  if (answer.error == HttpError::kStatus) {
    answer.reason = "HTTP status " + std::to_string(status);
  }
  return answer;
}

// Nothing may be thrown through the library's own frames.
std::size_t Exchange::OnHeader(char* bytes, std::size_t size, std::size_t count, void* exchange) {
  auto* const self = static_cast<Exchange*>(exchange);
  try {
    return self->TakeHeaderLine({bytes, size * count}) ? size * count : 0;
  } catch (...) {
    self->trouble_ = "out of memory";
    return 0;
  }
}

std::size_t Exchange::OnBody(char* bytes, std::size_t size, std::size_t count, void* exchange) {
  auto* const self = static_cast<Exchange*>(exchange);
  try {
    return self->TakeBody({bytes, size * count}) ? size * count : 0;
  } catch (...) {
    self->trouble_ = "out of memory";
    return 0;
  }
}

// Bytes on the wire count too: a packed body that unpacks to nothing must come to an end.
int Exchange::OnProgress(void* exchange, curl_off_t /*total*/, curl_off_t now, curl_off_t /*up_total*/,
                         curl_off_t /*up_now*/) {
  auto* const self = static_cast<Exchange*>(exchange);
  if (now > static_cast<curl_off_t>(self->request.largest_body + kPackingLoss)) {
    self->too_large_ = true;
    return 1;
  }
  return 0;
}

void Exchange::ForgetHeader() {
  header_complete_ = false;
  chunked_ = false;
  date_ = -1;
  speed_.reset();
  gunzip_.reset();
}

bool Exchange::TakeHeaderLine(std::string_view line) {
  header_bytes_ += line.size();
  if (header_bytes_ > kHeaderBytes) {
    too_large_ = true;
    return false;
  }
  if (header_complete_ && !line.starts_with("HTTP/")) {
    return true;  // a trailer
  }
  if (line.starts_with("HTTP/")) {
    ForgetHeader();
    return true;
  }
  if (line == "\r\n" || line == "\n") {
    header_complete_ = true;
    header_at_ = Moment::Now();
    return true;
  }
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) {
    return true;
  }
  const std::string name = Lower(std::string(line.substr(0, colon)));
  const std::string value(Trimmed(line.substr(colon + 1)));
  if (name == "date") {
    date_ = curl_getdate(value.c_str(), nullptr);
  } else if (name == "x-market-speed") {
    speed_ = value;
  } else if (name == "transfer-encoding") {
    chunked_ = Lower(value) == "chunked";
    if (!chunked_ && Lower(value) != "identity") {
      trouble_ = "unknown transfer encoding";
      return false;
    }
  } else if (name == "content-encoding" && request.unpack) {
    const std::string encoding = Lower(value);
    if ((encoding == "gzip" || encoding == "x-gzip") && !gunzip_) {
      gunzip_ = std::make_unique<Gunzip>(request.largest_body);
    } else if (encoding != "identity" && !encoding.empty()) {
      trouble_ = "unknown content encoding";
      return false;
    }
  }
  return true;
}

bool Exchange::TakeBody(std::string_view piece) {
  body_bytes_ += piece.size();
  if (!gunzip_) {
    if (piece.size() > request.largest_body - body_.size()) {
      too_large_ = true;
      return false;
    }
    body_.append(piece);
    return true;
  }
  switch (gunzip_->Feed(piece, body_)) {
    case Gunzip::State::kGood:
      return true;
    case Gunzip::State::kCorrupt:
      trouble_ = "damaged gzip";
      return false;
    case Gunzip::State::kTooLarge:
      too_large_ = true;
      return false;
  }
  return false;
}

}  // namespace stock_host
