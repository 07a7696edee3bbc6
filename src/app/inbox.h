#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "display/formatter.h"
#include "transmit/response_wait.h"

namespace hvt {

// One thing that happened on the line; its bytes lie in InboxBatch::bytes, in event order.
struct InboxEvent {
  enum class Kind : std::uint8_t {
    received,
    sent,
    withdrawn,   // a packet that could not be written
    answered,    // the last sent packet got its response: the received bytes follow
    timed_out,   // it got none in time
    late,        // it got one after its time-out: the received bytes follow
    iteration,   // an iteration of a repeat run begins
    clear_mark,  // what came before has been cleared from the view
    stop_mark,   // what comes from here on is no longer to be recorded
  };
  Kind kind = Kind::received;
  std::size_t size = 0;                          // bytes
  std::chrono::steady_clock::time_point time{};  // read returned, or write began
  DisplayOptions options{};                      // of a sent packet: as they were when it was sent
  Milliseconds elapsed{};                        // of answered
  std::uint32_t iteration = 0;                   // of iteration, from 1
  std::uint32_t repeat_count = 0;
};

struct InboxBatch {
  std::vector<std::uint8_t> bytes;
  std::vector<InboxEvent> events;
  std::uint64_t lost_bytes = 0;  // received and not kept, because the inbox was full
};

// What happened on the line, in order, on its way from the worker threads to the interface thread.
//
// Promises  one order for received and sent data: a packet stands where its write began, and nothing behind
//           it is handed out before that write has ended. Up to kCapacity bytes are kept; what comes on top
//           is counted, never dropped silently. In a steady flow nothing is allocated per chunk.
// Threads   add_received() on the connection thread; begin_sent(), end_sent() and what a run adds on the one
//           that writes; take() and clear() on the interface thread. `wake` is called without a lock on the
//           adding thread.
// Owns      the bytes until they are taken.
// Ends      with its owner, after the workers.
class Inbox {
 public:
  static constexpr std::size_t kCapacity = std::size_t{64} << 20;

  // `wake` has the interface thread call take() soon; called whenever something can be taken.
  explicit Inbox(std::function<void()> wake, std::size_t capacity = kCapacity);

  // `timing` says what the bytes are to the packet sent last; it is kept even if the bytes cannot be.
  void add_received(std::span<const std::uint8_t> bytes, std::chrono::steady_clock::time_point time,
                    const std::optional<ReceiveTimingInfo>& timing = {});
  void add_timeout();
  void add_iteration(std::uint32_t iteration, std::uint32_t repeat_count);
  // A place in the order of what happens: clear_mark or stop_mark. Interface thread.
  void add_mark(InboxEvent::Kind mark) { add_and_wake({.kind = mark}); }

  // Marks the place of a packet about to be written. False while another one is being written. A clear waits
  // until a direct write has ended; a queued one goes on without its place.
  enum class Write { queued, direct };
  bool begin_sent(std::span<const std::uint8_t> bytes, std::chrono::steady_clock::time_point time,
                  const DisplayOptions& options, Write write = Write::queued);
  // The write has ended; a packet that was not written leaves no trace.
  enum class Written { yes, no };
  void end_sent(Written written);

  // Replaces `batch` by everything that may be shown by now; its storage is reused.
  void take(InboxBatch& batch);

  // Bytes that wait to be taken.
  std::size_t backlog();

  // Drops everything, the loss counter and the place of a queued packet that is being written included.
  void clear();

 private:
  void add(const InboxEvent& event, std::span<const std::uint8_t> bytes = {});
  void add_timing(const ReceiveTimingInfo& timing);
  void add_and_wake(const InboxEvent& event);

  const std::function<void()> wake_;
  const std::size_t capacity_;
  std::mutex mutex_;
  std::condition_variable write_ended_;
  bool writing_ = false;
  Write write_ = Write::queued;
  bool place_kept_ = false;        // the packet being written has its place in filling_
  std::size_t writing_event_ = 0;  // its index there
  std::size_t bytes_before_ = 0;   // bytes of the events in front of it
  InboxBatch filling_;
};

}  // namespace hvt
