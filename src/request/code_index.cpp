#include "request/code_index.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstring>
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

std::uint64_t Mix(std::uint64_t left, std::uint64_t right) {
  __extension__ using Product = unsigned __int128;
  const Product product = static_cast<Product>(left) * right;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

}  // namespace

// Two words of two characters each at a time, as wyhash does it.
std::uint32_t HashOfCode(std::wstring_view code) {
  static const Secret secret = DrawSecret();
  const auto word = [&code](std::size_t place) {
    std::uint64_t characters = 0;
    const std::size_t count = place < code.size() ? std::min<std::size_t>(code.size() - place, 2) : 0;
    std::memcpy(&characters, code.data() + (count != 0 ? place : 0), count * sizeof(wchar_t));
    return characters;
  };
  std::uint64_t hash = secret[1];
  for (std::size_t place = 0; place < code.size(); place += 4) {
    hash = Mix(word(place) ^ secret[0], word(place + 2) ^ hash);
  }
  return static_cast<std::uint32_t>(Mix(secret[0] ^ code.size(), hash ^ secret[1]));
}

}  // namespace request
