// The watch list: its file, what observers are told, and what other processes do to the file.
#include "watch_list.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/watch_list.h"
#include "running_host.h"
#include "stock_host.h"
#include "system_calls.h"

namespace {

using host_test::ReadFile;
using host_test::RunningHost;
using host_test::TemporaryDirectory;
using stock_host::AddToWatchList;
using stock_host::MoveInWatchList;
using stock_host::RemoveFromWatchList;
using stock_host::WatchListFile;
using Content = WatchListFile::Content;
using Symbols = std::vector<std::wstring>;

class Watcher final : public IUpdate1<Symbols> {
 public:
  void Update(const Symbols& symbols) override {
    const std::lock_guard lock(mutex_);
    told_.push_back(symbols);
    changed_.notify_all();
  }
  bool Wait(std::size_t count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return told_.size() >= count; });
  }
  bool WaitForLatest(const Symbols& symbols) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30),
                             [&] { return !told_.empty() && told_.back() == symbols; });
  }
  std::vector<Symbols> Told() {
    const std::lock_guard lock(mutex_);
    return told_;
  }

 private:
  std::mutex mutex_;  // guards told_
  std::condition_variable changed_;
  std::vector<Symbols> told_;
};

class WatchList : public testing::Test {
 protected:
  WatchList() { list_.Start(directory_.Path()); }
  ~WatchList() override { list_.Stop(); }

  std::string Text() { return ReadFile(directory_.Path("watchlist.txt")); }
  bool Set(const Symbols& symbols) {
    std::string error;
    return list_.Edit(
        [&](Content& content) {
          for (const std::wstring& present : content.Members()) {
            content.Remove(present);
          }
          for (const std::wstring& symbol : symbols) {
            content.Add(symbol);
          }
          return std::string();
        },
        error);
  }

  const TemporaryDirectory directory_;
  WatchListFile list_;
};

TEST_F(WatchList, attachedObserverIsToldThePresentListOnce) {
  ASSERT_TRUE(Set({L"sh600000"}));
  Watcher watcher;
  list_.Attach(&watcher);
  list_.Attach(&watcher);
  ASSERT_TRUE(watcher.Wait(1));
  ASSERT_TRUE(Set({L"sh600000", L"sz000001"}));
  ASSERT_TRUE(watcher.Wait(2));
  list_.Detach(&watcher);
  EXPECT_EQ(watcher.Told(), (std::vector<Symbols>{{L"sh600000"}, {L"sh600000", L"sz000001"}}));
}

TEST_F(WatchList, emptyListIsToldToo) {
  Watcher watcher;
  list_.Attach(&watcher);
  ASSERT_TRUE(watcher.Wait(1));
  list_.Detach(&watcher);
  EXPECT_EQ(watcher.Told(), std::vector<Symbols>{Symbols{}});
}

TEST_F(WatchList, everyChangeIsToldInOrder) {
  Watcher watcher;
  list_.Attach(&watcher);
  std::vector<Symbols> all{{}};
  for (int i = 0; i < 50; ++i) {
    all.push_back({L"sh6000" + std::to_wstring(10 + i)});
    ASSERT_TRUE(Set(all.back()));
  }
  ASSERT_TRUE(watcher.Wait(all.size()));
  list_.Detach(&watcher);
  EXPECT_EQ(watcher.Told(), all);
}

TEST_F(WatchList, editWithoutChangeIsNotTold) {
  ASSERT_TRUE(Set({L"sh600000"}));
  Watcher watcher;
  list_.Attach(&watcher);
  ASSERT_TRUE(watcher.Wait(1));
  ASSERT_TRUE(Set({L"sh600000"}));
  ASSERT_TRUE(Set({L"sz000001"}));
  ASSERT_TRUE(watcher.Wait(2));
  list_.Detach(&watcher);
  EXPECT_EQ(watcher.Told(), (std::vector<Symbols>{{L"sh600000"}, {L"sz000001"}}));
}

