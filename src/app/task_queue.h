#pragma once

#include <functional>
#include <utility>
#include <vector>

#include "base/guarded.h"

namespace hvt {

// Tasks that other threads leave for the interface thread.
//
// Promises  every task runs exactly once, in the order of push().
// Threads   push() from any thread, run_all() on the interface thread.
// Owns      the tasks until they ran.
// Ends      with its owner; tasks left by then never run.
class TaskQueue {
 public:
  using Task = std::function<void()>;

  void push(Task task) {
    tasks_.with([&](auto& tasks) { tasks.push_back(std::move(task)); });
  }

  // Runs what is there now; a task may push further ones, they wait for the next call.
  void run_all() {
    const auto due = tasks_.with([](auto& tasks) { return std::exchange(tasks, {}); });
    for (const Task& task : due)
      task();
  }

 private:
  Guarded<std::vector<Task>> tasks_;
};

}  // namespace hvt
