#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "recording/recording_config.h"

namespace hvt {

// How far a session can be trusted.
enum class Integrity : std::uint8_t {
  no_reported_problem = 0,
  suspect = 1,     // the line reported errors
  incomplete = 2,  // data is known to be missing
};

enum class StopReason : std::uint8_t {
  none,  // still running
  user_stop,
  writer_failure,
  queue_overflow,
  queue_allocation_failure,
  start_failed,
};
std::string_view stop_reason_text(StopReason reason);

struct CommErrorReport {
  std::chrono::system_clock::time_point time{};
  std::uint32_t mask = 0;  // kComm bits
  std::uint32_t input_queued_bytes = 0;
};

// The communication errors of one session.
struct CommErrors {
  static constexpr std::size_t kHistoryLimit = 256;

  std::uint64_t observations = 0;
  std::uint32_t mask = 0;
  std::uint64_t rx_overflow_observations = 0;
  std::uint64_t overrun_observations = 0;
  std::uint64_t parity_observations = 0;
  std::uint64_t frame_observations = 0;
  std::uint64_t break_observations = 0;
  std::uint64_t omitted_history_entries = 0;
  std::vector<CommErrorReport> history;  // the first kHistoryLimit

  void add(const CommErrorReport& report);
};

// What is known about a session at one moment. An empty error text means none.
struct SessionFacts {
  bool finalized = false;
  Integrity integrity = Integrity::no_reported_problem;
  std::chrono::system_clock::time_point started{};
  std::optional<std::chrono::system_clock::time_point> stopped;
  StopReason stop_reason = StopReason::none;
  SerialSettings serial;
  ReceiveFormat receive_format = ReceiveFormat::ascii;
  std::wstring session_base;
  std::uint64_t parts_created = 0;
  std::wstring last_log_file;
  std::uint64_t raw_rx_delivered_bytes = 0;
  std::uint64_t log_written_bytes = 0;
  CommErrors communication_errors;
  std::wstring receive_processing_error;
  std::wstring log_error;
  std::wstring metadata_error;
};

// The metadata file: JSON with a fixed order and fixed spacing.
// Throws std::runtime_error: "Cannot encode recording metadata as UTF8."
std::string metadata_text(const SessionFacts& facts);

// "2025-03-01T09:15:02.041Z"
std::string utc_text(std::chrono::system_clock::time_point time);

}  // namespace hvt
