#include "addresses.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

#include "ascii.h"

namespace stock_host {
namespace {

struct Current {
  std::mutex mutex;  // guards addresses
  std::shared_ptr<const Addresses> addresses = std::make_shared<const Addresses>();
};

// Leaked: callable until the very end of the process.
Current& TheAddresses() {
  static Current* const state = new Current;
  return *state;
}

bool IsUnreserved(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
         c == '_' || c == '~';
}

class ParsedUrl {
 public:
  explicit ParsedUrl(const std::string& url, unsigned flags = CURLU_PATH_AS_IS)
      : handle_(curl_url()),
        good_(handle_ != nullptr && curl_url_set(handle_, CURLUPART_URL, url.c_str(), flags) == CURLUE_OK) {}
  ~ParsedUrl() { curl_url_cleanup(handle_); }
  ParsedUrl(const ParsedUrl&) = delete;
  ParsedUrl& operator=(const ParsedUrl&) = delete;

  [[nodiscard]] bool good() const { return good_; }
  [[nodiscard]] std::string Part(CURLUPart part) const {
    char* text = nullptr;
    if (!good_ || curl_url_get(handle_, part, &text, 0) != CURLUE_OK || text == nullptr) {
      return {};
    }
    std::string copy = text;
    curl_free(text);
    return copy;
  }

