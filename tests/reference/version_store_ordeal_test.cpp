// The version store under races of threads and of processes, under damage, and under sudden death. With
// CSM_LONG=1 in the environment every test runs its full count.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#include "long_run.h"
#include "reference/package_version_store.h"
#include "scripted_host.h"

namespace {

using reference::PackageVersionStore;

std::wstring Symbol(int number) {
  const std::wstring digits = std::to_wstring(number);
  return L"sh" + std::wstring(6 - digits.size(), L'0') + digits;
}

class VersionStoreOrdeal : public ::testing::Test {
 protected:
  std::string Path(int number) const {
    const std::wstring symbol = Symbol(number);
    return host.Directory() + "/kline/" + std::string(symbol.begin(), symbol.end()) + "/trace.db";
  }
  static std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static void Write(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  }

  // Two rows in each race, one by each of two who opened one new stock at once.
  void ExpectBothRows(int races) {
    int lost = 0;
    for (int race = 0; race < races; ++race) {
      PackageVersionStore store(Symbol(race).c_str());
      EXPECT_TRUE(store.IsOpen()) << race;
      for (int side = 0; side < 2; ++side) {
        const KLineMetaInfo expected{std::to_wstring(race), side + 1};
        lost += store.Get(static_cast<std::uint16_t>(257 + side)) == expected ? 0 : 1;
      }
    }
    EXPECT_EQ(lost, 0);
    Note("races", races);
    Note("rows lost", lost);
  }
  static bool SetRow(int race, int side) {
    PackageVersionStore store(Symbol(race).c_str());
    store.Set(static_cast<std::uint16_t>(257 + side), {std::to_wstring(race), side + 1});
    return store.IsOpen();
  }

