#include "market_server/signing.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace market_server {
namespace {

constexpr std::int64_t kWindow = 300;  // seconds to either side of the server's clock
constexpr std::int64_t kMemory = 600;  // seconds that a nonce stays used
constexpr std::int64_t kSlice = 30;    // seconds of signing time that are forgotten together
constexpr std::string_view kScheme = "csm1";

struct Pair {
  std::string_view name;
  std::string_view value;
  auto operator<=>(const Pair&) const = default;
};

/// Takes the next pair off `query`.
std::string_view NextPair(std::string_view& query) {
  const std::size_t end = query.find('&');
  const std::string_view part = query.substr(0, end);
  query = end == std::string_view::npos ? std::string_view{} : query.substr(end + 1);
  return part;
}

Pair Split(std::string_view part) {
  const std::size_t equals = part.find('=');
  if (equals == std::string_view::npos) return {part, {}};
  return {part.substr(0, equals), part.substr(equals + 1)};
}

/// The five signing parameters as they arrived, and the query that they sign.
struct Signed {
  std::string_view version, key, time, nonce, signature;
  int found = 0;
  bool once = true;
  bool ordered = true;
  std::string query;
};

Signed Read(std::string_view query) {
  Signed read;
  const std::pair<std::string_view, std::string_view*> members[] = {{"_v", &read.version},
                                                                    {"_k", &read.key},
                                                                    {"_t", &read.time},
                                                                    {"_n", &read.nonce},
                                                                    {"_s", &read.signature}};
  Pair last;
  bool have_last = false;
  while (!query.empty()) {
    const std::string_view part = NextPair(query);
    const Pair pair = Split(part);
    for (const auto& [name, member] : members) {
      if (pair.name != name) continue;
      read.once = read.once && member->data() == nullptr;
      *member = pair.value;
      ++read.found;
    }
    if (pair.name == "_s") continue;
    read.ordered = read.ordered && !(have_last && pair < last);
    last = pair;
    have_last = true;
    if (!read.query.empty()) read.query.push_back('&');
    read.query += part;
  }
  return read;
}

bool LowerHex(std::string_view text, std::size_t length) {
  if (text.size() != length) return false;
  for (const char c : text) {
    if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
  }
  return true;
}

unsigned char HexByte(std::string_view text, std::size_t index) {
  const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'a' + 10; };
  return static_cast<unsigned char>(digit(text[2 * index]) * 16 + digit(text[2 * index + 1]));
}

bool KeyIdShape(std::string_view text) {
  if (text.empty() || text.size() > 64) return false;
  for (const char c : text) {
    const bool ok = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '.' ||
                    c == '_' || c == '-';
    if (!ok) return false;
  }
  return true;
}

bool Decimal(std::string_view text, std::int64_t& number) {
  if (text.empty() || text.front() == '-') return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size();
}

}  // namespace

std::array<unsigned char, 32> HmacSha256(std::string_view key, std::string_view text) {
  std::array<unsigned char, 32> code{};
  unsigned int length = 0;
  if (HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
           reinterpret_cast<const unsigned char*>(text.data()), text.size(), code.data(),
           &length) == nullptr) {
    throw std::runtime_error("HMAC-SHA256 is not available");
  }
  return code;
}

std::size_t Signatures::UseHash::operator()(const Use& use) const noexcept {
  // Nonces are random already; the key's holder may choose them, but only to slow down their own requests.
  std::uint64_t high = 0;
  std::uint64_t low = 0;
  std::memcpy(&high, use.nonce.data(), 8);
  std::memcpy(&low, use.nonce.data() + 8, 8);
  return static_cast<std::size_t>((high ^ (low * 0x9E3779B97F4A7C15U)) + use.key);
}

Signatures::Signatures(const std::map<std::string, std::string>& keys, std::size_t nonces)
    : capacity_(nonces) {
  for (const auto& [id, secret] : keys) {
    const std::size_t number = keys_.size();
    keys_.emplace(id, KeyEntry{number, secret});
  }
}

Error Signatures::Check(const http::Request& request, double now) {
  const Signed read = Read(request.query);
  if (read.found == 0) return Error::kNotSigned;
  if (read.version.data() != nullptr && read.version != kScheme) return Error::kUnknownScheme;
  std::int64_t time = 0;
  if (read.found != 5 || !read.once || !read.ordered || !KeyIdShape(read.key) || !Decimal(read.time, time) ||
      !LowerHex(read.nonce, 32) || !LowerHex(read.signature, 64)) {
    return Error::kMalformedSignature;
  }
  const auto key = keys_.find(std::string(read.key));
  if (key == keys_.end()) return Error::kUnknownKey;

  std::string text(kScheme);
  text += '\n';
  text += request.method;
  text += '\n';
  text += request.host;
  text += '\n';
  text += std::string_view(request.target).substr(0, request.target.find('?'));
  text += '\n';
  text += read.query;
  const auto right = HmacSha256(key->second.secret, text);
  std::array<unsigned char, 32> given{};
  for (std::size_t i = 0; i < given.size(); ++i) given[i] = HexByte(read.signature, i);
  if (CRYPTO_memcmp(given.data(), right.data(), right.size()) != 0) return Error::kBadSignature;

  const auto seconds = static_cast<std::int64_t>(std::floor(now));
  if (time < seconds - kWindow) return Error::kTooOld;
  if (time > seconds + kWindow) return Error::kInFuture;
  Use use;
  use.key = key->second.number;
  for (std::size_t i = 0; i < use.nonce.size(); ++i) use.nonce[i] = HexByte(read.nonce, i);
  return Remember(use, time, seconds);
}

Error Signatures::Remember(const Use& use, std::int64_t time, std::int64_t now) {
  const std::lock_guard lock(mutex_);
  if (time < floor_) return Error::kTooOld;
  while (!slices_.empty() && (slices_.begin()->first + 1) * kSlice <= now - kMemory) {
    count_ -= slices_.begin()->second.size();
    slices_.erase(slices_.begin());
  }
  // A nonce can come back with another time, so every slice is asked. Few are ever held.
  for (const auto& [number, slice] : slices_) {
    if (slice.contains(use)) return Error::kReplayed;
  }
  if (count_ >= capacity_) {
    const auto oldest = slices_.begin();
    floor_ = (oldest->first + 1) * kSlice;
    count_ -= oldest->second.size();
    slices_.erase(oldest);
    if (time < floor_) return Error::kTooOld;
  }
  slices_[std::max(time, now) / kSlice].insert(use);
  ++count_;
  return Error::kNone;
}

void Signatures::Forget() {
  const std::lock_guard lock(mutex_);
  slices_.clear();
  count_ = 0;
  floor_ = INT64_MIN;
}

std::size_t Signatures::remembered() const {
  const std::lock_guard lock(mutex_);
  return count_;
}

}  // namespace market_server
