// Hashes of keys: what finds views and data of one key among those of hundreds.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <type_traits>

namespace frame {

/// Takes what `std::hash` takes, records of integers, and other records for which their own namespace has a
/// function `hash_value`. No key at all: 0.
struct KeyHash {
  template <class Key>
  std::size_t operator()(const Key& key) const {
    if constexpr (std::is_default_constructible_v<std::hash<Key>>) {
      return std::hash<Key>{}(key);
    } else if constexpr (std::has_unique_object_representations_v<Key>) {
      return std::hash<std::string_view>{}({reinterpret_cast<const char*>(&key), sizeof key});
    } else {
      return hash_value(key);
    }
  }
  template <class Key>
  std::size_t operator()(const std::optional<Key>& key) const {
    return key ? (*this)(*key) : 0;
  }
};

}  // namespace frame
