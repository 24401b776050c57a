// K-line packages under sudden death, power loss and failing disks, with the real host services. With
// CSM_LONG=1 in the environment the tests of sudden death and of power loss run their full count.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "disk_model.h"
#include "package_updates.h"
#include "reference/long_run.h"
#include "running_host.h"
#include "watched_disk.h"

namespace {

using namespace package_updates;

constexpr int kOld = 5;
constexpr int kNew = 6;

class PackageOrdeal : public ::testing::Test {
 protected:
  PackageOrdeal() { StartHost(directory.Path(), server.Url()); }
  ~PackageOrdeal() override { stock_host::Stop(); }

  void Restart() const {
    stock_host::Stop();
    StartHost(directory.Path(), server.Url());
  }

  static DiskModel::Files Files() {
    DiskModel::Files files;
    if (std::filesystem::exists(PackageDirectory())) {
      for (const auto& entry : std::filesystem::directory_iterator(PackageDirectory())) {
        files[entry.path()] = host_test::ReadFile(entry.path());
      }
    }
    return files;
  }
  static void SetFiles(const DiskModel::Files& files) {
    std::filesystem::remove_all(PackageDirectory());
    for (const auto& [path, bytes] : files) host_test::WriteFile(path, bytes);
  }

  // Package and store, and nothing else, once the host has tidied up, which is a task of its start. It is
  // stopped then.
  static void ExpectNoLeftovers(const std::string& when) {
    stock_host::Stop();
    for (const auto& [path, bytes] : Files()) {
      const std::string name = std::filesystem::path(path).filename();
      EXPECT_TRUE(name == "1.1.dat" || name == "trace.db") << name << " is left " << when;
    }
  }

  // The next start and load find what is wanted, and tidy up. The host is stopped then.
  void ExpectRecovery(const std::string& when) {
    Restart();
    ASSERT_EQ(Load(packages, kNew), kNew) << when;
    const OnDisk after = LookAtDisk();
    EXPECT_EQ(after.file, kNew) << when;
    EXPECT_EQ(after.stored, (KLineMetaInfo{VersionText(kNew), kNew})) << when;
    ExpectNoLeftovers(when);
  }

  std::string Log() const { return host_test::ReadFile(directory.Path("log/csm.log")); }

  const host_test::TemporaryDirectory directory;
  host_test::LoopbackServer server{Serving([] { return kNew; })};
  AnnouncedPackages packages;
  std::mt19937 random{20240315};  // NOLINT(cert-msc51-cpp): the same course in every run
};

// --- Sudden death ---

class Updater {
 public:
  Updater(const std::string& root, const std::string& directory, int version) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    std::vector<std::string> command = {PACKAGE_UPDATER, root, directory, std::to_string(version)};
    std::vector<char*> arguments;
    for (std::string& word : command) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const int result = posix_spawn(&pid_, PACKAGE_UPDATER, &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    output_ = ends[0];
    if (result != 0) throw std::runtime_error("the updater does not start");
  }
  ~Updater() { close(output_); }
  Updater(const Updater&) = delete;
  Updater& operator=(const Updater&) = delete;

  bool AwaitStart() { return ReadSome(); }

  // True when it was at work until now.
  bool Kill() {
    int status = 0;
    const bool killed = kill(pid_, SIGKILL) == 0 && waitpid(pid_, &status, 0) == pid_ && WIFSIGNALED(status);
    while (ReadSome()) {
    }
    return killed;
  }

  // The version that it had begun with last.
  int LastBegun() const {
    const std::size_t end = begun_.rfind('\n');
    const std::size_t before = end == 0 || end == std::string::npos ? end : begun_.rfind('\n', end - 1);
    return std::atoi(begun_.c_str() + (before == std::string::npos ? 0 : before + 1));
  }

