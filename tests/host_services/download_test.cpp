// Downloads: the file is replaced as a whole or not at all, whatever the server does and wherever the process
// ends.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "files.h"
#include "gzip.h"
#include "host/network.h"
#include "host/text.h"
#include "loopback_server.h"
#include "replace_file.h"
#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::Answering;
using host_test::Gzipped;
using host_test::LoopbackServer;
using host_test::ReadFile;
using host_test::RunningHost;
using host_test::TemporaryDirectory;
using stock_host::ReplaceFile;
using stock_host::ReplaceStep;
using Connection = LoopbackServer::Connection;

constexpr int kSeconds = 20;

std::wstring Wide(const std::string& text) {
  return common::s2ws(text, common::kUtf8);
}

std::vector<std::string> FilesIn(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class Download : public testing::Test {
 protected:
  bool Fetch(const LoopbackServer& server, int retries = 1, int seconds = kSeconds) {
    return DownloadFileSyncWithRetry(server.WideUrl("/static/day.dat?_=1"), Wide(path_), retries, seconds);
  }
  // The old file stands and nothing lies beside it.
  void ExpectUntouched() {
    EXPECT_EQ(ReadFile(path_), "the old file");
    EXPECT_EQ(FilesIn(directory_.Path()), std::vector<std::string>{"day.dat"});
  }

  const RunningHost host_;
  const TemporaryDirectory directory_;
  const std::string path_ = directory_.Path("day.dat");
};

TEST_F(Download, bringsTheFileAsItIs) {
  const std::string packed = Gzipped("the new file");
  LoopbackServer server(Answering(packed));
  EXPECT_TRUE(Fetch(server));
  EXPECT_TRUE(ReadFile(path_) == packed);
  EXPECT_EQ(FilesIn(directory_.Path()), std::vector<std::string>{"day.dat"});
}

TEST_F(Download, replacesTheFile) {
  host_test::WriteFile(path_, "the old file");
  LoopbackServer server(Answering(Gzipped("new")));
  EXPECT_TRUE(Fetch(server));
  EXPECT_TRUE(ReadFile(path_) == Gzipped("new"));
}

// What a file server says about its packages would otherwise be unpacked on the way.
TEST_F(Download, packageThatIsAlsoCalledAnEncodingStaysPacked) {
  LoopbackServer server(Answering(Gzipped("text"), "Content-Encoding: gzip\r\n"));
  EXPECT_TRUE(Fetch(server));
  EXPECT_TRUE(ReadFile(path_) == Gzipped("text"));
}

TEST_F(Download, offersTheServerNoEncoding) {
  std::string request;
  LoopbackServer server([&](Connection& connection) {
    request = connection.ReadRequest();
    connection.Answer(Gzipped("text"));
  });
  EXPECT_TRUE(Fetch(server));
  EXPECT_EQ(request.find("Accept-Encoding"), std::string::npos);
}

class BadDownload : public Download,
                    public testing::WithParamInterface<std::pair<std::string, std::string>> {};

TEST_P(BadDownload, leavesTheOldFile) {
  host_test::WriteFile(path_, "the old file");
  LoopbackServer server([](Connection& connection) {
    (void)connection.ReadRequest();
    connection.Write(GetParam().second);
  });
  EXPECT_FALSE(Fetch(server));
  ExpectUntouched();
}

std::string Whole(const std::string& body, const std::string& status = "200 OK") {
  return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::vector<std::pair<std::string, std::string>> BadAnswers() {
  const std::string packed = Gzipped(std::string(5000, 'x'));
  return {
      {"notFound", Whole(packed, "404 Not Found")},
      {"partOfIt", Whole(packed, "206 Partial Content")},
      {"empty", Whole("")},
      {"noGzip", Whole("<html>")},
      {"cutGzip", Whole(packed.substr(0, packed.size() - 1))},
      {"moreBehindTheGzip", Whole(packed + "x")},
      {"cutAnswer", "HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n" + packed},
      {"noLength", "HTTP/1.1 200 OK\r\n\r\n" + packed},
      {"nothing", ""},
  };
}

INSTANTIATE_TEST_SUITE_P(Each, BadDownload, testing::ValuesIn(BadAnswers()),
                         [](const auto& one) { return one.param.first; });

TEST_F(Download, packageThatUnpacksToTooMuchLeavesTheOldFile) {
  host_test::WriteFile(path_, "the old file");
  LoopbackServer server(Answering(Gzipped(std::string((std::size_t{64} << 20) + 1, '0'))));
  EXPECT_FALSE(Fetch(server));
  ExpectUntouched();
}

TEST_F(Download, fileAboveTheLimitIsRefused) {
  host_test::WriteFile(path_, "the old file");
  LoopbackServer server([](Connection& connection) {
    (void)connection.ReadRequest();
    bool open = connection.Write("HTTP/1.1 200 OK\r\nContent-Length: 20000000\r\n\r\n");
    for (int i = 0; i < 320 && open; ++i) {
      open = connection.Write(std::string(65536, 'x'));
    }
  });
  EXPECT_FALSE(Fetch(server));
  ExpectUntouched();
  EXPECT_EQ(stock_host::ReadCounters().failures.too_large, 1U);
}

TEST_F(Download, secondTryMayBringIt) {
  LoopbackServer server([](Connection& connection) {
    while (!connection.ReadRequest().empty()) {
      if (connection.requests_before < 2) {
        connection.Write(Whole("busy", "503 Busy"));
      } else {
        connection.Answer(Gzipped("text"));
      }
    }
  });
  EXPECT_TRUE(Fetch(server, 3));
  EXPECT_EQ(server.requests(), 3);
}

TEST_F(Download, triesAsOftenAsItIsToldAndNoMore) {
  LoopbackServer server(Answering("no gzip"));
  EXPECT_FALSE(Fetch(server, 3));
  EXPECT_EQ(server.requests(), 3);
  EXPECT_FALSE(Fetch(server, 0));
  EXPECT_EQ(server.requests(), 4);
  EXPECT_FALSE(Fetch(server, -5));
  EXPECT_EQ(server.requests(), 5);
}

TEST_F(Download, stalledServerCostsNoMoreThanTheLimit) {
  host_test::WriteFile(path_, "the old file");
  LoopbackServer server([](Connection& connection) { connection.WaitForClose(); });
  EXPECT_FALSE(Fetch(server, 1, 1));
  EXPECT_EQ(stock_host::ReadCounters().failures.timeout, 1U);
  ExpectUntouched();
}

TEST_F(Download, directoryThatIsMissingIsAFailure) {
  LoopbackServer server(Answering(Gzipped("text")));
  EXPECT_FALSE(
      DownloadFileSyncWithRetry(server.WideUrl(), Wide(directory_.Path("none/day.dat")), 1, kSeconds));
  EXPECT_NE(host_.LogFile().find("cannot make a file beside"), std::string::npos);
}

TEST_F(Download, emptyNamesAreAFailureWithoutARequest) {
  LoopbackServer server(Answering(Gzipped("text")));
  EXPECT_FALSE(DownloadFileSyncWithRetry(L"", Wide(path_), 3, kSeconds));
  EXPECT_FALSE(DownloadFileSyncWithRetry(server.WideUrl(), L"", 3, kSeconds));
  EXPECT_EQ(server.connections(), 0);
}

TEST_F(Download, failureIsLoggedWithoutTheQuery) {
  LoopbackServer server(Answering("no gzip"));
  EXPECT_FALSE(Fetch(server));
  EXPECT_NE(host_.LogFile().find("download: " + server.Url("/static/day.dat") +
                                 ": what came is no whole gzip file"),
            std::string::npos);
  EXPECT_EQ(host_.LogFile().find("_=1"), std::string::npos);
}

TEST_F(Download, manyAtOnceToOnePathLeaveOneWholeFile) {
  const std::string packed = Gzipped(std::string(100000, 'x'));
  LoopbackServer server(Answering(packed));
  std::vector<std::thread> threads;
  std::atomic<int> good{0};
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] { good += Fetch(server) ? 1 : 0; });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(good, 8);
  EXPECT_TRUE(ReadFile(path_) == packed);
  EXPECT_EQ(FilesIn(directory_.Path()), std::vector<std::string>{"day.dat"});
}