TEST_F(WatchList, detachedObserverIsToldNothing) {
  Watcher watcher;
  Watcher other;
  list_.Attach(&watcher);
  ASSERT_TRUE(watcher.Wait(1));
  list_.Detach(&watcher);
  list_.Attach(&other);
  ASSERT_TRUE(Set({L"sh600000"}));
  ASSERT_TRUE(other.WaitForLatest({L"sh600000"}));
  list_.Detach(&other);
  EXPECT_EQ(watcher.Told().size(), 1U);
}

TEST_F(WatchList, nullAndStrangersAreNoCrash) {
  Watcher stranger;
  list_.Attach(nullptr);
  list_.Detach(nullptr);
  list_.Detach(&stranger);
  EXPECT_TRUE(Set({L"sh600000"}));
  EXPECT_TRUE(stranger.Told().empty());
}

// Deleting an observer right behind Detach is what the contract allows.
TEST_F(WatchList, noCallRunsOnceDetachHasReturned) {
  std::atomic<bool> go_on{true};
  std::thread editor([&] {
    for (int i = 0; go_on; ++i) {
      (void)Set({i % 2 == 0 ? L"sh600000" : L"sz000001"});
    }
  });
  struct Guarded final : IUpdate1<Symbols> {
    void Update(const Symbols&) override {
      EXPECT_TRUE(alive);
      std::this_thread::yield();
      EXPECT_TRUE(alive);
    }
    std::atomic<bool> alive{true};
  };
  std::vector<std::unique_ptr<Guarded>> graveyard;
  for (int i = 0; i < 300; ++i) {
    graveyard.push_back(std::make_unique<Guarded>());
    list_.Attach(graveyard.back().get());
    if (i % 3 == 0) {
      std::this_thread::yield();
    }
    list_.Detach(graveyard.back().get());
    graveyard.back()->alive = false;
  }
  go_on = false;
  editor.join();
}

TEST_F(WatchList, observerMayDetachItselfInsideItsCall) {
  struct Once final : IUpdate1<Symbols> {
    void Update(const Symbols&) override {
      ++calls;
      list->Detach(this);
    }
    WatchListFile* list = nullptr;
    std::atomic<int> calls{0};
  } once;
  once.list = &list_;
  Watcher watcher;
  list_.Attach(&once);
  list_.Attach(&watcher);
  ASSERT_TRUE(Set({L"sh600000"}));
  ASSERT_TRUE(watcher.WaitForLatest({L"sh600000"}));
  list_.Detach(&watcher);
  EXPECT_EQ(once.calls, 1);
}

TEST_F(WatchList, observerMayEditTheListInsideItsCall) {
  struct Adding final : IUpdate1<Symbols> {
    void Update(const Symbols& symbols) override {
      if (symbols.empty()) {
        std::string error;
        EXPECT_TRUE(list->Edit(
            [](Content& content) {
              content.Add(L"sh600000");
              return std::string();
            },
            error))
            << error;
      }
    }
    WatchListFile* list = nullptr;
  } adding;
  adding.list = &list_;
  Watcher watcher;
  list_.Attach(&adding);
  list_.Attach(&watcher);
  EXPECT_TRUE(watcher.WaitForLatest({L"sh600000"}));
  list_.Detach(&adding);
  list_.Detach(&watcher);
}

TEST_F(WatchList, throwingObserverDoesNotKeepOthersFromBeingTold) {
  struct Throwing final : IUpdate1<Symbols> {
    void Update(const Symbols&) override { throw std::runtime_error("thrown on purpose"); }
  } throwing;
  Watcher watcher;
  list_.Attach(&throwing);
  list_.Attach(&watcher);
  EXPECT_TRUE(watcher.Wait(1));
  list_.Detach(&throwing);
  list_.Detach(&watcher);
}

TEST_F(WatchList, changeByAnotherProcessIsSeen) {
  Watcher watcher;
  list_.Attach(&watcher);
  ASSERT_TRUE(watcher.Wait(1));
  host_test::WriteFile(directory_.Path("new"), "SZ000001\nsh600000\n");
  std::filesystem::rename(directory_.Path("new"), directory_.Path("watchlist.txt"));
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), (Symbols{L"sz000001", L"sh600000"}));
  EXPECT_TRUE(watcher.WaitForLatest({L"sz000001", L"sh600000"}));
  list_.Detach(&watcher);
}

