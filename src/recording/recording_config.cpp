#include "recording/recording_config.h"

#include <stdexcept>

#include "recording/names.h"

namespace hvt {
namespace {

constexpr std::uint64_t kHighSpeedBaud = 921'600;

}  // namespace

void validate(const RecordingConfig& config) {
  if (config.directory.empty() || is_blank_name(config.filename))
    throw std::invalid_argument("Recording directory and filename must not be empty.");
  if (config.part_limit_bytes == 0 || config.flush_bytes == 0 || config.queue_capacity_bytes == 0 ||
      config.flush_interval_ms < 1)
    throw std::invalid_argument("Recording limits and flush interval must be positive.");
}

bool is_high_speed(std::wstring_view baud) {
  std::uint64_t value = 0;
  for (const wchar_t digit : baud) {
    if (digit < L'0' || digit > L'9') return false;
    if (value < kHighSpeedBaud) value = value * 10 + static_cast<std::uint64_t>(digit - L'0');
  }
  return value >= kHighSpeedBaud;
}

}  // namespace hvt
