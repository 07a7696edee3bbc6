#include "transmit/response_wait.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace hvt {

using std::chrono::milliseconds;

PendingResponseWait::PendingResponseWait(TimePoint start, std::int32_t timeout_ms)
    : timeout_ms_(timeout_ms), start_(start), deadline_(start + milliseconds(timeout_ms)) {
  if (timeout_ms < 1 || timeout_ms > kMaxTimeoutMs) throw std::invalid_argument("Invalid response timeout");
}

void PendingResponseWait::arm(TimePoint write_time) {
  const std::lock_guard lock(mutex_);
  if (outcome_ != WaitOutcome::pending) return;
  start_ = write_time;
  deadline_ = write_time + milliseconds(timeout_ms_);
  armed_ = true;
}

bool PendingResponseWait::decide(WaitOutcome outcome, TimePoint time) {
  if (outcome_ != WaitOutcome::pending) return false;
  outcome_ = outcome;
  outcome_time_ = time;
  changed_.notify_all();
  return true;
}

bool PendingResponseWait::complete(WaitOutcome outcome, TimePoint time) {
  const std::lock_guard lock(mutex_);
  return decide(outcome, time);
}

std::optional<ReceiveTimingInfo> PendingResponseWait::answered(TimePoint rx_time) {
  {
    const std::lock_guard lock(mutex_);
    const bool in_time = !armed_ || rx_time <= deadline_;
    if (!decide(in_time ? WaitOutcome::response : WaitOutcome::timed_out, in_time ? rx_time : deadline_))
      return std::nullopt;
    if (in_time) {
      return ReceiveTimingInfo{
          ReceiveTimingInfo::Kind::response, std::max(rx_time - start_, TimePoint::duration::zero()), {}};
    }
  }
  return answered_late();
}

ReceiveTimingInfo PendingResponseWait::answered_late() {
  ReceiveTimingInfo timing{ReceiveTimingInfo::Kind::late, {}, {}};
  if (claim_timeout()) timing.timeout_ms = timeout_ms_;
  return timing;
}

bool PendingResponseWait::expire(TimePoint now) {
  const std::lock_guard lock(mutex_);
  return armed_ && now >= deadline_ && decide(WaitOutcome::timed_out, deadline_);
}

WaitOutcome PendingResponseWait::outcome() const {
  const std::lock_guard lock(mutex_);
  return outcome_;
}

std::chrono::duration<double, std::milli> PendingResponseWait::elapsed() const {
  const std::lock_guard lock(mutex_);
  return std::max(outcome_time_ - start_, TimePoint::duration::zero());
}

void PendingResponseWait::sleep(EngineSystem& system) {
  std::unique_lock lock(mutex_);
  while (outcome_ == WaitOutcome::pending && !disturbed_ && system.now() < deadline_)
    system.wait_until(changed_, lock, deadline_);
  disturbed_ = false;
}

void PendingResponseWait::disturb() {
  const std::lock_guard lock(mutex_);
  disturbed_ = true;
  changed_.notify_all();
}

std::shared_ptr<PendingResponseWait> begin_wait(const ResponseWaitSlot::Turn& turn, TimePoint start,
                                                std::int32_t timeout_ms) {
  auto wait = std::make_shared<PendingResponseWait>(start, timeout_ms);
  cancel_waits(turn, start);
  turn.waits_.current = wait;
  return wait;
}

bool check_timeout(const ResponseWaitSlot::Turn& turn, const std::shared_ptr<PendingResponseWait>& wait,
                   TimePoint now) {
  if (wait != turn.waits_.current || !wait->expire(now)) return false;
  turn.waits_.expired = std::move(turn.waits_.current);
  return true;
}

std::optional<ReceiveTimingInfo> on_received(const ResponseWaitSlot::Turn& turn, TimePoint rx_time) {
  if (const auto current = std::exchange(turn.waits_.current, nullptr)) return current->answered(rx_time);
  if (const auto expired = std::exchange(turn.waits_.expired, nullptr)) return expired->answered_late();
  return std::nullopt;
}

void cancel_waits(const ResponseWaitSlot::Turn& turn, TimePoint now) {
  if (const auto current = std::exchange(turn.waits_.current, nullptr))
    current->complete(WaitOutcome::cancelled, now);
  turn.waits_.expired.reset();
}

}  // namespace hvt
