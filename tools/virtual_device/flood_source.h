#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "tools/virtual_device/options.h"

namespace hvt::device {

// The bytes of a flood that are due, in large blocks: a write per record would cost more than the line.
//
// Promises  the pattern from record 0 on, never faster than the rate since the start, never beyond the limit.
// Threads   one; the time is passed in.
// Owns      one block.
// Ends      when done().
class FloodSource {
 public:
  using Clock = std::chrono::steady_clock;
  FloodSource(const Flood& flood, Clock::time_point start);

  // What may be sent now; empty when nothing is due yet. Valid until the next call.
  std::span<const std::uint8_t> due(Clock::time_point now);
  // So many bytes of due() are sent.
  void sent(std::size_t count);
  bool begun() const { return sent_ > 0; }
  bool done() const { return sent_ >= flood_.limit; }
  // When something will be due, with due() empty.
  Clock::time_point next_time(Clock::time_point now) const;

 private:
  Flood flood_;
  Clock::time_point start_;
  std::uint64_t sent_ = 0;
  std::uint64_t next_record_ = 0;
  std::vector<std::uint8_t> block_;
  std::size_t taken_ = 0;  // of block_
};

}  // namespace hvt::device
