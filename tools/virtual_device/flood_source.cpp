#include "tools/virtual_device/flood_source.h"

#include <algorithm>

namespace hvt::device {
namespace {

constexpr std::size_t kBlockRecords = 1024;
// A slow flood comes in pieces, as a line does, not byte by byte.
constexpr std::chrono::milliseconds kTick{2};

}  // namespace

FloodSource::FloodSource(const Flood& flood, Clock::time_point start) : flood_(flood), start_(start) {}

std::span<const std::uint8_t> FloodSource::due(Clock::time_point now) {
  if (now < start_ || done()) return {};
  std::uint64_t allowed = flood_.limit;
  if (flood_.bytes_per_second != kUnlimited) {
    const double seconds = std::chrono::duration<double>(now - start_).count();
    allowed =
        std::min(allowed, static_cast<std::uint64_t>(seconds * static_cast<double>(flood_.bytes_per_second)));
  }
  if (allowed <= sent_) return {};
  if (taken_ == block_.size()) {
    block_ = pattern(flood_.kind, next_record_, kBlockRecords);
    next_record_ += kBlockRecords;
    taken_ = 0;
  }
  return std::span(block_).subspan(
      taken_, static_cast<std::size_t>(std::min<std::uint64_t>(block_.size() - taken_, allowed - sent_)));
}

void FloodSource::sent(std::size_t count) {
  taken_ += count;
  sent_ += count;
}

FloodSource::Clock::time_point FloodSource::next_time(Clock::time_point now) const {
  return now < start_ ? start_ : now + kTick;
}

}  // namespace hvt::device