  ScriptedHost host;
  std::mt19937 random{20240315};  // NOLINT(cert-msc51-cpp): the same damage in every run
};

TEST_F(VersionStoreOrdeal, losesNoRowWhenTwoThreadsOpenOneNewStock) {
  const int races = Rounds(50, 500);
  std::barrier both(2);
  const auto side = [&](int number) {
    for (int race = 0; race < races; ++race) {
      both.arrive_and_wait();
      EXPECT_TRUE(SetRow(race, number));
    }
  };
  std::thread other(side, 1);
  side(0);
  other.join();
  ExpectBothRows(races);
}

TEST_F(VersionStoreOrdeal, losesNoRowWhenTwoProcessesOpenOneNewStock) {
  const int races = Rounds(50, 500);
  for (int race = 0; race < races; ++race) {
    int start[2] = {};
    ASSERT_EQ(pipe(start), 0);
    pid_t children[2] = {};
    for (int side = 0; side < 2; ++side) {
      children[side] = fork();
      ASSERT_GE(children[side], 0);
      if (children[side] == 0) {
        close(start[1]);
        char nothing = 0;
        const bool gone = read(start[0], &nothing, 1) == 0;  // until the parent closes its end
        _exit(gone && SetRow(race, side) ? 0 : 1);
      }
    }
    close(start[0]);
    close(start[1]);
    for (const pid_t child : children) {
      int status = 0;
      ASSERT_EQ(waitpid(child, &status, 0), child);
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "race " << race;
    }
  }
  ExpectBothRows(races);
}

// The same row from two sides: one of them wins, neither is refused.
TEST_F(VersionStoreOrdeal, keepsOneOfTwoVersionsOfOneRow) {
  const int races = Rounds(50, 500);
  std::barrier both(2);
  const auto side = [&](int number) {
    for (int race = 0; race < races; ++race) {
      PackageVersionStore store(Symbol(1).c_str());
      both.arrive_and_wait();
      store.Set(static_cast<std::uint16_t>(race), {number == 0 ? L"left" : L"right", number});
    }
  };
  std::thread other(side, 1);
  side(0);
  other.join();
  PackageVersionStore store(Symbol(1).c_str());
  for (int race = 0; race < races; ++race) {
    const KLineMetaInfo info = store.Get(static_cast<std::uint16_t>(race)).value();
    EXPECT_TRUE(info == (KLineMetaInfo{L"left", 0}) || info == (KLineMetaInfo{L"right", 1})) << race;
  }
}

TEST_F(VersionStoreOrdeal, isRepairedByTheNextLoadWhateverTheDamage) {
  {
    PackageVersionStore store(Symbol(1).c_str());
    for (std::uint16_t id = 257; id < 266; ++id) {
      store.Set(id, {L"20240315", id});
    }
  }
  const std::string whole = Read(Path(1));
  const auto below = [this](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  const int files = Rounds(500, 5000);
  int deleted = 0;
  for (int file = 0; file < files; ++file) {
    std::string bytes = whole;
    switch (file % 5) {
      case 0:
        bytes.resize(below(bytes.size()));
        break;
      case 1:  // a byte of the header
        bytes[below(100)] = static_cast<char>(below(256));
        break;
      case 2:  // a few bits anywhere
        for (std::size_t bit = 0; bit <= below(8); ++bit) {
          bytes[below(bytes.size())] ^= static_cast<char>(1U << below(8));
        }
        break;
      case 3: {  // a block of one value
        const std::size_t at = below(bytes.size());
        bytes.replace(at, std::min(bytes.size() - at, below(2000) + 1), below(2000) + 1,
                      static_cast<char>(below(256)));
        break;
      }
      default:  // noise from some place on
        for (std::size_t at = below(bytes.size()); at < bytes.size(); ++at) {
          bytes[at] = static_cast<char>(below(256));
        }
    }
    Write(Path(1), bytes);
    {
      PackageVersionStore store(Symbol(1).c_str());
      static_cast<void>(store.Get(257));
      store.Set(258, {L"1", 1});
    }
    PackageVersionStore store(Symbol(1).c_str());
    ASSERT_TRUE(store.IsOpen()) << "file " << file;
    store.Set(259, {L"2", 2});
    ASSERT_EQ(store.Get(259), (KLineMetaInfo{L"2", 2})) << "file " << file;
    deleted += store.Get(265) == KLineMetaInfo() ? 1 : 0;
  }
  Note("damaged files", files);
  Note("of them made anew", deleted);
  EXPECT_GT(deleted, files / 4) << "the damage is hardly ever one";
}

// A process that brings packages to disk and notes each in the store, package first, is killed at some
// moment.
TEST_F(VersionStoreOrdeal, isNeverAheadOfItsPackageWhenTheProcessIsKilled) {
  const int deaths = Rounds(50, 500);
  PackageVersionStore(Symbol(1).c_str()).Set(257, {L"0", 0});
  const std::string package = std::filesystem::path(Path(1)).parent_path() / "day.bfq.dat";
  Write(package, "0");
  int newest = 0;
  int cut_short = 0;
  for (int death = 0; death < deaths; ++death) {
    const int first = std::stoi(Read(package));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (int version = first + 1;; ++version) {
        Write(package + ".new", std::to_string(version));
        std::filesystem::rename(package + ".new", package);
        PackageVersionStore(Symbol(1).c_str()).Set(257, {std::to_wstring(version), version});
      }
    }
    std::this_thread::sleep_for(
        std::chrono::microseconds(std::uniform_int_distribution<int>(0, 20'000)(random)));
    ASSERT_EQ(kill(child, SIGKILL), 0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);

    cut_short += std::filesystem::exists(Path(1) + "-journal") ? 1 : 0;
    PackageVersionStore store(Symbol(1).c_str());
    ASSERT_TRUE(store.IsOpen());
    const KLineMetaInfo info = store.Get(257).value();
    const int on_disk = std::stoi(Read(package));
    EXPECT_EQ(info.version, std::to_wstring(info.count)) << "a row is whole";
    EXPECT_LE(info.count, on_disk);
    newest = std::max(newest, info.count);
    // The next update leaves nothing lying about of the one that was cut short.
    store.Set(258, {L"1", death});
    EXPECT_FALSE(std::filesystem::exists(Path(1) + "-journal"));
  }
  Note("deaths", deaths);
  Note("in the middle of an update", cut_short);
  Note("updates finished", newest);
  EXPECT_GT(newest, 0) << "no update was ever finished";
}

// The end of a process that counts the operations of SQLite on its files.
class DeathAtOperation {
 public:
  // From now on this process dies at operation number `operation`: before it, or when half of it is done.
  static void Arm(int operation, bool halfway) {
    left_ = operation;
    halfway_ = halfway;
    sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
    const auto replace = [vfs](const char* name, auto* function) {
      return vfs->xSetSystemCall(vfs, name, reinterpret_cast<sqlite3_syscall_ptr>(function)) == SQLITE_OK;
    };
    if (!replace("pwrite", &Write) || !replace("pwrite64", &Write) || !replace("unlink", &Unlink) ||
        !replace("ftruncate", &Truncate)) {
      _exit(2);
    }
  }

 private:
  static ssize_t Write(int file, const void* data, std::size_t size, off_t at) {
    if (IsDue()) {
      if (halfway_) {
        static_cast<void>(pwrite(file, data, size / 2, at));
      }
      Die();
    }
    return pwrite(file, data, size, at);
  }
  static int Unlink(const char* path) {
    if (IsDue()) {
      if (halfway_) {
        unlink(path);
      }
      Die();
    }
    return unlink(path);
  }
  static int Truncate(int file, off_t size) {
    if (IsDue()) {
      Die();
    }
    return ftruncate(file, size);
  }
  static bool IsDue() { return left_-- == 0; }
  [[noreturn]] static void Die() {
    raise(SIGKILL);
    _exit(3);
  }

  static inline int left_ = 0;
  static inline bool halfway_ = false;
};

// The same at every operation of an update in turn: of the first one of a new store, which makes the table,
// and of a later one.
TEST_F(VersionStoreOrdeal, isWholeAtWhicheverOperationAnUpdateIsKilled) {
  int deaths = 0;
  int hot_journals = 0;
  for (const bool is_new : {true, false}) {
    for (const bool halfway : {false, true}) {
      for (int operation = 0;; ++operation) {
        std::filesystem::remove_all(std::filesystem::path(Path(1)).parent_path());
        const KLineMetaInfo before = is_new ? KLineMetaInfo() : KLineMetaInfo{L"20240314", 99};
        if (!is_new) {
          PackageVersionStore store(Symbol(1).c_str());
          store.Set(257, before);
          store.Set(258, {L"other", 7});
        }
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
          DeathAtOperation::Arm(operation, halfway);
          PackageVersionStore(Symbol(1).c_str()).Set(257, {L"20240315", 100});
          _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        const bool finished = WIFEXITED(status);
        ASSERT_TRUE(!finished || WEXITSTATUS(status) == 0) << status;
        deaths += finished ? 0 : 1;
        hot_journals += std::filesystem::exists(Path(1) + "-journal") ? 1 : 0;

        PackageVersionStore store(Symbol(1).c_str());
        ASSERT_TRUE(store.IsOpen()) << "operation " << operation;
        const KLineMetaInfo after = store.Get(257).value();
        EXPECT_TRUE(after == before || after == (KLineMetaInfo{L"20240315", 100}))
            << "operation " << operation;
        EXPECT_TRUE(!finished || after != before);
        if (!is_new) {
          EXPECT_EQ(store.Get(258), (KLineMetaInfo{L"other", 7})) << "operation " << operation;
        }
        store.Set(257, {L"20240316", 101});
        EXPECT_EQ(store.Get(257), (KLineMetaInfo{L"20240316", 101})) << "operation " << operation;
        EXPECT_FALSE(std::filesystem::exists(Path(1) + "-journal")) << "operation " << operation;
        if (finished) {
          break;
        }
      }
    }
  }
  Note("deaths", deaths);
  Note("with a journal left", hot_journals);
  EXPECT_GT(hot_journals, 4);
}

}  // namespace
