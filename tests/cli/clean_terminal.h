// That a terminal is as it was before a program took its screen and its keys.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "child_process.h"

namespace tests {

inline void ExpectCleanTerminal(const ChildProcess& child) {
  const std::string& output = child.output();
  EXPECT_NE(output.rfind("\x1b[?1049l"), std::string::npos);
  EXPECT_GT(output.rfind("\x1b[?1049l"), output.rfind("\x1b[?1049h"));
  EXPECT_GT(output.rfind("\x1b[?25h"), output.rfind("\x1b[?25l"));
  EXPECT_GT(output.rfind("\x1b[?7h"), output.rfind("\x1b[?7l"));
  EXPECT_GT(output.rfind("\x1b[?1000l"), output.rfind("1000h"));  // the mouse
  EXPECT_NE(output.rfind("\x1b[?1006l"), std::string::npos);
  const termios after = child.Modes();
  EXPECT_EQ(after.c_lflag, child.first_modes().c_lflag);
  EXPECT_EQ(after.c_iflag, child.first_modes().c_iflag);
  EXPECT_EQ(after.c_oflag, child.first_modes().c_oflag);
  EXPECT_EQ(std::memcmp(after.c_cc, child.first_modes().c_cc, sizeof after.c_cc), 0);
}

}  // namespace tests
