#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "transmit/packet_text.h"
#include "transmit/repeat_settings.h"
#include "transmit/response_wait.h"

namespace hvt {

enum class RepeatEventKind : std::uint32_t {
  iteration = 0,  // an iteration of a repeat run begins
  sending = 1,    // a packet is about to be written: exactly one write call follows
  sent = 2,       // it was written; once more when its response arrived in time
  timed_out = 3,  // its wait timed out, and nobody has reported that
  ended = 4,      // the run ended normally; also when the wait of the packet just sent was cancelled
  stopped = 5,    // the run ended by a stop
  failed = 6,     // the run ended by an error
};

// One step of a run. Valid during the call; the receiver copies what it keeps.
struct RepeatEvent {
  RepeatEventKind kind = RepeatEventKind::iteration;
  std::uint32_t iteration = 0;  // from 1 (always 1 in a manual run); 0 in ended, stopped and failed
  std::uint32_t packet = 0;     // position in the run's packet list
  std::span<const std::uint8_t> bytes;
  std::uint64_t run = 0;  // which run of this engine, from 1
  std::wstring message;   // of failed
  TimePoint time;
};

// Performs every transmission of the user: repeat runs, and single packets that queue up behind each other.
//
// Promises  every call but stop_and_join() returns without waiting for the port or for a response. Packets go
//           out once each, in order; one that was accepted is written unless a stop or a failed write comes
//           first. A run ends with exactly one stopped or failed, or an ended that nothing follows; the
//           engine takes the next run by then. A wait that a stop cancelled, or a write that failed because
//           of it, is no error.
// Threads   starts, stop_and_join() and the destructor on one thread; sends and stops also from the sinks,
//           which run on the worker; stop() and activity() on any.
// Owns      one worker thread at a time, which shares what it needs, and the queue.
// Ends      with the destructor, which is stop_and_join(). On the worker itself it does not wait: the run
//           stops as soon as the sink returns, and what the engine was given must live until its last event.
//
// Sinks: on_event and on_timing of the call that started the run get all its events. They must not throw and
// must not wait for the interface thread. They must not use the wait slot, because sending and timed_out come
// in a turn of it (response_wait.h): what is noted there stands in the same order as the waits.
class RepeatEngine {
 public:
  static constexpr std::size_t kMaxQueued = 1024;

  // Both are called on the worker.
  struct Link {
    // Writes one packet; false with a message that is shown to the user.
    std::function<bool(std::span<const std::uint8_t>, std::wstring& error)> write;
    // A write failed: have the connection ended soon. Called once, before failed.
    std::function<void()> disconnect;
  };

  using EventSink = std::function<void(const RepeatEvent&)>;
  // What became of a packet that waited: the timing of its response, or nothing when it timed out; no call
  // for a cancelled wait. For who follows a run: the display has it from elsewhere already. May be empty.
  using TimingSink = std::function<void(std::optional<ReceiveTimingInfo>)>;

  struct WaitOptions {
    bool wait_for_rx = false;
    std::int32_t rx_timeout_ms = 0;  // 10 to 99999999 when wait_for_rx is set
  };

  enum class Activity { idle, manual, repeat };

  RepeatEngine(std::shared_ptr<ResponseWaitSlot> slot, Link link,
               std::shared_ptr<EngineSystem> system = std::make_shared<EngineSystem>());
  RepeatEngine(const RepeatEngine&) = delete;
  RepeatEngine& operator=(const RepeatEngine&) = delete;
  ~RepeatEngine();

  // Sends packets[0] to packets[n - 1] (start_packet to end_packet), repeat_count times. The next packet is
  // due interval_ms after the write of this one has ended. False with a message: nothing was started.
  bool start_repeat(std::vector<Bytes> packets, const RepeatSettings& settings, EventSink on_event,
                    TimingSink on_timing, std::wstring& error);

  // Sends one packet of 1 to kMaxPacketBytes after those that wait already, without waiting for their
  // responses. False with a message: this packet, and only this one, is refused.
  bool send_manual(std::span<const std::uint8_t> bytes, const WaitOptions& options, EventSink on_event,
                   TimingSink on_timing, std::wstring& error);

  // Ends the run soon; harmless without one. A write in progress is not interrupted.
  void stop();
  // Also waits until the worker is gone, so a blocked write is to be cancelled before. On the worker itself
  // it is stop().
  void stop_and_join();

  Activity activity() const;

 private:
  struct State;
  class Worker;
  struct Sinks {
    EventSink on_event;
    TimingSink on_timing;
  };
  struct RepeatJob {
    std::vector<Bytes> packets;
    RepeatSettings settings;
  };

  bool start(std::unique_lock<std::mutex>& lock, Activity activity, Sinks sinks, RepeatJob job,
             std::wstring& error);

  const std::shared_ptr<State> state_;
};

}  // namespace hvt