TEST_F(WatchList, changeByAnotherProcessIsSeenWithoutAnybodyAsking) {
  Watcher watcher;
  list_.Attach(&watcher);
  ASSERT_TRUE(watcher.Wait(1));
  host_test::WriteFile(directory_.Path("watchlist.txt"), "sh600000\n");
  EXPECT_TRUE(watcher.WaitForLatest({L"sh600000"}));
  list_.Detach(&watcher);
}

TEST_F(WatchList, editStandsOnWhatAnotherProcessHasWritten) {
  ASSERT_TRUE(Set({L"sh600000"}));
  host_test::WriteFile(directory_.Path("watchlist.txt"), "sz000002\n");
  std::string error;
  ASSERT_TRUE(list_.Edit(
      [](Content& content) {
        content.Add(L"sz000003");
        return std::string();
      },
      error));
  EXPECT_EQ(Text(), "sz000002\nsz000003\n");
  EXPECT_EQ(list_.Get(), (Symbols{L"sz000002", L"sz000003"}));
}

TEST_F(WatchList, linesThatAreNoSymbolsAreLeftOutAndKept) {
  host_test::WriteFile(directory_.Path("watchlist.txt"),
                       "# mine\n\nnonsense\n  SH600000 \r\nsh600000\n../../etc\n");
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), Symbols{L"sh600000"});
  std::string error;
  ASSERT_TRUE(list_.Edit(
      [](Content& content) {
        content.Add(L"sz000001");
        return std::string();
      },
      error));
  EXPECT_EQ(Text(), "# mine\n\nnonsense\n  SH600000 \r\nsz000001\nsh600000\n../../etc\n");
}

TEST_F(WatchList, fileThatIsTooLargeLeavesTheListAsItWas) {
  ASSERT_TRUE(Set({L"sh600000"}));
  host_test::WriteFile(directory_.Path("watchlist.txt"), std::string(300000, 'x'));
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), Symbols{L"sh600000"});
  EXPECT_FALSE(Set({L"sz000001"}));
  EXPECT_EQ(Text().size(), 300000U);
}

TEST_F(WatchList, moreThanTheLongestListIsCut) {
  std::string text;
  for (int i = 0; i < 1100; ++i) {
    text += "sh" + std::to_string(600000 + i) + "\n";
  }
  host_test::WriteFile(directory_.Path("watchlist.txt"), text);
  list_.LookAtFile();
  EXPECT_EQ(list_.Get().size(), 1000U);
}

