// The main loop and the output, each in a process of its own where signals play.
#include "cli/run/main_loop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "cli/run/output.h"
#include "cli/temporary_directory.h"

namespace cli {
namespace {

using std::chrono::milliseconds;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
      throw std::runtime_error("no pipe");
    }
    read_end = ends[0];
    write_end = ends[1];
  }
  ~Pipe() {
    close(read_end);
    close(write_end);
  }
  int read_end = -1;
  int write_end = -1;
};

std::string ReadAll(int fd, std::size_t size) {
  std::string text;
  std::array<char, 65536> buffer{};
  while (text.size() < size) {
    const ssize_t length = read(fd, buffer.data(), std::min(buffer.size(), size - text.size()));
    if (length <= 0) {
      break;
    }
    text.append(buffer.data(), static_cast<std::size_t>(length));
  }
  return text;
}

TEST(MainLoop, runsPostedWorkInOrderOnItsOwnThread) {
  MainLoop loop;
  std::vector<int> seen;
  std::thread other([&] {
    for (int i = 0; i < 1000; ++i) {
      loop.Post([&seen, i] { seen.push_back(i); });
    }
    loop.Post([&loop] { loop.End(); });
  });
  loop.Run();
  other.join();
  ASSERT_EQ(seen.size(), 1000U);
  for (int i = 0; i < 1000; ++i) {
    EXPECT_EQ(seen[static_cast<std::size_t>(i)], i);
  }
}

TEST(MainLoop, repeatsATimerUntilItEnds) {
  MainLoop loop;
  int rounds = 0;
  loop.Every(milliseconds(1), [&] {
    if (++rounds == 5) {
      loop.End();
    }
  });
  loop.Run();
  EXPECT_EQ(rounds, 5);
}

TEST(MainLoop, endsAtOnceWhenItWasEndedBefore) {
  MainLoop loop;
  loop.End();
  loop.Run();
  EXPECT_TRUE(loop.ended());
}

TEST(MainLoop, passesOnWhatTheWorkThrows) {
  MainLoop loop;
  loop.Post([] { throw std::runtime_error("out"); });
  EXPECT_THROW(loop.Run(), std::runtime_error);
}

TEST(MainLoop, endsOnEveryEndingSignal) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    MainLoop loop;
    kill(getpid(), number);
    loop.Run();
    EXPECT_TRUE(loop.ended()) << number;
  }
}

TEST(MainLoop, handsASignalToWhoAskedForIt) {
  MainLoop loop;
  int seen = 0;
  loop.OnSignal(SIGWINCH, [&] {
    ++seen;
    loop.End();
  });
  kill(getpid(), SIGWINCH);
  loop.Run();
  EXPECT_EQ(seen, 1);
}

TEST(MainLoop, readsADescriptorUntilTheReaderHasEnough) {
  MainLoop loop;
  const Pipe pipe;
  std::string seen;
  loop.OnReadable(pipe.read_end, [&] {
    seen += ReadAll(pipe.read_end, 1);
    if (seen == "ab") {
      loop.After(milliseconds(1), [&] { loop.End(); });
      return false;
    }
    return true;
  });
  ASSERT_EQ(write(pipe.write_end, "abc", 3), 3);
  loop.Run();
  EXPECT_EQ(seen, "ab");
}

TEST(Output, writesLargeTextsWhole) {
  MainLoop loop;
  const Pipe pipe;
  Output output(loop, pipe.write_end);
  std::string text;
  for (int i = 0; i < 100000; ++i) {
    text += std::to_string(i) + " ";
  }
  std::string seen;
  std::thread reader([&] { seen = ReadAll(pipe.read_end, text.size()); });
  output.Write(text);
  reader.join();
  EXPECT_EQ(seen, text);
}

TEST(Output, endsTheLoopQuietlyWhenTheReaderIsGone) {
  MainLoop loop;
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  close(ends[0]);
  Output output(loop, ends[1]);
  output.WriteLine("anybody there?");
  EXPECT_TRUE(loop.ended());
  close(ends[1]);
}

TEST(Output, noticesThatTheReaderIsGoneWithoutWriting) {
  MainLoop loop;
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  Output output(loop, ends[1]);
  output.LookForReader();
  EXPECT_FALSE(loop.ended());
  close(ends[0]);
  output.LookForReader();
  EXPECT_TRUE(loop.ended());
  close(ends[1]);
}

TEST(Output, givesUpAWriteThatWaitsWhenASignalEndsTheLoop) {
  MainLoop loop;
  const Pipe pipe;
  Output output(loop, pipe.write_end);
  kill(getpid(), SIGTERM);
  output.Write(std::string(10 << 20, 'x'));
  EXPECT_TRUE(loop.ended());
}

TEST(Output, complainsWhenTheDiskIsFull) {
  MainLoop loop;
  const int full = open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  Output output(loop, full);
  EXPECT_THROW(output.WriteLine("x"), std::system_error);
  close(full);
}

TEST(TemporaryDirectory, isPrivateAndGoesWithAllThatIsInIt) {
  std::string path;
  {
    const TemporaryDirectory directory;
    path = directory.path();
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0700U);
    ASSERT_EQ(mkdir((path + "/sub").c_str(), 0700), 0);
    close(open((path + "/sub/file").c_str(), O_CREAT | O_WRONLY, 0600));
  }
  EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST(TemporaryDirectory, isMadeElsewhereWhenTheEnvironmentNamesNoDirectory) {
  const TemporaryDirectory directory;
  setenv("TMPDIR", (directory.path() + "/missing").c_str(), 1);
  // A directory that is none is left for /tmp.
  const TemporaryDirectory elsewhere;
  EXPECT_EQ(elsewhere.path().rfind("/tmp/csm-", 0), 0U);
  unsetenv("TMPDIR");
}

}  // namespace
}  // namespace cli
