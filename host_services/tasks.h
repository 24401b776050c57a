// Start and stop of the task pool behind host/tasks.h. Callable from any thread, `StopTasks` not from a task.
#pragma once

namespace stock_host {

void StartTasks();

/// Runs what is queued and joins the threads. Tasks added from now on wait for the next start.
void StopTasks();

}  // namespace stock_host
