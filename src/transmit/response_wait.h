#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "transmit/engine_system.h"

namespace hvt {

// How long a device takes to answer a packet: measured from the end of the write to the arrival of the first
// bytes, and judged as in time, late or never.
//
// Who reports what to the display, each exactly once:
//   elapsed time   the connection thread: the record that on_received() returns, together with the bytes
//   late mark      the connection thread, likewise
//   time-out       the transmission worker when it notices (RepeatEvent kind 3); the connection thread when
//                  late bytes come before that (timeout_ms in the record). claim_timeout() decides.
//   cancelled      nobody
//
// In which order: a decision and its report are one step for everybody else while a Turn is held. The worker
// holds one from begin_wait() to the packet's kind 1 and from check_timeout() to kind 3. The receive path
// should hold one from on_received() until the bytes and the record are noted, and a clear from dropping what
// was noted until cancel_waits(). Then no elapsed time stands at the wrong packet, no late mark before its
// time-out, and nothing orphaned in a cleared view.

enum class WaitOutcome : std::uint32_t { pending = 0, response = 1, timed_out = 2, cancelled = 3 };

// What received bytes say about the packet that they answer.
struct ReceiveTimingInfo {
  enum class Kind : std::uint32_t { response = 0, late = 1 };
  Kind kind = Kind::response;
  // From the end of the write to the first bytes, never negative; of a response only.
  std::chrono::duration<double, std::milli> elapsed{};
  // Of a late answer: set when nobody has reported the time-out before.
  std::optional<std::int32_t> timeout_ms;
};

// One outstanding wait for a response.
//
// Promises  the outcome is decided exactly once and never changes; who sleeps on it wakes at once.
// Threads   any; shared between the worker that writes the packet, the slot and the receive path. Nothing but
//           sleep() blocks.
// Owns      its times.
// Ends      with its last holder; a wait in a slot is decided before it leaves.
class PendingResponseWait {
 public:
  static constexpr std::int32_t kMaxTimeoutMs = 99999999;

  // `start` is provisional until arm(). Throws std::invalid_argument unless 1 <= timeout_ms <= kMaxTimeoutMs.
  PendingResponseWait(TimePoint start, std::int32_t timeout_ms);

  // The write has ended: start and deadline count from here. Changes nothing once the outcome is decided.
  void arm(TimePoint write_time);

  // True when this call decided the outcome. `time`: arrival, deadline or moment of cancelling.
  bool complete(WaitOutcome outcome, TimePoint time);
  // Bytes arrived: a response when not yet armed or not after the deadline, else late. Nothing when the
  // outcome was decided before.
  std::optional<ReceiveTimingInfo> answered(TimePoint rx_time);
  // Bytes arrived after the time-out.
  ReceiveTimingInfo answered_late();
  // Times out when armed, pending and due.
  bool expire(TimePoint now);
  // True for the first caller, who is the one to report the time-out.
  bool claim_timeout() { return !timeout_claimed_.exchange(true); }

  WaitOutcome outcome() const;
  // From the end of the write to the outcome.
  std::chrono::duration<double, std::milli> elapsed() const;

  // Blocks until the outcome is decided, the deadline is reached or disturb() was called; one call of
  // disturb() ends one sleep, also one that begins later.
  void sleep(EngineSystem& system);
  void disturb();

 private:
  bool decide(WaitOutcome outcome, TimePoint time);

  const std::int32_t timeout_ms_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  TimePoint start_;
  TimePoint deadline_;
  bool armed_ = false;
  bool disturbed_ = false;
  WaitOutcome outcome_ = WaitOutcome::pending;
  TimePoint outcome_time_;
  std::atomic<bool> timeout_claimed_{false};
};

// The waits of one connection: the current one, and the last that timed out, kept to tell one late answer.
//
// Promises  at most one packet waits at a time, always the one written last.
// Threads   any, through the functions below.
// Owns      a share of both waits.
// Ends      with its last holder.
class ResponseWaitSlot {
  struct Waits {
    std::shared_ptr<PendingResponseWait> current;
    std::shared_ptr<PendingResponseWait> expired;
  };

 public:
  // Holds up every other use of the slot. What is done meanwhile must be short, must not block and must not
  // use the slot except through this turn.
  class Turn {
   public:
    // Implicit: given a slot, the functions below take a turn for themselves.
    Turn(ResponseWaitSlot& slot) : lock_(slot.mutex_), waits_(slot.waits_) {}

   private:
    friend std::shared_ptr<PendingResponseWait> begin_wait(const Turn&, TimePoint, std::int32_t);
    friend bool check_timeout(const Turn&, const std::shared_ptr<PendingResponseWait>&, TimePoint);
    friend std::optional<ReceiveTimingInfo> on_received(const Turn&, TimePoint);
    friend void cancel_waits(const Turn&, TimePoint);

    const std::unique_lock<std::mutex> lock_;
    Waits& waits_;
  };

 private:
  std::mutex mutex_;
  Waits waits_;
};

// A packet is about to be written at `start`: its wait supersedes the current one (outcome cancelled) and
// drops the expired one. Throws like PendingResponseWait; the slot is unchanged then.
std::shared_ptr<PendingResponseWait> begin_wait(const ResponseWaitSlot::Turn& turn, TimePoint start,
                                                std::int32_t timeout_ms);

// True when `wait` is the current one and timed out in this call. It is the expired one from then on.
bool check_timeout(const ResponseWaitSlot::Turn& turn, const std::shared_ptr<PendingResponseWait>& wait,
                   TimePoint now);

// Judges bytes that arrived at `rx_time`, before they are shown or recorded. Nothing: they answer no wait.
std::optional<ReceiveTimingInfo> on_received(const ResponseWaitSlot::Turn& turn, TimePoint rx_time);

// From here on received bytes answer nothing.
void cancel_waits(const ResponseWaitSlot::Turn& turn, TimePoint now);

}  // namespace hvt
