// The task pool: order, numbers, width, and what tasks may do.
#include "host/tasks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "running_host.h"
#include "stock_host.h"

namespace {

using host_test::RunningHost;

// Lets a test wait for tasks, and tasks for each other.
class Gathering {
 public:
  // Returns when `count` threads are in here. False when they do not come.
  bool Meet(int count) {
    std::unique_lock lock(mutex_);
    ++here_;
    changed_.notify_all();
    return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return here_ >= count; });
  }
  bool WaitFor(int count) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return here_ >= count; });
  }

 private:
  std::mutex mutex_;  // guards here_
  std::condition_variable changed_;
  int here_ = 0;
};

std::uint32_t Add(const boost::function<void()>& task) {
  return base::TaskManagerInstance()->AddTask(task);
}

TEST(Tasks, runOnAnotherThread) {
  std::thread::id thread;
  {
    const RunningHost host;
    Add([&] { thread = std::this_thread::get_id(); });
  }
  EXPECT_NE(thread, std::thread::id());
  EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(Tasks, numbersGoUpByOne) {
  const RunningHost host;
  const std::uint32_t first = Add([] {});
  EXPECT_GE(first, 1U);
  EXPECT_EQ(Add([] {}), first + 1);
  EXPECT_EQ(Add([] {}), first + 2);
}

TEST(Tasks, eightRunSideBySide) {
  const RunningHost host;
  Gathering gathering;
  Gathering done;
  std::atomic<int> met{0};
  for (int i = 0; i < 8; ++i) {
    Add([&] {
      met += gathering.Meet(8) ? 1 : 0;
      done.Meet(1);
    });
  }
  EXPECT_TRUE(done.WaitFor(8));
  EXPECT_EQ(met, 8);
}

// All threads but one are held: what the last one starts, it starts in order.
TEST(Tasks, startInTheOrderInWhichTheyWereAdded) {
  Gathering held;
  std::vector<int> order;
  {
    const RunningHost host;
    for (int i = 0; i < 7; ++i) {
      Add([&] { held.Meet(8); });
    }
    ASSERT_TRUE(held.WaitFor(7));
    for (int i = 0; i < 500; ++i) {
      Add([&order, i] { order.push_back(i); });
    }
    Add([&] { held.Meet(8); });
  }
  ASSERT_EQ(order.size(), 500U);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(Tasks, mayAddTasks) {
  std::atomic<int> done{0};
  Gathering last;
  const RunningHost host;
  std::function<void(int)> step = [&](int left) {
    ++done;
    if (left == 0) {
      last.Meet(1);
      return;
    }
    Add([&step, left] { step(left - 1); });
  };
  Add([&] { step(100); });
  EXPECT_TRUE(last.WaitFor(1));
  EXPECT_EQ(done, 101);
}

TEST(Tasks, whatTheyThrowIsLoggedAndDropped) {
  std::atomic<int> done{0};
  const RunningHost host;
  for (int i = 0; i < 20; ++i) {
    Add([] { throw std::runtime_error("thrown\non purpose"); });
    Add([] { throw 42; });
  }
  for (int i = 0; i < 20; ++i) {
    Add([&] { ++done; });
  }
  stock_host::Stop();
  EXPECT_EQ(done, 20);
  EXPECT_NE(host.LogFile().find(R"(task: dropped an exception: thrown\non purpose)"), std::string::npos);
  EXPECT_NE(host.LogFile().find("task: dropped an exception of unknown type"), std::string::npos);
}

TEST(Tasks, emptyTaskIsLeftOut) {
  const RunningHost host;
  EXPECT_EQ(Add(boost::function<void()>()), 0U);
  EXPECT_NE(host.LogFile().find("tasks: an empty task was left out"), std::string::npos);
}

TEST(Tasks, addedByManyThreadsAllRunAndHaveNumbersOfTheirOwn) {
  std::atomic<int> done{0};
  std::mutex mutex;
  std::set<std::uint32_t> numbers;
  {
    const RunningHost host;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&] {
        for (int k = 0; k < 200; ++k) {
          const std::uint32_t number = Add([&] { ++done; });
          const std::lock_guard lock(mutex);
          numbers.insert(number);
        }
      });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
  EXPECT_EQ(done, 1600);
  EXPECT_EQ(numbers.size(), 1600U);
}

TEST(Tasks, queueOfTheTimeWithoutServicesHasAnEnd) {
  std::atomic<int> done{0};
  int refused = 0;
  for (int i = 0; i < 5000; ++i) {
    refused += Add([&] { ++done; }) == 0 ? 1 : 0;
  }
  EXPECT_EQ(refused, 5000 - 4096);
  { const RunningHost host; }
  EXPECT_EQ(done, 4096);
}

TEST(Tasks, whatATaskHoldsGoesWithIt) {
  const auto held = std::make_shared<int>(1);
  const RunningHost host;
  for (int i = 0; i < 10; ++i) {
    Add([held] { (void)*held; });
  }
  stock_host::Stop();
  EXPECT_EQ(held.use_count(), 1);
}

// They wait for the next start and run at that one alone.
TEST(Tasks, ofTheTimeWithoutServicesRunOnce) {
  std::mutex mutex;
  std::vector<int> ran;
  std::vector<std::uint32_t> numbers;
  for (int i = 0; i < 20; ++i) {
    numbers.push_back(Add([&, i] {
      const std::lock_guard lock(mutex);
      ran.push_back(i);
    }));
    EXPECT_EQ(numbers.back(), numbers.front() + static_cast<std::uint32_t>(i));
  }
  EXPECT_TRUE(ran.empty());
  for (int start = 0; start < 2; ++start) {
    const RunningHost host;
    stock_host::Stop();
    EXPECT_EQ(ran.size(), 20U) << start;
    EXPECT_EQ(host.LogFile().find("dropped an exception"), std::string::npos) << start;
  }
}

// One of them is busy with the first: the others have to stay in line.
TEST(Tasks, ofTheTimeWithoutServicesStartInTheOrderInWhichTheyWereAdded) {
  std::mutex mutex;
  std::vector<int> started;
  Gathering busy;
  for (int i = 0; i < 7; ++i) {
    Add([&] { EXPECT_TRUE(busy.WaitFor(1)); });
  }
  for (int i = 0; i < 20; ++i) {
    Add([&, i] {
      const std::lock_guard lock(mutex);
      started.push_back(i);
    });
  }
  Add([&] { EXPECT_TRUE(busy.Meet(1)); });
  { const RunningHost host; }
  EXPECT_EQ(started.size(), 20U);
  EXPECT_TRUE(std::is_sorted(started.begin(), started.end()));
}

}  // namespace
