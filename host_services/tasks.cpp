#include "tasks.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

#include "host/tasks.h"
#include "log.h"
#include "worker_pool.h"

namespace stock_host {
namespace {

constexpr std::size_t kThreads = 8;
constexpr std::size_t kLongestQueueWhileStopped = 4096;

struct TaskState {
  std::mutex mutex;  // guards all members; queueing happens under it, so that numbers and order agree
  std::unique_ptr<WorkerPool> pool;
  std::deque<std::function<void()>> waiting;  // added while there is no pool
  std::uint32_t latest = 0;
};

// Leaked: callable until the very end of the process.
TaskState& TheTasks() {
  static TaskState* const state = new TaskState;
  return *state;
}

}  // namespace

void StartTasks() {
  auto pool = std::make_unique<WorkerPool>("task", kThreads);
  TaskState& state = TheTasks();
  const std::lock_guard lock(state.mutex);
  if (state.pool) {
    return;
  }
  state.pool = std::move(pool);
  for (auto& task : state.waiting) {
    state.pool->Post(std::move(task));
  }
  state.waiting.clear();
}

void StopTasks() {
  std::unique_ptr<WorkerPool> pool;
  {
    TaskState& state = TheTasks();
    const std::lock_guard lock(state.mutex);
    pool.swap(state.pool);
  }
  if (pool) {
    pool->Finish();
  }
}

}  // namespace stock_host

namespace base {

std::uint32_t TaskManager::AddTask(const boost::function<void()>& task) {
  if (task.empty()) {
    stock_host::Log(stock_host::Severity::kWarning, "tasks: an empty task was left out");
    return 0;
  }
  {
    stock_host::TaskState& state = stock_host::TheTasks();
    const std::lock_guard lock(state.mutex);
    if (state.pool) {
      state.pool->Post(task);
      return ++state.latest;
    }
    if (state.waiting.size() < stock_host::kLongestQueueWhileStopped) {
      state.waiting.emplace_back(task);
      return ++state.latest;
    }
  }
  stock_host::Log(stock_host::Severity::kError,
                  "tasks: a task was refused; too many wait for the host services to start");
  return 0;
}

TaskManager* TaskManagerInstance() {
  static TaskManager instance;
  return &instance;
}

}  // namespace base