// Ends a child process at each step; the path holds the old bytes or the new ones, and the rest is swept.
class KilledReplacement : public testing::TestWithParam<ReplaceStep> {};

TEST_P(KilledReplacement, leavesOldOrNewAndWhatIsLeftIsSwept) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const TemporaryDirectory directory("HOST_TEST_REPLACED");
  const std::string path = directory.Path("kline/sh600000/day.bfq.dat");
  host_test::WriteFile(path, "old");
  EXPECT_EXIT(
      {
        std::string error;
        const bool replaced = ReplaceFile(path, "new", error, [](ReplaceStep step) {
          if (step == GetParam()) {
            std::_Exit(5);
          }
        });
        std::_Exit(replaced ? 6 : 7);
      },
      testing::ExitedWithCode(5), "");

  const bool renamed = GetParam() == ReplaceStep::kRenamed;
  EXPECT_EQ(ReadFile(path), renamed ? "new" : "old");
  const std::string folder = directory.Path("kline/sh600000");
  EXPECT_EQ(FilesIn(folder).size(), renamed ? 1U : 2U);
  stock_host::SetDataRoot(directory.Path());
  stock_host::SweepLeftovers();
  EXPECT_EQ(FilesIn(folder), std::vector<std::string>{"day.bfq.dat"});
  EXPECT_EQ(ReadFile(path), renamed ? "new" : "old");
}

