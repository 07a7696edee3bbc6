#include "app/inbox.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace hvt {
namespace {

// A burst may need 64 MiB, the flow after it does not.
constexpr std::size_t kKeptCapacity = std::size_t{4} << 20;

void reset(InboxBatch& batch) {
  if (batch.bytes.capacity() > kKeptCapacity) batch.bytes = {};
  batch.bytes.clear();
  batch.events.clear();
  batch.lost_bytes = 0;
}

}  // namespace

Inbox::Inbox(std::function<void()> wake, std::size_t capacity)
    : wake_(std::move(wake)), capacity_(capacity) {}

void Inbox::add(const InboxEvent& event, std::span<const std::uint8_t> bytes) {
  filling_.bytes.insert(filling_.bytes.end(), bytes.begin(), bytes.end());
  filling_.events.push_back(event);
}

// A late answer that nobody has waited out yet is its packet's time-out as well.
void Inbox::add_timing(const ReceiveTimingInfo& timing) {
  if (timing.kind == ReceiveTimingInfo::Kind::response)
    return add({.kind = InboxEvent::Kind::answered, .elapsed = timing.elapsed});
  if (timing.timeout_ms) add({.kind = InboxEvent::Kind::timed_out});
  add({.kind = InboxEvent::Kind::late});
}

void Inbox::add_received(std::span<const std::uint8_t> bytes, std::chrono::steady_clock::time_point time,
                         const std::optional<ReceiveTimingInfo>& timing) {
  {
    const std::lock_guard lock(mutex_);
    if (timing) add_timing(*timing);
    if (bytes.size() > capacity_ - std::min(capacity_, filling_.bytes.size())) {
      filling_.lost_bytes += bytes.size();
    } else {
      add({.kind = InboxEvent::Kind::received, .size = bytes.size(), .time = time}, bytes);
    }
  }
  wake_();
}

void Inbox::add_timeout() {
  add_and_wake({.kind = InboxEvent::Kind::timed_out});
}

void Inbox::add_iteration(std::uint32_t iteration, std::uint32_t repeat_count) {
  add_and_wake({.kind = InboxEvent::Kind::iteration, .iteration = iteration, .repeat_count = repeat_count});
}

void Inbox::add_and_wake(const InboxEvent& event) {
  {
    const std::lock_guard lock(mutex_);
    add(event);
  }
  wake_();
}

bool Inbox::begin_sent(std::span<const std::uint8_t> bytes, std::chrono::steady_clock::time_point time,
                       const DisplayOptions& options, Write write) {
  const std::lock_guard lock(mutex_);
  if (writing_) return false;
  writing_event_ = filling_.events.size();
  bytes_before_ = filling_.bytes.size();
  add({.kind = InboxEvent::Kind::sent, .size = bytes.size(), .time = time, .options = options}, bytes);
  writing_ = place_kept_ = true;
  write_ = write;
  return true;
}

void Inbox::end_sent(Written written) {
  {
    const std::lock_guard lock(mutex_);
    writing_ = false;
    if (place_kept_ && written == Written::no)
      filling_.events[writing_event_].kind = InboxEvent::Kind::withdrawn;
    place_kept_ = false;
  }
  write_ended_.notify_all();
  wake_();
}

void Inbox::take(InboxBatch& batch) {
  reset(batch);
  const std::lock_guard lock(mutex_);
  if (place_kept_ && writing_event_ == 0 && filling_.lost_bytes == 0) return;
  std::swap(batch, filling_);
  if (!place_kept_) return;
  // The packet being written and what came behind it stay.
  const auto first_event = batch.events.begin() + static_cast<std::ptrdiff_t>(writing_event_);
  const auto first_byte = batch.bytes.begin() + static_cast<std::ptrdiff_t>(bytes_before_);
  filling_.events.assign(first_event, batch.events.end());
  filling_.bytes.assign(first_byte, batch.bytes.end());
  batch.events.erase(first_event, batch.events.end());
  batch.bytes.erase(first_byte, batch.bytes.end());
  writing_event_ = 0;
  bytes_before_ = 0;
}

std::size_t Inbox::backlog() {
  const std::lock_guard lock(mutex_);
  return filling_.bytes.size();
}

void Inbox::clear() {
  std::unique_lock lock(mutex_);
  write_ended_.wait(lock, [&] { return !writing_ || write_ == Write::queued; });
  reset(filling_);
  place_kept_ = false;
}

}  // namespace hvt
