#include "transmit/repeat_engine.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include "transmit/repeat_engine_state.h"

namespace hvt {
namespace {

constexpr std::wstring_view kInvalidRepeat = L"Invalid repeat settings or packet data.";
constexpr std::wstring_view kInvalidManual = L"Invalid manual transmission settings or packet data.";
constexpr std::wstring_view kRepeatRunning = L"Repeat transmission is already running.";
constexpr std::wstring_view kManualStopping = L"Manual transmission is stopping.";
constexpr std::wstring_view kQueueFull =
    L"The manual transmission queue is full. Wait for queued packets to send.";
constexpr std::wstring_view kStillCompleting = L"The previous transmission is still completing.";
constexpr std::wstring_view kNoWorker = L"Could not start the transmission worker.";
constexpr std::wstring_view kNotQueued = L"Could not queue the manual transmission.";

bool fail(std::wstring& error, std::wstring_view text) {
  error = text;
  return false;
}

constexpr bool within(std::int32_t value, std::int32_t min, std::int32_t max) {
  return value >= min && value <= max;
}

bool is_packet(std::span<const std::uint8_t> bytes) {
  return !bytes.empty() && bytes.size() <= kMaxPacketBytes;
}

bool is_timeout(std::int32_t timeout_ms) {
  return within(timeout_ms, 10, PendingResponseWait::kMaxTimeoutMs);
}

bool is_valid(const std::vector<Bytes>& packets, const RepeatSettings& settings) {
  return within(settings.repeat_count, 1, 9999) &&
         within(settings.end_packet, 1, static_cast<std::int32_t>(kPacketCount)) &&
         within(settings.start_packet, 1, settings.end_packet) &&
         packets.size() == static_cast<std::size_t>(settings.end_packet - settings.start_packet + 1) &&
         std::all_of(packets.begin(), packets.end(), is_packet) &&
         within(settings.interval_ms, 0, 99999999) &&
         (!settings.wait_for_rx || is_timeout(settings.rx_timeout_ms));
}

}  // namespace

RepeatEngine::RepeatEngine(std::shared_ptr<ResponseWaitSlot> slot, Link link,
                           std::shared_ptr<EngineSystem> system)
    : state_(std::make_shared<State>(std::move(slot), std::move(link), std::move(system))) {}

RepeatEngine::~RepeatEngine() {
  stop_and_join();
  // Still there only on the worker itself, which therefore cannot end in the middle of the detach.
  if (state_->thread.joinable()) state_->thread.detach();
}

bool RepeatEngine::start_repeat(std::vector<Bytes> packets, const RepeatSettings& settings,
                                EventSink on_event, TimingSink on_timing, std::wstring& error) {
  if (!on_event || !is_valid(packets, settings)) return fail(error, kInvalidRepeat);
  std::unique_lock lock(state_->mutex);
  if (state_->activity != Activity::idle) return fail(error, kRepeatRunning);
  if (state_->finished_worker == std::this_thread::get_id()) return fail(error, kStillCompleting);
  return start(lock, Activity::repeat, {std::move(on_event), std::move(on_timing)},
               {std::move(packets), settings}, error);
}

bool RepeatEngine::send_manual(std::span<const std::uint8_t> bytes, const WaitOptions& options,
                               EventSink on_event, TimingSink on_timing, std::wstring& error) {
  const bool valid =
      on_event && is_packet(bytes) && (!options.wait_for_rx || is_timeout(options.rx_timeout_ms));
  if (!valid) return fail(error, kInvalidManual);
  std::unique_lock lock(state_->mutex);
  const bool running = state_->activity != Activity::idle;
  if (state_->activity == Activity::repeat) return fail(error, kRepeatRunning);
  if (running && state_->stop_requested) return fail(error, kManualStopping);
  if (running && state_->queue.size() >= kMaxQueued) return fail(error, kQueueFull);
  if (state_->finished_worker == std::this_thread::get_id()) return fail(error, kStillCompleting);
  try {
    const auto timeout = options.wait_for_rx ? std::optional(options.rx_timeout_ms) : std::nullopt;
    state_->queue.push_back({Bytes(bytes.begin(), bytes.end()), timeout});
  } catch (const std::bad_alloc&) {
    return fail(error, kNotQueued);
  }
  if (!running) return start(lock, Activity::manual, {std::move(on_event), std::move(on_timing)}, {}, error);
  const auto wait = state_->wait;
  lock.unlock();
  if (wait) wait->disturb();
  return true;
}

// The activity keeps everybody else from starting while the lock is away. Without a lock at the start, the
// new thread does not run into it at once.
bool RepeatEngine::start(std::unique_lock<std::mutex>& lock, Activity activity, Sinks sinks, RepeatJob job,
                         std::wstring& error) {
  state_->activity = activity;
  state_->stop_requested = false;
  const std::uint64_t run = ++state_->run;
  std::thread finished = std::move(state_->thread);
  lock.unlock();
  if (finished.joinable()) finished.join();
  lock.lock();
  state_->finished_worker = {};
  lock.unlock();
  std::thread thread;
  try {
    const auto worker = std::make_shared<Worker>(state_, std::move(sinks), std::move(job), run);
    thread = state_->system->start_thread(
        [worker, activity] { activity == Activity::manual ? worker->run_manual() : worker->run_repeat(); });
  } catch (const std::exception&) {
    lock.lock();
    state_->queue.clear();
    state_->activity = Activity::idle;
    return fail(error, kNoWorker);
  }
  lock.lock();
  state_->thread = std::move(thread);
  return true;
}

void RepeatEngine::stop() {
  std::shared_ptr<PendingResponseWait> wait;
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->activity == Activity::idle) return;
    state_->stop_requested = true;
    wait = state_->wait;
  }
  state_->stopping.notify_all();
  if (wait) wait->complete(WaitOutcome::cancelled, state_->system->now());
}

void RepeatEngine::stop_and_join() {
  stop();
  std::thread worker;
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->thread.get_id() == std::this_thread::get_id()) return;
    worker = std::move(state_->thread);
  }
  if (!worker.joinable()) return;
  worker.join();
  const std::lock_guard lock(state_->mutex);
  state_->finished_worker = {};
}

RepeatEngine::Activity RepeatEngine::activity() const {
  const std::lock_guard lock(state_->mutex);
  return state_->activity;
}

}  // namespace hvt
