// Where the servers are and which key signs for them: what `Start` was told, in checked form. An `Addresses`
// never changes; the current one is exchanged as a whole. Callable from any thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "stock_host.h"

namespace stock_host {

struct Addresses {
  // The quote API server; all empty when none is configured.
  std::string scheme;        // "http" or "https"
  std::string authority;     // as in the Host header: lower case, the port unless it is the scheme's default
  std::string base_path;     // percent-encoded, begins with "/" or is empty, does not end in "/"
  std::string static_root;   // ends in "/", or empty
  std::string history_root;  // does not end in "/", or empty
  std::string key_id;
  std::string key;

  /// "http://host:port" of the quote API server, or empty.
  [[nodiscard]] std::string Origin() const {
    return scheme.empty() ? std::string() : scheme + "://" + authority;
  }
  /// With its path.
  [[nodiscard]] std::string ApiRoot() const { return Origin() + base_path; }
};

/// Checks addresses, proxy and key of `settings`. Null with `error` when one is unusable.
[[nodiscard]] std::shared_ptr<const Addresses> ParseAddresses(const Settings& settings, std::string& error);

/// The addresses in force; never null.
[[nodiscard]] std::shared_ptr<const Addresses> CurrentAddresses();
void SetAddresses(std::shared_ptr<const Addresses> addresses);

/// The name under which requests for `url` are counted. Roots may lie below each other: what is signed is the
/// quote API's, of all else the longest root that `url` begins with says whose it is.
[[nodiscard]] std::string EndpointOf(const Addresses& addresses, std::string_view url);

/// `text` with everything percent-encoded but the unreserved characters (letters, digits, "-._~") and those
/// in `keep`.
[[nodiscard]] std::string PercentEncoded(std::string_view text, std::string_view keep = {});

/// A URL as it can be sent: absolute http or https with a host, without user or fragment, spaces and bytes
/// above ASCII percent-encoded. Empty when `url` is none.
[[nodiscard]] std::string SendableUrl(std::string_view url);

}  // namespace stock_host
