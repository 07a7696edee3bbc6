#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "recording/recording_config.h"

namespace hvt::recover {

// What the metadata file of a recording says. Texts are UTF-8; an empty one stands for null.
struct SessionMetadata {
  bool finalized = false;
  std::string integrity;
  std::string stop_reason;
  std::string port;
  ReceiveFormat format = ReceiveFormat::ascii;
  std::string session_base;
  std::uint64_t parts_created = 0;
  std::uint64_t raw_rx_delivered_bytes = 0;
  std::uint64_t log_written_bytes = 0;
  std::uint64_t comm_error_observations = 0;
  std::string receive_processing_error;
  std::string log_error;
  std::string metadata_error;
};

// Throws std::runtime_error: not JSON, or not the metadata of a recording.
SessionMetadata parse_metadata(std::string_view document);

}  // namespace hvt::recover
