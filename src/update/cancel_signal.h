#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <utility>

namespace hvt {

// Ends a piece of work from outside. Not std::stop_token: the destructor of its callback waits on a
// semaphore, which loses wake-ups with MinGW.
//
// Promises  cancelled() stays true once cancel() began. A wait that a Wake stands for is woken.
// Threads   cancel() and cancelled() any; Wake the working thread, one at a time.
// Owns      nothing but its state.
// Ends      as a plain value, after the work.
class CancelSignal {
 public:
  CancelSignal() = default;
  CancelSignal(const CancelSignal&) = delete;
  CancelSignal& operator=(const CancelSignal&) = delete;

  void cancel() {
    cancelled_ = true;
    // Under the lock, because the function must not run any more once its Wake is gone.
    const std::lock_guard lock(mutex_);
    if (wake_) wake_();
  }
  bool cancelled() const { return cancelled_; }

  // While it lives, cancel() calls the function, which may do nothing but wake the wait. Made before the
  // first look at cancelled(), it misses nothing.
  class Wake {
   public:
    Wake(CancelSignal& signal, std::function<void()> wake) : signal_(signal) {
      const std::lock_guard lock(signal_.mutex_);
      signal_.wake_ = std::move(wake);
    }
    ~Wake() {
      const std::lock_guard lock(signal_.mutex_);
      signal_.wake_ = nullptr;
    }
    Wake(const Wake&) = delete;
    Wake& operator=(const Wake&) = delete;

   private:
    CancelSignal& signal_;
  };

 private:
  std::atomic<bool> cancelled_{false};
  std::mutex mutex_;
  std::function<void()> wake_;
};

}  // namespace hvt
