// What the host services leave to others of their files and connections: who may read them, who inherits
// them, and when they are on the disk.
#include "descriptor.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "certificate.h"
#include "host/network.h"
#include "host/text.h"
#include "log.h"
#include "loopback_server.h"
#include "replace_file.h"
#include "running_host.h"
#include "settings.h"
#include "stock_host.h"
#include "system_calls.h"

namespace {

using host_test::Answering;
using host_test::LoopbackServer;
using host_test::RunningHost;
using host_test::TemporaryDirectory;
using host_test::WatchedCalls;

std::set<int> OpenDescriptors() {
  std::set<int> open;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    open.insert(std::stoi(entry.path().filename().string()));
  }
  // The directory's own is closed by now.
  std::erase_if(open, [](int fd) { return fcntl(fd, F_GETFD) < 0; });
  return open;
}

std::string NameOf(int fd) {
  std::error_code failure;
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), failure).string();
}

// True for a connection that the test's own server has taken.
bool IsTakenBy(const LoopbackServer& server, int fd) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  return getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
         address.sin_family == AF_INET && ntohs(address.sin_port) == server.port();
}

mode_t ModeOf(const std::string& path) {
  struct stat info {};
  EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
  return info.st_mode & 0777U;
}

TEST(Children, inheritNothingOfTheHost) {
  const TemporaryDirectory directory;
  const host_test::Certificate certificate = host_test::MakeCertificate("127.0.0.1");
  host_test::WriteFile(directory.Path("ca.pem"), certificate.pem);
  LoopbackServer server(Answering("well"), &certificate);
  const std::set<int> before = OpenDescriptors();
  stock_host::Settings settings = host_test::SettingsIn(directory);
  settings.ca_file = directory.Path("ca.pem");
  settings.record_directory = directory.Path("record");
  std::string error;
  ASSERT_TRUE(stock_host::Start(settings, error)) << error;
  std::string body;
  EXPECT_TRUE(GetSync(server.WideUrl("/x"), body, {}, 20));
  int seen = 0;
  for (const int fd : OpenDescriptors()) {
    if (!before.contains(fd) && !IsTakenBy(server, fd)) {
      ++seen;
      EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0) << NameOf(fd);
    }
  }
  EXPECT_GE(seen, 3);  // the log, the record, the connection
  stock_host::Stop();
  // The server closes its end when it gets to it.
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (OpenDescriptors() != before && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  EXPECT_EQ(OpenDescriptors(), before);
}

