#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace hvt::test {

// Bounds what a test waits for.
//
// Promises  a wait that takes 5 s becomes a failure that names it, and `end_wait` runs to bring it to an end.
//           One that goes on for another 5 s ends the process with the same text: a thread that hangs cannot
//           be ended, and a test that waits for it would hang too.
// Threads   any; `end_wait` runs on a thread of the object's own.
// Owns      that thread.
// Ends      with the wait, in the destructor.
class TimeLimit {
 public:
  explicit TimeLimit(
      std::string what, std::function<void()> end_wait = [] {})
      : what_(std::move(what)), watch_([this, end_wait = std::move(end_wait)] { watch(end_wait); }) {}
  TimeLimit(const TimeLimit&) = delete;
  TimeLimit& operator=(const TimeLimit&) = delete;
  ~TimeLimit() {
    {
      const std::lock_guard lock(mutex_);
      over_ = true;
    }
    changed_.notify_all();
    watch_.join();
    if (expired_) ADD_FAILURE() << "waited in vain for " << what_;
  }

  // For a loop whose single waits are short.
  bool expired() const { return expired_; }

 private:
  static constexpr std::chrono::seconds kStep{5};

  void watch(const std::function<void()>& end_wait) {
    std::unique_lock lock(mutex_);
    const auto is_over = [this] { return over_; };
    if (changed_.wait_for(lock, kStep, is_over)) return;
    expired_ = true;
    lock.unlock();
    end_wait();
    lock.lock();
    if (changed_.wait_for(lock, kStep, is_over)) return;
    std::fprintf(stderr, "The test hangs: waited in vain for %s\n", what_.c_str());
    std::fflush(stderr);
    std::_Exit(EXIT_FAILURE);
  }

  const std::string what_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool over_ = false;
  std::atomic<bool> expired_{false};
  std::thread watch_;
};

}  // namespace hvt::test
