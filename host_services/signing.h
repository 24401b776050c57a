// Signing of quote API requests, as docs/protocol-signing.md describes it. No state, callable from any
// thread; the contract's UrlHelper adds time, nonce and the configured key.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "addresses.h"
#include "clock.h"
#include "http.h"

namespace stock_host {

/// Time of signing (Unix seconds by the server's clock) and nonce (32 lower-case hexadecimal digits).
struct SigningMark {
  std::int64_t time = 0;
  std::string nonce;
};

/// HMAC-SHA256 as 64 lower-case hexadecimal digits; empty when the computation fails.
[[nodiscard]] std::string HmacSha256(std::string_view key, std::string_view text);

/// The signed URL. Empty when the addresses name no server or no key, or a parameter has a reserved name.
[[nodiscard]] std::string SignedUrl(const Addresses& addresses, std::string_view path,
                                    const std::map<std::string, std::string>& parameters,
                                    const SigningMark& mark);

/// The time at which `url` was signed; nothing when it is no signed URL of the quote API server.
[[nodiscard]] std::optional<std::int64_t> TimeOfSigning(const Addresses& addresses, std::string_view url);

/// A signed URL with its time and nonce exchanged and signed anew; empty when it cannot be.
[[nodiscard]] std::string SignedAnew(const Addresses& addresses, std::string_view url,
                                     const SigningMark& mark);

/// True for the name of a parameter that belongs to a signature.
[[nodiscard]] bool IsSigningParameter(std::string_view name);

/// `time` and a fresh nonce. Nothing when the machine has no random numbers.
[[nodiscard]] std::optional<SigningMark> NewSigningMark(std::int64_t time);

/// Keeps `clock` with the quote API server's, as one of its answers tells it. The URL to ask instead when the
/// request was signed by a clock so far off that the server refuses it; else empty.
[[nodiscard]] std::string FollowServer(ServerClockModel& clock, const Addresses& addresses,
                                       const HttpHeaderReport& report);

}  // namespace stock_host