// Each edit of the same file: all that is not its own line stays what and where it was.
TEST_F(WatchList, editLeavesEveryOtherLineWhereItIs) {
  const std::string file =
      "# banks\nsh600000\nsh600036\n\n# others\n  sz000001\nsh600000\nwhat is this\nsz300750\n# end";
  struct Case {
    const char* name;
    std::function<void(Content&)> change;
    std::string text;
    Symbols members;
  };
  const std::vector<Case> cases{
      {"add",
       [](Content& c) { c.Add(L"sh601398"); },
       "# banks\nsh600000\nsh600036\n\n# others\n  sz000001\nsh600000\nwhat is this\nsz300750\nsh601398\n# "
       "end\n",
       {L"sh600000", L"sh600036", L"sz000001", L"sz300750", L"sh601398"}},
      {"remove",
       [](Content& c) { EXPECT_TRUE(c.Remove(L"sh600036")); },
       "# banks\nsh600000\n\n# others\n  sz000001\nsh600000\nwhat is this\nsz300750\n# end\n",
       {L"sh600000", L"sz000001", L"sz300750"}},
      {"remove one that stands twice",
       [](Content& c) { EXPECT_TRUE(c.Remove(L"sh600000")); },
       "# banks\nsh600036\n\n# others\n  sz000001\nwhat is this\nsz300750\n# end\n",
       {L"sh600036", L"sz000001", L"sz300750"}},
      {"move up",
       [](Content& c) { EXPECT_TRUE(c.Move(L"sz300750", 1)); },
       "# banks\nsh600000\nsz300750\nsh600036\n\n# others\n  sz000001\nsh600000\nwhat is this\n# end\n",
       {L"sh600000", L"sz300750", L"sh600036", L"sz000001"}},
      {"move down",
       [](Content& c) { EXPECT_TRUE(c.Move(L"sh600036", 2)); },
       "# banks\nsh600000\n\n# others\n  sz000001\nsh600000\nwhat is this\nsh600036\nsz300750\n# end\n",
       {L"sh600000", L"sz000001", L"sh600036", L"sz300750"}},
      {"move beyond the end",
       [](Content& c) { EXPECT_TRUE(c.Move(L"sh600036", 99)); },
       "# banks\nsh600000\n\n# others\n  sz000001\nsh600000\nwhat is this\nsz300750\nsh600036\n# end\n",
       {L"sh600000", L"sz000001", L"sz300750", L"sh600036"}},
      {"strangers",
       [](Content& c) { EXPECT_FALSE(c.Remove(L"sh601398") || c.Move(L"sh601398", 0)); },
       file,
       {L"sh600000", L"sh600036", L"sz000001", L"sz300750"}},
  };
  for (const Case& one : cases) {
    host_test::WriteFile(directory_.Path("watchlist.txt"), file);
    std::string error;
    ASSERT_TRUE(list_.Edit(
        [&](Content& content) {
          one.change(content);
          return std::string();
        },
        error))
        << error;
    EXPECT_EQ(Text(), one.text) << one.name;
    EXPECT_EQ(list_.Get(), one.members) << one.name;
  }
}

TEST_F(WatchList, linesBeyondTheLongestListStayBehindIt) {
  std::string text = "# mine\n";
  Symbols expected;
  for (int i = 0; i < 1100; ++i) {
    text += "sh" + std::to_string(600000 + i) + "\n";
    expected.push_back(L"sh" + std::to_wstring(600000 + i));
  }
  host_test::WriteFile(directory_.Path("watchlist.txt"), text);
  std::string error;
  ASSERT_TRUE(list_.Edit(
      [](Content& content) {
        EXPECT_TRUE(content.Remove(L"sh600003"));
        EXPECT_TRUE(content.Move(L"sh600001", 2));
        return std::string();
      },
      error));
  // The first that was one too many moves up; no other has moved.
  expected.erase(expected.begin() + 3);
  expected.resize(1000);
  std::swap(expected[1], expected[2]);
  EXPECT_EQ(list_.Get(), expected);
  text.erase(text.find("sh600003\n"), 9);
  text.replace(text.find("sh600001\nsh600002\n"), 18, "sh600002\nsh600001\n");
  EXPECT_EQ(Text(), text);
}

TEST_F(WatchList, symbolicLinkStaysOne) {
  const TemporaryDirectory elsewhere;
  host_test::WriteFile(elsewhere.Path("list"), "sh600000\n");
  std::filesystem::create_symlink("second", directory_.Path("watchlist.txt"));
  std::filesystem::create_symlink(elsewhere.Path("list"), directory_.Path("second"));
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), Symbols{L"sh600000"});
  ASSERT_TRUE(Set({L"sz000001"}));
  EXPECT_TRUE(std::filesystem::is_symlink(directory_.Path("watchlist.txt")));
  EXPECT_TRUE(std::filesystem::is_symlink(directory_.Path("second")));
  EXPECT_EQ(ReadFile(elsewhere.Path("list")), "sz000001\n");
  // A target that is not there yet is made.
  std::filesystem::remove(elsewhere.Path("list"));
  ASSERT_TRUE(Set({L"sz000002"}));
  EXPECT_EQ(ReadFile(elsewhere.Path("list")), "sz000002\n");
  EXPECT_EQ(list_.Get(), Symbols{L"sz000002"});
}

