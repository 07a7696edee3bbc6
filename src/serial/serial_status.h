#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace hvt {

// Communication error bits, numbered as the Win32 CE_ constants on every system.
inline constexpr std::uint32_t kCommRxOver = 0x0001;   // the driver's receive queue overflowed
inline constexpr std::uint32_t kCommOverrun = 0x0002;  // the hardware lost a character
inline constexpr std::uint32_t kCommParity = 0x0004;
inline constexpr std::uint32_t kCommFrame = 0x0008;
inline constexpr std::uint32_t kCommBreak = 0x0010;

// Result of one error poll. All zero when the transport has nothing to report.
struct CommErrorSnapshot {
  bool available = false;                // the transport has a communication status
  std::uint32_t mask = 0;                // kComm bits since the last poll; the poll clears them
  std::uint32_t input_queued_bytes = 0;  // bytes waiting in the driver's receive queue
};

// State and counters of one connection, copied out to the status callback. The counters restart at zero on
// every successful connect and count polls, not characters: a poll that reports an overrun adds one, however
// many characters were lost.
struct SerialStatus {
  std::uint64_t generation = 0;                        // the connection this belongs to
  std::uint64_t update_sequence = 0;                   // grows with every update
  std::chrono::steady_clock::time_point updated_at{};  // connect, error poll or loss
  bool comm_status_available = false;                  // the last poll returned communication data
  std::uint32_t last_error_mask = 0;                   // bits of the last poll
  std::uint32_t error_mask = 0;                        // all bits seen on this connection
  std::uint32_t input_queued_bytes = 0;                // at the last poll
  std::uint64_t rx_bytes = 0;                          // read from this connection's transport
  std::uint64_t observations = 0;                      // polls with a non-zero mask
  std::uint64_t overflow_or_overrun_observations = 0;  // polls with either bit, counted once
  std::uint64_t rx_overflow_observations = 0;
  std::uint64_t overrun_observations = 0;
  std::uint64_t parity_observations = 0;
  std::uint64_t frame_observations = 0;
  std::uint64_t break_observations = 0;
  std::uint64_t disconnect_count = 0;  // times this connection was lost (0 or 1)
  std::uint64_t query_failures = 0;    // polls that failed
  bool connection_lost = false;        // the link broke; cleared by the next good poll
  bool query_failed = false;           // the last poll failed
  std::wstring error_text;             // of the last failure, empty otherwise
};

}  // namespace hvt
