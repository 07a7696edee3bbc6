#include <exception>
#include <thread>
#include <utility>

#include "base/text.h"
#include "base/timers.h"
#include "transmit/repeat_engine_state.h"

namespace hvt {

void RepeatEngine::Worker::run_manual() {
  run(L"Manual transmission failed.", [&](std::wstring& error) { return manual_loop(error); });
}

void RepeatEngine::Worker::run_repeat() {
  run(L"Repeat transmission failed.", [&](std::wstring& error) { return repeat_loop(error); });
}

template <typename Loop>
void RepeatEngine::Worker::run(std::wstring_view failure_text, Loop&& loop) {
  bool failed = false;
  bool disconnect = false;
  std::wstring error;
  try {
    failed = disconnect = !loop(error);
  } catch (const std::exception& exception) {
    failed = true;
    error = message_of(exception);
  } catch (...) {
    failed = true;
    error.clear();
  }
  if (!left_engine_) {
    const std::lock_guard lock(state_->mutex);
    leave_engine();
  }
  if (failed || stopped_) cancel_waits(*state_->slot, state_->system->now());
  if (disconnect) state_->link.disconnect();
  if (failed) {
    if (error.empty()) error = failure_text;
    emit(RepeatEventKind::failed, {{}, 0, 0}, std::move(error));
  } else {
    emit(stopped_ ? RepeatEventKind::stopped : RepeatEventKind::ended, {{}, 0, 0});
  }
}

// The mutex is held.
void RepeatEngine::Worker::leave_engine() {
  left_engine_ = true;
  stopped_ = state_->stop_requested;
  state_->queue.clear();
  state_->wait.reset();
  state_->finished_worker = std::this_thread::get_id();
  state_->activity = Activity::idle;
}

bool RepeatEngine::Worker::manual_loop(std::wstring& error) {
  while (next_entry()) {
    const Packet packet{entry_.bytes, 1, 0};
    begin(packet, entry_.timeout_ms);
    if (!write(packet, error)) return false;
  }
  return true;
}

// Waits for an entry as long as a response may come. The end is decided with the mutex held, so an entry
// comes either before it or to the next run.
bool RepeatEngine::Worker::next_entry() {
  for (;; sleep_on_wait()) {
    const std::lock_guard lock(state_->mutex);
    if (!state_->stop_requested && !state_->queue.empty()) {
      previous_entry_ = std::move(entry_);
      entry_ = std::move(state_->queue.front());
      state_->queue.pop_front();
      return true;
    }
    if (!wait_) {
      leave_engine();
      return false;
    }
  }
}

bool RepeatEngine::Worker::repeat_loop(std::wstring& error) {
  const auto& [packets, settings] = job_;
  const auto count = static_cast<std::uint32_t>(settings.repeat_count);
  const auto timeout = settings.wait_for_rx ? std::optional(settings.rx_timeout_ms) : std::nullopt;
  const FineTimers fine_timers;
  cancel_waits(*state_->slot, state_->system->now());
  for (std::uint32_t iteration = 1; iteration <= count; ++iteration) {
    if (state_->stop_requested) return true;
    emit(RepeatEventKind::iteration, {{}, iteration, 0});
    for (std::uint32_t position = 0; position < packets.size(); ++position) {
      if (state_->stop_requested) return true;
      const Packet packet{packets[position], iteration, position};
      begin(packet, timeout);
      if (!write(packet, error)) return false;
      while (wait_)
        sleep_on_wait();
      const bool last = iteration == count && position + 1 == packets.size();
      if (!last) rest(std::chrono::milliseconds(settings.interval_ms));
    }
  }
  return true;
}

void RepeatEngine::Worker::begin(const Packet& packet, std::optional<std::int32_t> timeout_ms) {
  const TimePoint now = state_->system->now();
  std::shared_ptr<PendingResponseWait> wait;
  {
    const ResponseWaitSlot::Turn turn(*state_->slot);
    if (timeout_ms) {
      wait = begin_wait(turn, now, *timeout_ms);
    } else {
      cancel_waits(turn, now);
    }
    if (wait_) report_outcome();  // superseded, unless it was decided before
    emit(RepeatEventKind::sending, packet);
  }
  wait_ = wait;
  waiting_ = packet;
  {
    const std::lock_guard lock(state_->mutex);
    state_->wait = wait;
    if (!state_->stop_requested) return;
  }
  if (wait) wait->complete(WaitOutcome::cancelled, now);  // the stop came too early to find it
}

bool RepeatEngine::Worker::write(const Packet& packet, std::wstring& error) {
  if (!state_->link.write(packet.bytes, error)) return false;
  written_ = state_->system->now();
  if (wait_) wait_->arm(written_);
  emit(RepeatEventKind::sent, packet);
  return true;
}

void RepeatEngine::Worker::sleep_on_wait() {
  wait_->sleep(*state_->system);
  WaitOutcome outcome = WaitOutcome::pending;
  {
    const ResponseWaitSlot::Turn turn(*state_->slot);
    check_timeout(turn, wait_, state_->system->now());
    outcome = report_outcome();
  }
  if (outcome == WaitOutcome::cancelled) emit(RepeatEventKind::ended, {{}, 0, 0});
  if (outcome != WaitOutcome::pending) wait_.reset();
}

// In a turn. What a cancelled wait means is left to the caller.
WaitOutcome RepeatEngine::Worker::report_outcome() const {
  const WaitOutcome outcome = wait_->outcome();
  if (outcome == WaitOutcome::response) {
    emit(RepeatEventKind::sent, waiting_);
    if (sinks_.on_timing)
      sinks_.on_timing(ReceiveTimingInfo{ReceiveTimingInfo::Kind::response, wait_->elapsed(), {}});
  } else if (outcome == WaitOutcome::timed_out) {
    if (wait_->claim_timeout()) emit(RepeatEventKind::timed_out, waiting_);
    if (sinks_.on_timing) sinks_.on_timing(std::nullopt);
  }
  return outcome;
}

void RepeatEngine::Worker::rest(std::chrono::milliseconds interval) {
  EngineSystem& system = *state_->system;
  const TimePoint due = written_ + interval;
  if (system.now() >= due) {
    if (interval.count() == 0) std::this_thread::yield();
    return;
  }
  const TimePoint wake = due - timer_lateness();  // the rest is yielded: the next packet must not be late
  {
    std::unique_lock lock(state_->mutex);
    while (!state_->stop_requested && system.now() < wake)
      system.wait_until(state_->stopping, lock, wake);
  }
  while (!state_->stop_requested && system.now() < due)
    std::this_thread::yield();
}

void RepeatEngine::Worker::emit(RepeatEventKind kind, const Packet& packet, std::wstring message) const {
  sinks_.on_event({kind, packet.iteration, packet.position, packet.bytes, run_, std::move(message),
                   state_->system->now()});
}

}  // namespace hvt
