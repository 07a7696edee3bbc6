#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>

#include "base/posix/unique_fd.h"
#include "serial/serial_transport.h"
#include "serial/transport_limits.h"

namespace hvt {

inline constexpr std::wstring_view kDeviceRemoved = L"The serial device was removed.";

// A driver's running totals of receive errors; they may wrap around.
struct ErrorCounts {
  int queue_overflows = 0;
  int overruns = 0;
  int parity = 0;
  int frame = 0;
  int breaks = 0;
};
// The kComm bits of the kinds that were counted in between.
std::uint32_t errors_between(const ErrorCounts& before, const ErrorCounts& now);

// The transport over an open terminal device in raw, non-blocking mode.
//
// Promises  a read takes what is queued, up to kReadBufferBytes, or returns empty after kIdleReturn, later
//           on a device that counts no errors; a write ends within kWriteLimit. An unplugged device fails
//           every call, with kDeviceRemoved where the system says no more than that; it never looks like a
//           silent line. Bytes received before the end are delivered first.
// Threads   as SerialTransport asks. read() and write() share no lock; discard_input() and query_errors()
//           share one with the moment of taking bytes, never with waiting for them.
// Owns      the descriptor, and with it the exclusive use of the device.
// Ends      with the destructor, which gives what has been written half a second to leave and then drops it:
//           it never waits for a stalled device.
class TtyTransport final : public SerialTransport {
 public:
  // Throws std::runtime_error when the system has no event left for cancel().
  explicit TtyTransport(UniqueFd device);
  ~TtyTransport() override;

  bool read(std::vector<std::uint8_t>& buffer, std::wstring& error) override;
  bool write(std::span<const std::uint8_t> data, std::wstring& error) override;
  void cancel() override;
  bool discard_input(std::wstring& error) override;
  bool read_is_current() override;
  bool query_errors(CommErrorSnapshot& out, std::wstring& error) override;

 private:
  enum class Wait { kReady, kTimeOut, kCancelled, kFailed };
  // What one call of the system's read() brought: a count, or -1 and the error's number.
  struct Taken {
    std::ptrdiff_t bytes = 0;
    int code = 0;
  };

  Wait wait_for(short events, std::chrono::nanoseconds limit, bool& hung_up, std::wstring& error) const;
  Taken take_bytes(std::size_t& count);
  bool read_error_counts(ErrorCounts& counts) const;
  int output_queued() const;
  void drain_output() const;

  UniqueFd device_;
  UniqueFd cancel_event_;  // readable from the first cancel() on
  std::mutex read_mutex_;
  std::mutex write_mutex_;
  std::mutex device_mutex_;
  // Uninitialised on purpose: clearing 64 KiB for every read of a few bytes costs more than the read.
  const std::unique_ptr<std::uint8_t[]> taken_;
  std::atomic<std::uint64_t> purge_generation_{0};  // discards so far; changed under device_mutex_
  std::atomic<std::uint64_t> read_generation_{0};   // its value when the latest bytes were taken
  bool counts_errors_ = false;                      // from the constructor on
  ErrorCounts error_counts_{};
};

}  // namespace hvt
