// How often a test that tries its luck is repeated: a short round by default, the full count when the
// environment variable CSM_LONG is 1.
#pragma once

#include <cstdlib>
#include <string_view>

inline int Rounds(int in_short, int in_full) {
  const char* const value = std::getenv("CSM_LONG");
  return value != nullptr && std::string_view(value) == "1" ? in_full : in_short;
}
