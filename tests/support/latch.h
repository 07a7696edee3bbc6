#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace hvt::test {

// std::latch with a lock: the one of GCC 12's library loses wake-ups where it has no futex, as on Windows
// (its atomic wait compares outside the lock that notify takes), and the test hangs.
//
// Promises  wait() returns once count_down() ran `count` times, at once from then on.
// Threads   any.
// Owns      nothing but its count.
// Ends      as a plain value, when no thread waits any more.
class Latch {
 public:
  explicit Latch(std::size_t count) : count_(count) {}
  Latch(const Latch&) = delete;
  Latch& operator=(const Latch&) = delete;

  void count_down() {
    const std::lock_guard lock(mutex_);
    if (--count_ == 0) open_.notify_all();
  }

  void wait() {
    std::unique_lock lock(mutex_);
    open_.wait(lock, [this] { return count_ == 0; });
  }

  bool try_wait() {
    const std::lock_guard lock(mutex_);
    return count_ == 0;
  }

 private:
  std::mutex mutex_;
  std::condition_variable open_;
  std::size_t count_;
};

}  // namespace hvt::test