TEST_F(WatchList, pipeInPlaceOfTheFileIsNotWaitedFor) {
  ASSERT_EQ(mkfifo(directory_.Path("watchlist.txt").c_str(), 0600), 0);
  list_.LookAtFile();
  EXPECT_FALSE(Set({L"sz000001"}));
}

TEST_F(WatchList, fileThatVanishesIsAnEmptyList) {
  ASSERT_TRUE(Set({L"sh600000"}));
  std::filesystem::remove(directory_.Path("watchlist.txt"));
  list_.LookAtFile();
  EXPECT_TRUE(list_.Get().empty());
}

TEST_F(WatchList, editWaitsForAnotherProcessAndGivesUpInTheEnd) {
  const int lock = open(directory_.Path("watchlist.txt.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(flock(lock, LOCK_EX), 0);
  std::string error;
  EXPECT_FALSE(list_.Edit([](Content&) { return std::string(); }, error));
  EXPECT_NE(error.find("cannot lock"), std::string::npos);
  close(lock);
  EXPECT_TRUE(Set({L"sh600000"}));
}

TEST_F(WatchList, editsOfManyThreadsAllCount) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this, i] {
      for (int k = 0; k < 20; ++k) {
        std::string error;
        EXPECT_TRUE(list_.Edit(
            [&](Content& content) {
              content.Add(L"sh" + std::to_wstring(600000 + i * 100 + k));
              return std::string();
            },
            error))
            << error;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(list_.Get().size(), 80U);
}

TEST_F(WatchList, whatWasNotToldIsToldAfterTheNextStart) {
  Watcher watcher;
  list_.Stop();
  list_.Attach(&watcher);
  host_test::WriteFile(directory_.Path("watchlist.txt"), "sh600000\n");
  EXPECT_TRUE(watcher.Told().empty());
  list_.Start(directory_.Path());
  ASSERT_TRUE(watcher.Wait(1));
  list_.Detach(&watcher);
  EXPECT_EQ(watcher.Told(), std::vector<Symbols>{Symbols{L"sh600000"}});
}

// The stop comes while one observer is told and more is queued: nobody is told of what is old by then.
TEST_F(WatchList, eventsThatAStopLeavesBehindAreNotTold) {
  struct Slow final : IUpdate1<Symbols> {
    void Update(const Symbols&) override {
      std::unique_lock lock(mutex);
      ++calls;
      changed.notify_all();
      changed.wait(lock, [this] { return let_go; });
    }
    std::mutex mutex;  // guards what follows
    std::condition_variable changed;
    int calls = 0;
    bool let_go = false;
  } slow;
  Watcher watcher;
  list_.Attach(&slow);
  {
    std::unique_lock lock(slow.mutex);
    ASSERT_TRUE(slow.changed.wait_for(lock, std::chrono::seconds(30), [&] { return slow.calls == 1; }));
  }
  list_.Attach(&watcher);
  ASSERT_TRUE(Set({L"sh600000"}));
  ASSERT_TRUE(Set({L"sh600001"}));
  std::thread stopping([this] { list_.Stop(); });
  // An edit is refused once the stop has begun.
  std::string error;
  while (list_.Edit([](Content&) { return std::string(); }, error)) {
    std::this_thread::yield();
  }
  {
    const std::lock_guard lock(slow.mutex);
    slow.let_go = true;
    slow.changed.notify_all();
  }
  stopping.join();
  EXPECT_TRUE(watcher.Told().empty());
  EXPECT_EQ(slow.calls, 1);

  // What was queued and never told is told by the next start, as it is then.
  list_.Start(directory_.Path());
  ASSERT_TRUE(watcher.WaitForLatest({L"sh600001"}));
  EXPECT_EQ(watcher.Told().size(), 1U);
  list_.Stop();
  host_test::WriteFile(directory_.Path("watchlist.txt"), "sz000009\n");
  list_.Start(directory_.Path());
  ASSERT_TRUE(watcher.WaitForLatest({L"sz000009"}));
  list_.Detach(&slow);
  list_.Detach(&watcher);
  EXPECT_EQ(watcher.Told().size(), 2U);
}

class WatchListUnderChange : public WatchList {
 protected:
  WatchListUnderChange() {
    list_.Stop();  // nobody looks but the test
    host_test::WriteFile(path_, "sh600000\n");
    list_.LookAtFile();
  }
  const host_test::WatchedCalls calls_;
  const std::string path_ = std::filesystem::canonical(directory_.Path()).string() + "/watchlist.txt";
};

// It is changed in place, to the same length, between its bytes being read and being understood.
TEST_F(WatchListUnderChange, changeWhileItIsReadIsSeenAtTheNextLook) {
  host_test::WriteFile(path_, "sh600001\nsh600002\n");
  host_test::WatchedCalls::OnceRead(path_, [&] { host_test::WriteFile(path_, "sh600003\nsh600004\n"); });
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), (Symbols{L"sh600001", L"sh600002"}));
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), (Symbols{L"sh600003", L"sh600004"}));
}

