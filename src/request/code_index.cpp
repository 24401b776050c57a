#include "request/code_index.h"

#include <array>
#include <bit>
#include <chrono>
#include <exception>
#include <random>

namespace request {
namespace {

using Secret = std::array<std::uint64_t, 2>;

Secret DrawSecret() {
  Secret secret{};
  try {
    std::random_device device;
    for (std::uint64_t& word : secret) {
      word = (std::uint64_t{device()} << 32U) | device();
    }
  } catch (const std::exception&) {
    // Without a source of randomness: what a server can hardly know.
    secret = {static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()),
              std::bit_cast<std::uintptr_t>(&secret)};
  }
  return secret;
}

// SipHash-1-3, with one round per two characters.
class Sip {
 public:
  explicit Sip(const Secret& secret)
      : v0_(secret[0] ^ 0x736f6d6570736575U),
        v1_(secret[1] ^ 0x646f72616e646f6dU),
        v2_(secret[0] ^ 0x6c7967656e657261U),
        v3_(secret[1] ^ 0x7465646279746573U) {}

  void Add(std::uint64_t word) {
    v3_ ^= word;
    Round();
    v0_ ^= word;
  }

  [[nodiscard]] std::uint64_t Finish() {
    v2_ ^= 0xFF;
    Round();
    Round();
    Round();
    return v0_ ^ v1_ ^ v2_ ^ v3_;
  }

 private:
  void Round() {
    v0_ += v1_;
    v2_ += v3_;
    v1_ = std::rotl(v1_, 13) ^ v0_;
    v3_ = std::rotl(v3_, 16) ^ v2_;
    v0_ = std::rotl(v0_, 32);
    v2_ += v1_;
    v0_ += v3_;
    v1_ = std::rotl(v1_, 17) ^ v2_;
    v3_ = std::rotl(v3_, 21) ^ v0_;
    v2_ = std::rotl(v2_, 32);
  }

  std::uint64_t v0_, v1_, v2_, v3_;
};

}  // namespace

std::uint32_t HashOfCode(std::wstring_view code) {
  static const Secret secret = DrawSecret();
  Sip sip(secret);
  std::size_t place = 0;
  for (; place + 1 < code.size(); place += 2) {
    sip.Add(static_cast<std::uint32_t>(code[place]) |
            (std::uint64_t{static_cast<std::uint32_t>(code[place + 1])} << 32U));
  }
  const std::uint64_t last = place < code.size() ? static_cast<std::uint32_t>(code[place]) : 0;
  sip.Add(last | (std::uint64_t{code.size()} << 32U));
  return static_cast<std::uint32_t>(sip.Finish());
}

}  // namespace request