 private:
  CURLU* const handle_;
  const bool good_;
};

// Scheme, authority and path of the root of a server. False when `root` is no such address.
bool ParseRoot(const std::string& root, std::string& scheme, std::string& authority, std::string& path) {
  const std::string sendable = SendableUrl(root);
  if (sendable.empty() || sendable.find('?') != std::string::npos) {
    return false;
  }
  const ParsedUrl url(sendable);
  scheme = url.Part(CURLUPART_SCHEME);
  scheme = Lower(std::move(scheme));
  authority = url.Part(CURLUPART_HOST);
  authority = Lower(std::move(authority));
  const std::string port = url.Part(CURLUPART_PORT);
  if (!port.empty() && port != (scheme == "http" ? "80" : "443")) {
    authority += ":" + port;
  }
  path = url.Part(CURLUPART_PATH);
  while (!path.empty() && path.back() == '/') {
    path.pop_back();
  }
  return true;
}

// "host:port", or with one of the schemes that the HTTP library speaks with proxies.
bool IsProxy(const std::string& text) {
  const bool has_scheme = text.find("://") != std::string::npos;
  const ParsedUrl url(has_scheme ? text : "http://" + text, CURLU_NON_SUPPORT_SCHEME);
  const std::string path = url.Part(CURLUPART_PATH);
  const bool is_speakable = [scheme = Lower(url.Part(CURLUPART_SCHEME))] {
    static constexpr std::array<std::string_view, 6> kSchemes{"http",    "https",  "socks4",
                                                              "socks4a", "socks5", "socks5h"};
    return std::find(kSchemes.begin(), kSchemes.end(), scheme) != kSchemes.end();
  }();
  return url.good() && is_speakable && !url.Part(CURLUPART_HOST).empty() && (path.empty() || path == "/") &&
         url.Part(CURLUPART_QUERY).empty() && url.Part(CURLUPART_FRAGMENT).empty() &&
         (has_scheme || !url.Part(CURLUPART_PORT).empty());
}

bool IsKeyId(const std::string& text) {
  return !text.empty() && text.size() <= 64 &&
         std::all_of(text.begin(), text.end(), [](char c) { return c != '~' && IsUnreserved(c); });
}

}  // namespace

std::shared_ptr<const Addresses> ParseAddresses(const Settings& settings, std::string& error) {
  const auto refuse = [&](const std::string& what, const std::string& value) {
    error = what + " \"" + value + "\" is no http or https address of a server";
    return nullptr;
  };
  auto addresses = std::make_shared<Addresses>();
  std::string api_root;
  if (!settings.api_root.empty()) {
    if (!ParseRoot(settings.api_root, addresses->scheme, addresses->authority, addresses->base_path)) {
      return refuse("the quote API server", settings.api_root);
    }
    api_root = addresses->ApiRoot();
    addresses->static_root = api_root + "/static/";
    addresses->history_root = api_root;
  }
  std::string scheme;
  std::string authority;
  std::string path;
  if (!settings.static_root.empty()) {
    if (!ParseRoot(settings.static_root, scheme, authority, path)) {
      return refuse("the static file server", settings.static_root);
    }
    addresses->static_root = scheme + "://" + authority + path + "/";
  }
  if (!settings.history_root.empty()) {
    if (!ParseRoot(settings.history_root, scheme, authority, path)) {
      return refuse("the history query service", settings.history_root);
    }
    addresses->history_root = scheme + "://" + authority + path;
  }
  if (!settings.proxy.empty() && !IsProxy(settings.proxy)) {
    error = "the proxy cannot be used; write it as http://host:port";  // it may hold a password
    return nullptr;
  }
  if (settings.key_id.empty() != settings.key.empty()) {
    error =
        settings.key.empty() ? "a key id is configured, but no key" : "a key is configured, but no key id";
    return nullptr;
  }
  if (!settings.key_id.empty() && !IsKeyId(settings.key_id)) {
    error = "the key id is not 1 to 64 characters of A-Z a-z 0-9 . _ -";
    return nullptr;
  }
  addresses->key_id = settings.key_id;
  addresses->key = settings.key;
  return addresses;
}

std::shared_ptr<const Addresses> CurrentAddresses() {
  Current& state = TheAddresses();
  const std::lock_guard lock(state.mutex);
  return state.addresses;
}

void SetAddresses(std::shared_ptr<const Addresses> addresses) {
  Current& state = TheAddresses();
  const std::lock_guard lock(state.mutex);
  state.addresses.swap(addresses);
}

std::string EndpointOf(const Addresses& addresses, std::string_view url) {
  const auto fit = [url](const std::string& root) { return url.starts_with(root) ? root.size() : 0; };
  const std::string api_root = addresses.ApiRoot();
  const std::size_t api = api_root.empty() ? 0 : fit(api_root + "/pc/");
  const std::size_t files = fit(addresses.static_root);
  std::size_t history = fit(addresses.history_root);
  if (history > 0 && url.substr(history).starts_with("/kql?")) {
    history += 4;
  } else if (history < url.size() && url[history] != '/' && url[history] != '?') {
    history = 0;  // the beginning of another host or port
  }
  const bool is_signed = url.find("&_s=") != std::string_view::npos;
  if (api > 0 && (is_signed || api >= std::max(files, history))) {
    const std::string_view path = url.substr(api_root.size());
    return std::string(path.substr(0, std::min<std::size_t>(path.find('?'), 96)));
  }
  if (std::max(files, history) == 0) {
    return "other";
  }
  return files > history ? "static" : "history";
}

std::string PercentEncoded(std::string_view text, std::string_view keep) {
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(text.size());
  for (const char c : text) {
    if (IsUnreserved(c) || keep.find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += '%';
      encoded += kDigits[byte >> 4U];
      encoded += kDigits[byte & 0xfU];
    }
  }
  return encoded;
}

std::string SendableUrl(std::string_view url) {
  std::string encoded;
  encoded.reserve(url.size());
  for (const char c : url) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f || c == '#') {
      return {};
    }
    if (byte > 0x7f || c == ' ') {
      encoded += PercentEncoded(std::string_view(&c, 1));
    } else {
      encoded += c;
    }
  }
  const ParsedUrl parsed(encoded);
  std::string scheme = parsed.Part(CURLUPART_SCHEME);
  scheme = Lower(std::move(scheme));
  const std::string host = parsed.Part(CURLUPART_HOST);
  const std::size_t authority = encoded.find("://");
  if (!parsed.good() || (scheme != "http" && scheme != "https") || host.empty() ||
      host.find('%') != std::string::npos || authority == std::string::npos ||
      encoded.compare(authority, 4, ":///") == 0 ||  // the library would take the path for the host
      !parsed.Part(CURLUPART_USER).empty() || !parsed.Part(CURLUPART_PASSWORD).empty()) {
    return {};
  }
  return encoded;
}

}  // namespace stock_host
