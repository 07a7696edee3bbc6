#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "transmit/repeat_engine.h"

namespace hvt {

// What the engine and its worker share. Nothing is called with the mutex held.
struct RepeatEngine::State {
  struct Entry {
    Bytes bytes;
    std::optional<std::int32_t> timeout_ms;  // set when a response is waited for
  };

  State(std::shared_ptr<ResponseWaitSlot> wait_slot, Link the_link, std::shared_ptr<EngineSystem> the_system)
      : slot(std::move(wait_slot)), link(std::move(the_link)), system(std::move(the_system)) {}

  const std::shared_ptr<ResponseWaitSlot> slot;
  const Link link;
  const std::shared_ptr<EngineSystem> system;

  std::mutex mutex;
  std::condition_variable stopping;         // wakes the wait for the next packet
  Activity activity = Activity::idle;       // not idle: a worker exists and has not finished
  std::atomic<bool> stop_requested{false};  // changed with the mutex held
  std::uint64_t run = 0;
  std::deque<Entry> queue;
  std::shared_ptr<PendingResponseWait> wait;  // of the packet written last
  std::thread thread;                         // kept after the end, until the next start joins it
  std::thread::id finished_worker;            // has only its last event left to do
};

// One run on its thread.
//
// Promises  ends, whatever happens, in this order: the engine is idle, the waits are cancelled unless the run
//           ended normally, the disconnect is requested when a manual write failed, the last event.
// Threads   the worker's own.
// Owns      the run's packets and sinks.
// Ends      with the run.
class RepeatEngine::Worker {
 public:
  Worker(std::shared_ptr<State> state, Sinks sinks, RepeatJob job, std::uint64_t run)
      : state_(std::move(state)), sinks_(std::move(sinks)), job_(std::move(job)), run_(run) {}

  void run_manual();
  void run_repeat();

 private:
  struct Packet {
    std::span<const std::uint8_t> bytes;
    std::uint32_t iteration = 1;
    std::uint32_t position = 0;
  };

  // Each loop returns when everything is sent or a stop came; false: a write failed, with its message.
  bool manual_loop(std::wstring& error);
  bool repeat_loop(std::wstring& error);
  template <typename Loop>
  void run(std::wstring_view failure_text, Loop&& loop);
  void leave_engine();

  bool next_entry();
  void begin(const Packet& packet, std::optional<std::int32_t> timeout_ms);
  bool write(const Packet& packet, std::wstring& error);
  void sleep_on_wait();
  WaitOutcome report_outcome() const;
  void rest(std::chrono::milliseconds interval);
  void emit(RepeatEventKind kind, const Packet& packet, std::wstring message = {}) const;

  const std::shared_ptr<State> state_;
  const Sinks sinks_;
  const RepeatJob job_;  // of a repeat run
  const std::uint64_t run_;

  State::Entry entry_;                         // of a manual run: being sent
  State::Entry previous_entry_;                // keeps the bytes of waiting_ until that is reported
  std::shared_ptr<PendingResponseWait> wait_;  // of waiting_, until its outcome is reported
  Packet waiting_;                             // the latest packet
  TimePoint written_;                          // end of the latest write
  bool left_engine_ = false;
  bool stopped_ = false;  // a stop had been requested when the run left the engine
};

}  // namespace hvt
