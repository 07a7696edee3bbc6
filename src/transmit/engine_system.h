#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace hvt {

using TimePoint = std::chrono::steady_clock::time_point;

// Time and threads as the transmission engine gets them; a test moves the time by hand.
//
// Promises  wait_until() may return early at any time: the caller looks again, at now() too.
// Threads   any, at the same time.
// Owns      nothing.
// Ends      after the last worker that uses it.
class EngineSystem {
 public:
  virtual ~EngineSystem() = default;

  virtual TimePoint now() { return std::chrono::steady_clock::now(); }

  virtual void wait_until(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
                          TimePoint time) {
    // Libraries turn the time into a wall-clock time or a 32-bit count of their own: keep it near.
    changed.wait_until(lock, std::min(time, now() + std::chrono::hours(1)));
  }

  // Throws std::system_error when no thread can be had.
  virtual std::thread start_thread(std::function<void()> run) { return std::thread(std::move(run)); }
};

}  // namespace hvt