 private:
  bool ReadSome() {
    std::array<char, 256> bytes{};
    const ssize_t got = read(output_, bytes.data(), bytes.size());
    begun_.append(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return got > 0;
  }

  pid_t pid_ = -1;
  int output_ = -1;
  std::string begun_;
};

TEST_F(PackageOrdeal, isNeverTornWhenTheProcessIsKilled) {
  const int deaths = Rounds(15, 1000);
  int version = 1;
  int without_file = 0;
  int with_leftovers = 0;
  int updates = 0;
  ASSERT_EQ(Load(packages, version), version);
  for (int death = 0; death < deaths; ++death) {
    Updater updater(server.Url(), directory.Path(), version + 1);
    ASSERT_TRUE(updater.AwaitStart());
    std::this_thread::sleep_for(
        std::chrono::microseconds(std::uniform_int_distribution<int>(0, 30'000)(random)));
    ASSERT_TRUE(updater.Kill()) << "an update went wrong";

    with_leftovers += Files().size() > 2 ? 1 : 0;
    const OnDisk found = LookAtDisk();
    ASSERT_TRUE(found.IsSound()) << "death " << death << ": file " << found.file.value_or(-1) << ", row "
                                 << found.stored.count;
    // An update removes the old file first. What it brings is not in the store before it is on disk.
    ASSERT_TRUE(found.exists || found.stored.count < updater.LastBegun()) << "death " << death;
    without_file += found.exists ? 0 : 1;
    updates += found.stored.count - version;
    version = std::max(found.stored.count, found.file.value_or(0)) + 1;
    Restart();
    ASSERT_EQ(Load(packages, version), version);
    ASSERT_EQ(LookAtDisk().file, version);
    ExpectNoLeftovers("after death " + std::to_string(death));
  }
  EXPECT_GT(updates, 0) << "no update was ever finished";
  std::printf("%d deaths, %d updates; %d left no file, %d left something behind\n", deaths, updates,
              without_file, with_leftovers);
}

// --- Power loss ---

TEST_F(PackageOrdeal, isOldOrNewAfterAnyPowerLoss) {
  ASSERT_EQ(Load(packages, kOld), kOld);
  const DiskModel::Files old_files = Files();
  for (const DiskModel::Files& before : {old_files, DiskModel::Files()}) {
    SetFiles(before);
    Restart();
    watched_disk::Record(PackageDirectory());
    ASSERT_EQ(Load(packages, kNew), kNew);
    const auto operations = watched_disk::TakeRecord();
    ASSERT_GT(operations.size(), 8U);

    DiskModel model(before);
    int states = 0;
    for (std::size_t done = 0; done <= operations.size(); ++done) {
      if (done > 0) model.Apply(operations[done - 1]);
      std::vector<DiskModel::Files> losses = {model.Everything(), model.FlushedOnly(),
                                              model.NamesAndFlushedContents()};
      for (int some = Rounds(1, 20); some > 0; --some) losses.push_back(model.Some(random));
      for (const DiskModel::Files& left : losses) {
        const std::string when = "after " + std::to_string(done) + " of " +
                                 std::to_string(operations.size()) + " operations, state " +
                                 std::to_string(states++);
        SetFiles(left);
        const OnDisk found = LookAtDisk();
        ASSERT_TRUE(found.IsSound()) << when << ": file " << found.file.value_or(-1) << ", row "
                                     << found.stored.count;
        ASSERT_TRUE(!found.file || *found.file == kOld || *found.file == kNew) << when;
        SetFiles(left);  // looking may have rolled a journal back
        ASSERT_NO_FATAL_FAILURE(ExpectRecovery(when));
      }
    }
    std::printf("%zu operations, %d states\n", operations.size(), states);
  }
}

// --- Failing disks ---

struct Failure {
  const char* name;
  watched_disk::Failing failing;
  int error;
};

class FailingDisk : public PackageOrdeal, public ::testing::WithParamInterface<Failure> {};

TEST_P(FailingDisk, losesNothingAtAnyOperation) {
  ASSERT_EQ(Load(packages, kOld), kOld);
  const DiskModel::Files before = Files();
  bool failed = true;
  int operations = 0;
  for (; failed; ++operations) {
    ASSERT_LT(operations, 500);
    const std::string when = std::string(GetParam().name) + " at operation " + std::to_string(operations);
    SetFiles(before);
    Restart();
    const std::size_t logged = Log().size();
    watched_disk::Fail(PackageDirectory(), GetParam().failing, operations, GetParam().error);
    const std::optional<int> loaded = Load(packages, kNew);
    failed = watched_disk::StopFailing();
    // A store that cannot be opened says nothing: the package is shown as it stands.
    ASSERT_TRUE(loaded == kNew || loaded == kOld) << when << ": the series comes all the same";
    const OnDisk found = LookAtDisk();
    ASSERT_TRUE(found.IsSound()) << when << ": file " << found.file.value_or(-1) << ", row "
                                 << found.stored.count;
    if (!found.exists) {
      // The download failed: the log says what the matter was.
      stock_host::Stop();
      const std::string log = Log().substr(logged);
      EXPECT_NE(log.find("download: "), std::string::npos) << when << "\n" << log;
      EXPECT_NE(log.find(std::generic_category().message(GetParam().error)), std::string::npos)
          << when << "\n"
          << log;
    }
    ASSERT_NO_FATAL_FAILURE(ExpectRecovery(when));
  }
  EXPECT_GT(operations, 5) << "the update was not watched";
  std::printf("%s: %d operations\n", GetParam().name, operations - 1);
}

INSTANTIATE_TEST_SUITE_P(Disk, FailingDisk,
                         ::testing::Values(Failure{"once", watched_disk::Failing::kOnce, EIO},
                                           Failure{"broken", watched_disk::Failing::kFromThen, EIO},
                                           Failure{"full", watched_disk::Failing::kWriting, ENOSPC},
                                           Failure{"readonly", watched_disk::Failing::kChanging, EROFS}),
                         [](const ::testing::TestParamInfo<Failure>& failure) {
                           return std::string(failure.param.name);
                         });

}  // namespace
