#include "signing.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <utility>
#include <vector>

#include "host/clock.h"
#include "host/signing.h"
#include "host/singleton.h"
#include "host/text.h"
#include "log.h"

namespace stock_host {
namespace {

constexpr std::string_view kScheme = "csm1";
constexpr std::array<std::string_view, 5> kReserved{"_v", "_k", "_t", "_n", "_s"};

using Pair = std::pair<std::string, std::string>;

std::string Hex(const unsigned char* bytes, std::size_t size) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  text.reserve(2 * size);
  for (std::size_t i = 0; i < size; ++i) {
    text += kDigits[bytes[i] >> 4U];
    text += kDigits[bytes[i] & 0xfU];
  }
  return text;
}

// `pairs` are encoded and hold no reserved name; `path` is encoded.
std::string Sign(const Addresses& addresses, const std::string& path, std::vector<Pair> pairs,
                 const SigningMark& mark) {
  if (addresses.scheme.empty() || addresses.key.empty() || mark.nonce.empty()) {
    return {};
  }
  pairs.emplace_back("_v", kScheme);
  pairs.emplace_back("_k", addresses.key_id);
  pairs.emplace_back("_t", std::to_string(mark.time));
  pairs.emplace_back("_n", mark.nonce);
  std::sort(pairs.begin(), pairs.end());
  std::string query;
  for (const auto& [name, value] : pairs) {
    query += (query.empty() ? "" : "&") + name + "=" + value;
  }
  const std::string text =
      std::string(kScheme) + "\nGET\n" + addresses.authority + "\n" + path + "\n" + query;
  const std::string signature = HmacSha256(addresses.key, text);
  if (signature.empty()) {
    return {};
  }
  return addresses.Origin() + path + "?" + query + "&_s=" + signature;
}

// Path and pairs of a signed URL of the quote API server, as they stand there.
struct SignedParts {
  std::string path;
  std::vector<Pair> pairs;
};

std::optional<SignedParts> Split(const Addresses& addresses, std::string_view url) {
  const std::string origin = addresses.Origin();
  const std::size_t question = url.find('?');
  if (origin.empty() || !url.starts_with(origin + "/") || question == std::string_view::npos) {
    return std::nullopt;
  }
  SignedParts parts;
  parts.path = url.substr(origin.size(), question - origin.size());
  bool has_signature = false;
  for (std::string_view rest = url.substr(question + 1); !rest.empty();) {
    const std::string_view pair = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
    const std::size_t equals = pair.find('=');
    if (equals == std::string_view::npos) {
      return std::nullopt;
    }
    has_signature = has_signature || pair.starts_with("_s=");
    parts.pairs.emplace_back(pair.substr(0, equals), pair.substr(equals + 1));
  }
  return has_signature ? std::optional(std::move(parts)) : std::nullopt;
}

}  // namespace

bool IsSigningParameter(std::string_view name) {
  return std::find(kReserved.begin(), kReserved.end(), name) != kReserved.end();
}

std::string HmacSha256(std::string_view key, std::string_view text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned size = 0;
  if (HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
           reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data(),
           &size) == nullptr) {
    return {};
  }
  return Hex(digest.data(), size);
}

std::string SignedUrl(const Addresses& addresses, std::string_view path,
                      const std::map<std::string, std::string>& parameters, const SigningMark& mark) {
  std::vector<Pair> pairs;
  for (const auto& [name, value] : parameters) {
    if (IsSigningParameter(name)) {
      return {};
    }
    pairs.emplace_back(PercentEncoded(name), PercentEncoded(value));
  }
  return Sign(addresses, addresses.base_path + (path.starts_with('/') ? "" : "/") + PercentEncoded(path, "/"),
              std::move(pairs), mark);
}

std::optional<std::int64_t> TimeOfSigning(const Addresses& addresses, std::string_view url) {
  const auto parts = Split(addresses, url);
  if (!parts) {
    return std::nullopt;
  }
  for (const auto& [name, value] : parts->pairs) {
    std::int64_t time = 0;
    if (name == "_t" && std::from_chars(value.data(), value.data() + value.size(), time).ec == std::errc()) {
      return time;
    }
  }
  return std::nullopt;
}

std::string SignedAnew(const Addresses& addresses, std::string_view url, const SigningMark& mark) {
  auto parts = Split(addresses, url);
  if (!parts) {
    return {};
  }
  std::erase_if(parts->pairs, [](const Pair& pair) { return IsSigningParameter(pair.first); });
  return Sign(addresses, parts->path, std::move(parts->pairs), mark);
}

std::optional<SigningMark> NewSigningMark(std::int64_t time) {
  std::array<unsigned char, 16> bytes{};
  if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
    Log(Severity::kError, "signing: the machine gives no random numbers");
    return std::nullopt;
  }
  return SigningMark{time, Hex(bytes.data(), bytes.size())};
}

std::string FollowServer(ServerClockModel& clock, const Addresses& addresses,
                         const HttpHeaderReport& report) {
  const std::string origin = addresses.Origin();
  // An answer that lay waiting while the machine was suspended is as old as that.
  if (origin.empty() || report.date < 0 || !report.url.starts_with(origin + "/") ||
      SuspendedBetween(report.sent, report.received)) {
    return {};
  }
  const double speed = report.speed ? ParseSpeed(report.speed->c_str()).value_or(1) : 1;
  const auto signed_at = TimeOfSigning(addresses, report.url);
  if (!clock.Learn(report.date, speed, report.received) || !signed_at) {
    return {};
  }
  const double under_way =
      std::chrono::duration<double>(report.received.elapsed - report.sent.elapsed).count();
  const double skew = static_cast<double>(report.date - *signed_at) - under_way * speed;
  if (std::abs(skew) <= ServerClockModel::kLargestSkew) {
    return {};
  }
  Log(Severity::kInfo, "clock: a request was signed " + std::to_string(std::llround(skew)) +
                           " seconds off the server's clock and is sent again");
  // By the answer's own time: one answer far off does not move the clock yet.
  const auto mark = NewSigningMark(report.date);
  return mark ? SignedAnew(addresses, report.url, *mark) : std::string();
}

}  // namespace stock_host

std::wstring UrlHelper::GetSigniture(const std::wstring& path,
                                     const std::map<std::string, std::string>& parameters) {
  using namespace stock_host;
  const auto addresses = CurrentAddresses();
  if (addresses->scheme.empty() || addresses->key.empty()) {
    return {};
  }
  const auto mark = NewSigningMark(common::GetCurrentServerTime());
  if (!mark) {
    return {};
  }
  const std::string url = SignedUrl(*addresses, common::ws2s(path, common::kUtf8), parameters, *mark);
  if (url.empty()) {
    Log(Severity::kError,
        "signing: " + common::ws2s(path, common::kUtf8) + " has a parameter with a reserved name");
  }
  return common::s2ws(url, common::kUtf8);
}

std::wstring UrlHelper::StaticRoot() {
  return common::s2ws(stock_host::CurrentAddresses()->static_root, common::kUtf8);
}

std::wstring UrlHelper::HistoryRoot() {
  return common::s2ws(stock_host::CurrentAddresses()->history_root, common::kUtf8);
}

namespace pattern {

template <>
UrlHelper* CSingleton<UrlHelper>::GetInstance() {
  static UrlHelper instance;
  return &instance;
}

}  // namespace pattern