// The same where the times of both are long past, as a copy that keeps times leaves them.
TEST_F(WatchListUnderChange, changeOfAnOldFileWhileItIsReadIsSeenAtTheNextLook) {
  const auto write = [this](const std::string& text, long seconds) {
    host_test::WriteFile(path_, text);
    const timespec times[2]{{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path_.c_str(), times, 0), 0);
  };
  write("sh600001\nsh600002\n", 1'600'000'000);
  host_test::WatchedCalls::OnceRead(path_, [&] { write("sh600003\nsh600004\n", 1'600'000'100); });
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), (Symbols{L"sh600001", L"sh600002"}));
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), (Symbols{L"sh600003", L"sh600004"}));
}

// The times of files advance in steps: two changes in one step look alike.
TEST_F(WatchListUnderChange, changeThatLeavesTheTimeOfTheFileIsSeenWhileThatIsYoung) {
  struct stat before {};
  ASSERT_EQ(stat(path_.c_str(), &before), 0);
  host_test::WriteFile(path_, "sh600001\n");
  const timespec times[2]{before.st_atim, before.st_mtim};
  ASSERT_EQ(utimensat(AT_FDCWD, path_.c_str(), times, 0), 0);
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), Symbols{L"sh600001"});
}

TEST_F(WatchListUnderChange, editWhileItIsReadIsNotUndone) {
  list_.Start(directory_.Path());
  list_.Stop();
  Watcher watcher;
  list_.Attach(&watcher);
  host_test::WriteFile(path_, "sh600001\n");
  list_.Start(directory_.Path());
  ASSERT_TRUE(watcher.WaitForLatest({L"sh600001"}));
  // Whoever looks first, this thread or the list's own, meets the edit.
  host_test::WatchedCalls::OnceRead(path_, [&] { EXPECT_TRUE(Set({L"sh600005"})); });
  host_test::WriteFile(path_, "sh600002\n");
  list_.LookAtFile();
  ASSERT_TRUE(watcher.WaitForLatest({L"sh600005"}));
  EXPECT_EQ(list_.Get(), Symbols{L"sh600005"});
  list_.LookAtFile();
  EXPECT_EQ(list_.Get(), Symbols{L"sh600005"});
  list_.Detach(&watcher);
  const std::vector<Symbols> told = watcher.Told();
  EXPECT_EQ(std::find(told.begin(), told.end(), Symbols{L"sh600005"}), told.end() - 1)
      << "nothing older after the edit";
  EXPECT_EQ(Text(), "sh600005\n");
}

