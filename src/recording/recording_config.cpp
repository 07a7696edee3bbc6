#include "recording/recording_config.h"

#include <stdexcept>

#include "recording/names.h"

namespace hvt {
void validate(const RecordingConfig& config) {
  if (config.directory.empty() || is_blank_name(config.filename))
    throw std::invalid_argument("Recording directory and filename must not be empty.");
  if (config.part_limit_bytes == 0 || config.flush_bytes == 0 || config.queue_capacity_bytes == 0 ||
      config.flush_interval_ms < 1)
    throw std::invalid_argument("Recording limits and flush interval must be positive.");
}

}  // namespace hvt
