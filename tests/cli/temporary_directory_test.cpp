// What becomes of the directories of runs that crashed.
#include "cli/temporary_directory.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace cli {
namespace {

// A place of its own for the directories of a test.
class TemporaryDirectories : public ::testing::Test {
 protected:
  TemporaryDirectories() { setenv("TMPDIR", place.c_str(), 1); }
  ~TemporaryDirectories() override {
    unsetenv("TMPDIR");
    std::filesystem::remove_all(place);
  }
  static std::string MakePlace() {
    std::string name = "/tmp/abandoned-XXXXXX";
    return mkdtemp(name.data());
  }
  void MakeOld(const std::string& name) const {
    std::filesystem::create_directories(place + "/" + name);
    chmod((place + "/" + name).c_str(), 0700);
    std::ofstream(place + "/" + name + "/key") << "secret";
  }
  [[nodiscard]] std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(place)) {
      names.insert(entry.path().filename());
    }
    return names;
  }
  static std::string NameOf(const TemporaryDirectory& directory) {
    return std::filesystem::path(directory.path()).filename();
  }
  const std::string place = MakePlace();
};

TEST_F(TemporaryDirectories, ofACrashedRunGoWithTheNextRun) {
  const pid_t child = fork();
  if (child == 0) {
    auto* const never_removed = new TemporaryDirectory;
    std::ofstream(never_removed->path() + "/key") << "secret";
    kill(getpid(), SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  ASSERT_EQ(Names().size(), 1U);
  const TemporaryDirectory next;
  EXPECT_EQ(Names(), std::set<std::string>{NameOf(next)});
}

TEST_F(TemporaryDirectories, thatAreHeldStay) {
  const TemporaryDirectory first;
  const TemporaryDirectory second;
  EXPECT_EQ(Names(), (std::set<std::string>{NameOf(first), NameOf(second)}));
}

TEST_F(TemporaryDirectories, takeNothingOfOthersWithThem) {
  for (const char* name : {"csm-before", "csm-run-short", "csm-run-longer0", "other-run-abcdef"}) {
    MakeOld(name);
  }
  MakeOld("csm-run-shared");
  chmod((place + "/csm-run-shared").c_str(), 0755);
  std::filesystem::create_directory_symlink(place + "/csm-before", place + "/csm-run-linked");
  std::ofstream(place + "/csm-run-a_file") << "x";
  const auto before = Names();
  { const TemporaryDirectory directory; }
  EXPECT_EQ(Names(), before);
  EXPECT_TRUE(std::filesystem::exists(place + "/csm-before/key"));
}

}  // namespace
}  // namespace cli