// Through the functions of the application.
TEST(WatchListOfTheApplication, addsRemovesAndMoves) {
  const RunningHost host;
  std::string error;
  for (const wchar_t* symbol : {L"SH600000", L"sz000001", L"sh600519", L"sz300750"}) {
    EXPECT_TRUE(AddToWatchList(symbol, error)) << error;
  }
  EXPECT_TRUE(AddToWatchList(L"sh600000", error)) << error;
  EXPECT_EQ(stock_host::WatchList(), (Symbols{L"sh600000", L"sz000001", L"sh600519", L"sz300750"}));
  EXPECT_TRUE(MoveInWatchList(L"SZ300750", 0, error)) << error;
  EXPECT_EQ(stock_host::WatchList(), (Symbols{L"sz300750", L"sh600000", L"sz000001", L"sh600519"}));
  EXPECT_TRUE(MoveInWatchList(L"sz300750", 2, error)) << error;
  EXPECT_EQ(stock_host::WatchList(), (Symbols{L"sh600000", L"sz000001", L"sz300750", L"sh600519"}));
  EXPECT_TRUE(MoveInWatchList(L"sh600000", 99, error)) << error;
  EXPECT_EQ(stock_host::WatchList(), (Symbols{L"sz000001", L"sz300750", L"sh600519", L"sh600000"}));
  EXPECT_TRUE(RemoveFromWatchList(L"SZ300750", error)) << error;
  EXPECT_EQ(stock_host::WatchList(), (Symbols{L"sz000001", L"sh600519", L"sh600000"}));
  EXPECT_EQ(ReadFile(host.directory().Path("config/watchlist.txt")), "sz000001\nsh600519\nsh600000\n");
}

TEST(WatchListOfTheApplication, refusesWhatIsNoSymbol) {
  const RunningHost host;
  std::string error;
  EXPECT_FALSE(AddToWatchList(L"bk0475", error));
  EXPECT_FALSE(AddToWatchList(L"sh60000\n", error));
  EXPECT_EQ(error, R"("sh60000\n" is no symbol: sh or sz and six digits)");
  EXPECT_FALSE(RemoveFromWatchList(L"sh600000", error));
  EXPECT_EQ(error, R"("sh600000" is not in the watch list)");
  EXPECT_FALSE(RemoveFromWatchList(L"", error));
  EXPECT_FALSE(MoveInWatchList(L"sh600000", 0, error));
  EXPECT_TRUE(stock_host::WatchList().empty());
}

TEST(WatchListOfTheApplication, refusesMoreThanItsLimit) {
  const RunningHost host;
  std::string text;
  for (int i = 0; i < 1000; ++i) {
    text += "sh" + std::to_string(600000 + i) + "\n";
  }
  host_test::WriteFile(host.directory().Path("config/watchlist.txt"), text);
  std::string error;
  EXPECT_FALSE(AddToWatchList(L"sz000001", error));
  EXPECT_EQ(error, "the watch list is full");
}

TEST(WatchListOfTheApplication, outlivesAStop) {
  const TemporaryDirectory directory;
  std::string error;
  ASSERT_TRUE(stock_host::Start(host_test::SettingsIn(directory), error)) << error;
  EXPECT_TRUE(AddToWatchList(L"sh600000", error)) << error;
  stock_host::Stop();
  ASSERT_TRUE(stock_host::Start(host_test::SettingsIn(directory), error)) << error;
  EXPECT_EQ(stock_host::WatchList(), Symbols{L"sh600000"});
  stock_host::Stop();
}

TEST(WatchListOfTheApplication, isTheOneOfTheContract) {
  const RunningHost host;
  Watcher watcher;
  GetUserOptionalStock()->Attach(&watcher);
  ASSERT_TRUE(watcher.Wait(1));
  std::string error;
  EXPECT_TRUE(AddToWatchList(L"sh600000", error)) << error;
  EXPECT_TRUE(watcher.WaitForLatest({L"sh600000"}));
  GetUserOptionalStock()->Detach(&watcher);
}

TEST(WatchListOfTheApplication, directoryThatCannotBeWrittenIsAnError) {
  const RunningHost host;
  std::string error;
  ASSERT_TRUE(AddToWatchList(L"sh600000", error)) << error;
  std::filesystem::remove_all(host.directory().Path("config"));
  host_test::WriteFile(host.directory().Path("config"), "a file in its place");
  EXPECT_FALSE(AddToWatchList(L"sz000001", error));
  EXPECT_FALSE(error.empty());
}

}  // namespace
