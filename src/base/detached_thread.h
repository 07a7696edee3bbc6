#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace hvt {

// Starts a thread that nobody joins: it holds what it needs and may outlive its starter.
//
// The function runs only after the detach is complete. MinGW's thread library frees a thread's record twice
// when the thread ends while it is being detached, and crashes now and then.
//
// Throws std::system_error when no thread can be had; the function does not run then.
template <typename Function>
void start_detached(Function function) {
  struct Gate {
    std::mutex mutex;
    std::condition_variable opened;
    bool open = false;
  };
  const auto gate = std::make_shared<Gate>();
  std::thread([gate, run = std::move(function)]() mutable {
    {
      std::unique_lock lock(gate->mutex);
      gate->opened.wait(lock, [&] { return gate->open; });
    }
    run();
  }).detach();
  {
    const std::lock_guard lock(gate->mutex);
    gate->open = true;
  }
  gate->opened.notify_one();
}

}  // namespace hvt
