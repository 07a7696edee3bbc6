#pragma once

#include <mutex>
#include <utility>

namespace hvt {

// A value that can only be reached while its lock is held.
//
// Promises  with() runs the function under the lock and returns what it returns.
// Threads   any. The function must not call back into the same Guarded, and should not call out at all:
//           copy what is needed, leave, then act.
template <typename T>
class Guarded {
 public:
  Guarded() = default;
  explicit Guarded(T value) : value_(std::move(value)) {}

  template <typename Function>
  decltype(auto) with(Function&& function) {
    const std::lock_guard lock(mutex_);
    return std::forward<Function>(function)(value_);
  }

  template <typename Function>
  decltype(auto) with(Function&& function) const {
    const std::lock_guard lock(mutex_);
    return std::forward<Function>(function)(value_);
  }

 private:
  mutable std::mutex mutex_;
  T value_{};
};

}  // namespace hvt
