#include "request/code_index.h"

#include <array>
#include <bit>
#include <chrono>
#include <cstring>
#include <exception>
#include <random>

namespace request {
namespace {

using Secret = std::array<std::uint64_t, 3>;

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
              std::bit_cast<std::uintptr_t>(&secret),
              static_cast<std::uint64_t>(std::chrono::system_clock::now().time_since_epoch().count())};
  }
  return secret;
}

std::uint64_t Mix(std::uint64_t left, std::uint64_t right) {
  __extension__ using Product = unsigned __int128;
  const Product product = static_cast<Product>(left) * right;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

constexpr std::uint64_t kWhole = std::uint64_t{1} << 63U;

// Seven bits of each character, the last one in the lowest; 0 for a code that is not of one to eight ASCII
// characters.
std::uint64_t Packed(std::wstring_view code) {
  constexpr std::size_t kMost = 8;
  std::uint64_t packed = 0;
  if (code.size() <= kMost) {
    for (const wchar_t character : code) {
      const auto bits = static_cast<std::uint64_t>(character);
      if (bits - 1 >= 0x7F) {
        return 0;
      }
      packed = packed << 7U | bits;
    }
  }
  return packed;
}

}  // namespace

// A code that fits is multiplied by an odd secret, and its upper half laid over its lower one, once for each
// secret: all of it can be undone, so that no two become the same. (After two rounds, the first characters of
// a code are hardly told apart under one secret in a thousand.) Others are mixed four characters at a time,
// as wyhash does it; the last ones are filled up with zeros.
std::uint64_t HashOfCode(std::wstring_view code) {
  using Words = std::array<std::uint64_t, 2>;
  static_assert(sizeof(Words) == 4 * sizeof(wchar_t));
  static const Secret secret = DrawSecret();
  if (const std::uint64_t packed = Packed(code); packed != 0) {
    const auto spread = [](std::uint64_t bits, std::uint64_t factor) {
      const std::uint64_t product = (bits * (factor | 1)) & ~kWhole;
      return product ^ (product >> 32U);
    };
    return spread(spread(spread(packed, secret[0]), secret[1]), secret[2]) | kWhole;
  }
  std::uint64_t hash = secret[1];
  const auto add = [&hash](const wchar_t* characters, std::size_t count) {
    Words words{};
    std::memcpy(words.data(), characters, count * sizeof(wchar_t));
    hash = Mix(words[0] ^ secret[0], words[1] ^ hash);
  };
  std::size_t place = 0;
  for (; code.size() - place >= 4; place += 4) {
    add(code.data() + place, 4);
  }
  if (place < code.size()) {
    add(code.data() + place, code.size() - place);
  }
  return Mix(secret[0] ^ code.size(), hash ^ secret[1]) & ~kWhole;
}

}  // namespace request
