// The thread sanitizer of this build sees a race when there is one.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

namespace {

constexpr int kSanitizerExitCode = 66;

TEST(ThreadSanitizer, seesAPlantedRace) {
  FILE* const program = popen("TSAN_OPTIONS=exitcode=66 '" PLANTED_RACE "' 2>&1", "r");
  ASSERT_NE(program, nullptr);
  std::string output;
  std::array<char, 4096> block{};
  while (const std::size_t length = std::fread(block.data(), 1, block.size(), program)) {
    output.append(block.data(), length);
  }
  const int status = pclose(program);
  EXPECT_TRUE(WIFEXITED(status)) << output;
  EXPECT_EQ(WEXITSTATUS(status), kSanitizerExitCode) << output;
  EXPECT_NE(output.find("ThreadSanitizer: data race"), std::string::npos) << output;
}

}  // namespace
