// The shared library as an application and the module see it: through its public headers and exports alone.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "host/host.h"
#include "host_services/stock_host.h"

namespace {

std::size_t ThreadsOfThisProcess() {
  const auto all = std::filesystem::directory_iterator("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

class Directory {
 public:
  Directory() : path_(std::filesystem::temp_directory_path() / "host_library_test.XXXXXX") {
    EXPECT_NE(mkdtemp(path_.data()), nullptr);
  }
  ~Directory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  [[nodiscard]] stock_host::Settings Settings() const {
    stock_host::Settings settings;
    settings.data_directory = path_ + "/data";
    settings.log_directory = path_ + "/log";
    settings.config_directory = path_ + "/config";
    settings.api_root = "http://127.0.0.1:1";
    settings.key_id = "id";
    settings.key = "key";
    return settings;
  }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

TEST(HostLibrary, runsNoThreadBeforeTheStart) {
  EXPECT_GT(common::GetCurrentServerTime(), 0);  // the library is loaded
  EXPECT_EQ(ThreadsOfThisProcess(), 1U);
}

TEST(HostLibrary, bringsEveryFunctionOfTheContract) {
  const Directory directory;
  std::string error;
  ASSERT_TRUE(stock_host::Start(directory.Settings(), error)) << error;
  std::string text;
  EXPECT_FALSE(GetSync(L"", text, {}, 1));
  GetAsyn(
      L"", [](bool, const char*, std::size_t) {}, {}, 1);
  EXPECT_FALSE(DownloadFileSyncWithRetry(L"", L"", 1, 1));
  EXPECT_FALSE(GZipExtract(L"", text));
  EXPECT_FALSE(pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(L"/x", {}).empty());
  EXPECT_EQ(pattern::CSingleton<UrlHelper>::GetInstance()->StaticRoot(), L"http://127.0.0.1:1/static/");
  EXPECT_EQ(pattern::CSingleton<UrlHelper>::GetInstance()->HistoryRoot(), L"http://127.0.0.1:1");
  pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(2024, {20240314});
  EXPECT_EQ(stock::GetLastTradingDate(20240315), 20240313U);
  EXPECT_EQ(common::TimeToDate(common::DateToTime(20240315, 9, 30, 0)), 20240315U);
  EXPECT_GT(common::GetCurrentServerDate(), 20240000U);
  EXPECT_TRUE(common::IsSameWeek(20240311, 20240317));
  EXPECT_EQ(stock::CheckMarketStatus(1710466200), stock::kMarketMorning);
  EXPECT_EQ(stock::TimeSpanToNextMarketStatus(1710466200), 2);  // no server has told its clock
  EXPECT_EQ(stock::CheckSymbol(L"sh000001"), stock::kSymbolIndex);
  EXPECT_EQ(stock::ConvertStockStatus(L"0"), stock::kStockNormal);
  EXPECT_EQ(common::Compare(L"a", L"b", false), -1);
  EXPECT_EQ(common::ws2s(common::s2ws("x", common::kUtf8), common::kUtf8), "x");
  EXPECT_EQ(stock::GetKLineFilePath(L"sh600000"),
            common::s2ws(directory.path() + "/data/kline/sh600000", common::kUtf8));
  EXPECT_EQ(stock::GetKLineMetaFilePath(), common::s2ws(directory.path() + "/data/metadata", common::kUtf8));
  EXPECT_TRUE(common::ForceRemoveFile(L"/tmp/host_library_test.none"));
  WriteProgramLogString(0xffffffffU, L"text");
  WriteProgramLogNoMask(L"%d", 1);
  EXPECT_GT(base::TaskManagerInstance()->AddTask([] {}), 0U);
  EXPECT_NE(GetUserOptionalStock(), nullptr);
  EXPECT_EQ(stock_host::ConnectionState(), stock_host::Connection::kIdle);
  EXPECT_GE(stock_host::ReadCounters().failures.invalid, 2U);
  EXPECT_TRUE(stock_host::AddToWatchList(L"sh600000", text)) << text;
  EXPECT_TRUE(stock_host::MoveInWatchList(L"sh600000", 0, text)) << text;
  EXPECT_EQ(stock_host::WatchList(), std::vector<std::wstring>{L"sh600000"});
  EXPECT_TRUE(stock_host::RemoveFromWatchList(L"sh600000", text)) << text;
  stock_host::Stop();
  EXPECT_EQ(ThreadsOfThisProcess(), 1U);
}

TEST(HostLibrary, singleInstancesAreSingle) {
  EXPECT_EQ(pattern::CSingleton<UrlHelper>::GetInstance(), pattern::CSingleton<UrlHelper>::GetInstance());
  EXPECT_EQ(base::TaskManagerInstance(), base::TaskManagerInstance());
  EXPECT_EQ(GetUserOptionalStock(), GetUserOptionalStock());
}

TEST(HostLibrary, hidesItsInsides) {
  void* const library = dlopen("libstock_host.so", RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_NE(dlsym(library, "_Z20GetUserOptionalStockv"), nullptr);
  EXPECT_EQ(dlsym(library, "_ZN10stock_host13TheHttpClientEv"), nullptr);
  EXPECT_EQ(dlsym(library, "_ZN10stock_host7LogTextB5cxx11ESt17basic_string_viewIcSt11char_traitsIcEE"),
            nullptr);
  dlclose(library);
}

// A program started by a daemon, or by a shell with "<&- >&- 2>&-": the first files that it opens get the
// numbers of the standard streams.
TEST(HostLibrary, runsWhereTheStandardStreamsAreClosed) {
  const Directory directory;
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    alarm(30);
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    std::string error;
    if (!stock_host::Start(directory.Settings(), error)) {
      _exit(2);
    }
    for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
      struct stat info {};
      struct stat null {};
      if (fstat(fd, &info) != 0 || stat("/dev/null", &null) != 0 || info.st_rdev != null.st_rdev) {
        _exit(3);
      }
    }
    std::string body;
    if (GetSync(L"http://127.0.0.1:1/x", body, {}, 5) ||
        stock_host::ReadCounters().failures.connection != 1) {
      _exit(4);
    }
    stock_host::Stop();
    _exit(0);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(HostLibrary, leavesOpenStandardStreamsAlone) {
  struct stat before[3];
  struct stat after[3];
  for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
    ASSERT_EQ(fstat(fd, &before[fd]), 0);
  }
  stock_host::FillStandardDescriptors();
  for (int fd = 0; fd <= STDERR_FILENO; ++fd) {
    ASSERT_EQ(fstat(fd, &after[fd]), 0);
    EXPECT_EQ(before[fd].st_ino, after[fd].st_ino) << fd;
  }
}

}  // namespace
