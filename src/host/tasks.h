// Host contract: the worker pool.
#pragma once

#include <boost/function.hpp>
#include <cstdint>

#include "host/export.h"

namespace base {

/// The host's worker pool. The module keeps no task number and waits for no task.
class STOCK_HOST_API TaskManager {
 public:
  /// Queues `task` on the pool and returns its number. Tasks start in the order in which they were added.
  /// Callable from any thread, also from inside a task.
  std::uint32_t AddTask(const boost::function<void()>& task);
};

/// The host's pool, one per process.
STOCK_HOST_API TaskManager* TaskManagerInstance();

}  // namespace base