INSTANTIATE_TEST_SUITE_P(Each, KilledReplacement,
                         testing::Values(ReplaceStep::kCreated, ReplaceStep::kWritten, ReplaceStep::kSynced,
                                         ReplaceStep::kRenamed));

TEST(SweepLeftovers, leavesARunningReplacementAlone) {
  const TemporaryDirectory directory;
  stock_host::SetDataRoot(directory.Path());
  std::string error;
  const std::string path = directory.Path("day.dat");
  EXPECT_TRUE(ReplaceFile(path, "new", error, [](ReplaceStep step) {
    if (step == ReplaceStep::kSynced) {
      stock_host::SweepLeftovers();
    }
  })) << error;
  EXPECT_EQ(ReadFile(path), "new");
}

TEST(SweepLeftovers, leavesOtherFilesAlone) {
  const TemporaryDirectory directory;
  stock_host::SetDataRoot(directory.Path());
  const std::vector<std::string> kept{".csm-part", "a.csm-part", "day.dat", "notes.csm-part.txt"};
  for (const std::string& name : kept) {
    host_test::WriteFile(directory.Path(name), "x");
  }
  host_test::WriteFile(directory.Path("day.dat.abcdef.csm-part"), "left");
  const TemporaryDirectory elsewhere;
  host_test::WriteFile(elsewhere.Path("day.dat.abcdef.csm-part"), "not ours");
  std::filesystem::create_directory_symlink(elsewhere.Path(), directory.Path("link"));
  std::filesystem::create_symlink(elsewhere.Path("day.dat.abcdef.csm-part"),
                                  directory.Path("day.dat.ghijkl.csm-part"));
  stock_host::SweepLeftovers();
  EXPECT_FALSE(std::filesystem::exists(directory.Path("day.dat.abcdef.csm-part")));
  for (const std::string& name : kept) {
    EXPECT_TRUE(std::filesystem::exists(directory.Path(name))) << name;
  }
  EXPECT_TRUE(std::filesystem::exists(elsewhere.Path("day.dat.abcdef.csm-part")));
}

TEST(SweepLeftovers, happensAtTheStart) {
  const TemporaryDirectory directory;
  const stock_host::Settings settings = host_test::SettingsIn(directory);
  const std::string left = settings.data_directory + "/kline/sh600000/day.bfq.dat.abcdef.csm-part";
  host_test::WriteFile(left, "left");
  std::string error;
  ASSERT_TRUE(stock_host::Start(settings, error)) << error;
  stock_host::Stop();  // finishes the tasks
  EXPECT_FALSE(std::filesystem::exists(left));
}

TEST(ReplaceFile, failureLeavesNothingBehind) {
  const TemporaryDirectory directory;
  std::filesystem::create_directories(directory.Path("day.dat/full"));
  std::string error;
  EXPECT_FALSE(ReplaceFile(directory.Path("day.dat"), "new", error));
  EXPECT_FALSE(error.empty());
  EXPECT_EQ(FilesIn(directory.Path()), std::vector<std::string>{"day.dat"});
}

}  // namespace
