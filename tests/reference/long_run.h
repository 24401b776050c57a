// How often a test that tries its luck is repeated: a short round by default, the full count when the
// environment variable CSM_LONG is 1.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

inline bool IsLongRun() {
  const char* const value = std::getenv("CSM_LONG");
  return value != nullptr && std::string_view(value) == "1";
}

inline int Rounds(int in_short, int in_full) {
  return IsLongRun() ? in_full : in_short;
}

/// Keeps a figure with the result of the running test; a long run prints it, too.
inline void Note(const std::string& what, int figure) {
  ::testing::Test::RecordProperty(what, figure);
  if (IsLongRun()) {
    std::printf("             %s: %d\n", what.c_str(), figure);
  }
}
