#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

namespace hvt {

// What one appended batch left in the receive view.
struct DisplayHistoryEntry {
  std::uint64_t raw_rx_bytes = 0;     // received bytes it stands for
  std::size_t characters = 0;         // of the view, hidden bytes have none
  std::uint64_t auxiliary_bytes = 0;  // of sent packets and statuses
};

// The entries of the receive view, oldest first, so that its head can be trimmed by raw bytes.
//
// Promises  the received bytes retained, and separately the auxiliary ones, stay within the capacity.
// Threads   the interface thread.
class DisplayHistory {
 public:
  void add(const DisplayHistoryEntry& entry) {
    entries_.push_back(entry);
    raw_rx_bytes_ += entry.raw_rx_bytes;
    auxiliary_bytes_ += entry.auxiliary_bytes;
  }

  // Forgets the oldest entries beyond `capacity` bytes; returns how many characters of the view they held.
  std::size_t expire(std::uint64_t capacity) {
    std::size_t characters = 0;
    while (raw_rx_bytes_ > capacity || auxiliary_bytes_ > capacity) {
      const DisplayHistoryEntry& oldest = entries_.front();
      raw_rx_bytes_ -= oldest.raw_rx_bytes;
      auxiliary_bytes_ -= oldest.auxiliary_bytes;
      characters += oldest.characters;
      entries_.pop_front();
    }
    return characters;
  }

  void clear() { *this = {}; }

 private:
  std::deque<DisplayHistoryEntry> entries_;
  std::uint64_t raw_rx_bytes_ = 0;
  std::uint64_t auxiliary_bytes_ = 0;
};

}  // namespace hvt
