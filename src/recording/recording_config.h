#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "serial/serial_settings.h"

namespace hvt {

enum class ReceiveFormat : std::uint8_t { ascii, hex };

// What one recording session writes, where, and how much at a time.
struct RecordingConfig {
  std::filesystem::path directory;  // created with all parents
  std::wstring filename;            // the session's name, as the user wrote it
  std::uint64_t part_limit_bytes = std::uint64_t{256} << 20;
  std::uint64_t flush_bytes = std::uint64_t{64} << 10;          // unflushed bytes that make a flush due
  std::uint64_t queue_capacity_bytes = std::uint64_t{8} << 20;  // most bytes waiting for the disk
  std::int64_t flush_interval_ms = 1000;                        // longest time without a flush
  bool write_metadata = true;
  SerialSettings serial;  // for the metadata, like the next
  ReceiveFormat receive_format = ReceiveFormat::ascii;
};

// Throws std::invalid_argument with a sentence for the user.
void validate(const RecordingConfig& config);

}  // namespace hvt