TEST(Children, inheritNoKeyFileAlsoOfARefusedOne) {
  const TemporaryDirectory directory;
  const std::set<int> before = OpenDescriptors();
  for (const auto& [text, mode] :
       std::vector<std::pair<std::string, mode_t>>{{"key_id=a\nkey=hush\n", 0600},
                                                   {"key_id=a\nkey=hush\n", 0644},
                                                   {"nothing", 0600},
                                                   {std::string(9999, 'x'), 0600}}) {
    host_test::WriteFile(directory.Path("key"), text);
    ASSERT_EQ(chmod(directory.Path("key").c_str(), mode), 0);
    std::string id;
    std::string key;
    std::string error;
    std::set<int> meanwhile;
    {
      const WatchedCalls calls;
      WatchedCalls::OnceRead(directory.Path("key"), [&] {
        for (const int fd : OpenDescriptors()) {
          EXPECT_TRUE(before.contains(fd) || (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0) << NameOf(fd);
        }
      });
      EXPECT_EQ(stock_host::ReadKeyFile(directory.Path("key"), id, key, error),
                mode == 0600 && text.size() == 18)
          << text;
    }
    EXPECT_EQ(OpenDescriptors(), before) << text;
  }
}

TEST(Others, mayLookIntoNothingThatTheHostMakes) {
  const TemporaryDirectory directory;
  const mode_t mask = umask(0);
  stock_host::Settings settings = host_test::SettingsIn(directory);
  settings.log_directory = directory.Path("state/deep/log");
  settings.record_directory = directory.Path("records/today");
  std::string error;
  EXPECT_TRUE(stock_host::Start(settings, error)) << error;
  EXPECT_TRUE(stock_host::AddToWatchList(L"sh600000", error)) << error;
  stock_host::Stop();
  for (const char* made :
       {"data", "config", "state", "state/deep", "state/deep/log", "records", "records/today"}) {
    EXPECT_EQ(ModeOf(directory.Path(made)), 0700U) << made;
  }
  for (const char* made : {"state/deep/log/csm.log", "records/today/exchanges.csm", "config/watchlist.txt",
                           "config/watchlist.txt.lock"}) {
    EXPECT_EQ(ModeOf(directory.Path(made)), 0600U) << made;
  }
  umask(mask);
}

// Each file of a rotation, and one that an earlier run has left open to all.
TEST(Others, mayReadNoFileOfTheLog) {
  const TemporaryDirectory directory;
  const mode_t mask = umask(0);
  host_test::WriteFile(directory.Path("csm.log"), "before\n");
  ASSERT_EQ(chmod(directory.Path("csm.log").c_str(), 0666), 0);
  std::string error;
  ASSERT_TRUE(stock_host::OpenLog(directory.Path(), false, "info", error)) << error;
  EXPECT_EQ(ModeOf(directory.Path("csm.log")), 0600U);
  const std::set<int> open = OpenDescriptors();
  for (int i = 0; i < 600; ++i) {
    stock_host::Log(stock_host::Severity::kInfo, std::string(10000, 'x'));
  }
  EXPECT_EQ(ModeOf(directory.Path("csm.log")), 0600U);
  EXPECT_EQ(ModeOf(directory.Path("csm.1.log")), 0600U);
  for (const int fd : OpenDescriptors()) {
    EXPECT_TRUE(NameOf(fd) != directory.Path("csm.log") || (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0);
  }
  stock_host::CloseLog();
  umask(mask);
}

TEST(MakeDirectories, makesWhatIsMissingAndSaysWhatCannotBe) {
  const TemporaryDirectory directory;
  ASSERT_EQ(chmod(directory.Path().c_str(), 0755), 0);
  EXPECT_TRUE(stock_host::MakeDirectories(directory.Path("a/b/")));
  EXPECT_TRUE(std::filesystem::is_directory(directory.Path("a/b")));
  EXPECT_TRUE(stock_host::MakeDirectories(directory.Path("a/b")));
  EXPECT_TRUE(stock_host::MakeDirectories(directory.Path("c/../d")));
  EXPECT_TRUE(std::filesystem::is_directory(directory.Path("d")));
  EXPECT_EQ(ModeOf(directory.Path()), 0755U);  // was there
  host_test::WriteFile(directory.Path("file"), "x");
  EXPECT_FALSE(stock_host::MakeDirectories(directory.Path("file/below")));
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_FALSE(stock_host::MakeDirectories(directory.Path("file")));
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_FALSE(stock_host::MakeDirectories(""));
}

// What the disk holds when the power fails: the new file before it gets its name, the name before anybody
// relies on it.
TEST(ReplaceFile, flushesTheFileBeforeItsNameAndTheDirectoryAfter) {
  const TemporaryDirectory directory;
  const std::string path = std::filesystem::canonical(directory.Path()).string() + "/file";
  const WatchedCalls calls;
  std::vector<std::size_t> flushed;  // by each step
  std::string error;
  EXPECT_TRUE(stock_host::ReplaceFile(path, "bytes", error, [&](stock_host::ReplaceStep) {
    flushed.push_back(WatchedCalls::Flushed().size());
  })) << error;
  EXPECT_EQ(flushed, (std::vector<std::size_t>{0, 0, 1, 1}));
  const std::vector<std::string> files = WatchedCalls::Flushed();
  ASSERT_EQ(files.size(), 2U);
  EXPECT_TRUE(files[0].starts_with(path + ".")) << files[0];
  EXPECT_EQ(files[1], std::filesystem::path(path).parent_path());
}

TEST(Record, isFlushedWhenItEnds) {
  const TemporaryDirectory directory;
  const WatchedCalls calls;
  stock_host::Settings settings = host_test::SettingsIn(directory);
  settings.record_directory = std::filesystem::canonical(directory.Path()).string() + "/record";
  std::string error;
  ASSERT_TRUE(stock_host::Start(settings, error)) << error;
  stock_host::Stop();
  const std::vector<std::string> files = WatchedCalls::Flushed();
  EXPECT_EQ(std::count(files.begin(), files.end(), settings.record_directory + "/exchanges.csm"), 1);
}

TEST(ReadWhole, takesRegularFilesUpToTheLimit) {
  const TemporaryDirectory directory;
  const std::string path = directory.Path("file");
  for (const std::size_t size : {0U, 1U, 99U, 100U}) {
    host_test::WriteFile(path, std::string(size, 'x'));
    EXPECT_EQ(stock_host::ReadWhole(path, 100), std::string(size, 'x'));
  }
  host_test::WriteFile(path, std::string(101, 'x'));
  EXPECT_EQ(stock_host::ReadWhole(path, 100), std::nullopt);
  EXPECT_EQ(errno, EFBIG);
  EXPECT_EQ(stock_host::ReadWhole(directory.Path(), 100), std::nullopt);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(stock_host::ReadWhole("/dev/zero", 100), std::nullopt);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(stock_host::ReadWhole(directory.Path("none"), 100), std::nullopt);
  EXPECT_EQ(errno, ENOENT);
}

// It grows under the reader's eyes: what was there at the end counts.
TEST(ReadWhole, takesAFileThatGrows) {
  const TemporaryDirectory directory;
  const std::string path = std::filesystem::canonical(directory.Path()).string() + "/file";
  host_test::WriteFile(path, std::string(100, 'x'));
  const WatchedCalls calls;
  WatchedCalls::OnceRead(path, [&] { host_test::WriteFile(path, std::string(5000, 'x')); });
  const auto text = stock_host::ReadWhole(path, 10000);
  EXPECT_TRUE(text == std::string(100, 'x') || text == std::string(5000, 'x'));
  WatchedCalls::OnceRead(path, [&] { host_test::WriteFile(path, std::string(50000, 'x')); });
  EXPECT_EQ(stock_host::ReadWhole(path, 10000), std::nullopt);
}

}  // namespace
