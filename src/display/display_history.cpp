#include "display/display_history.h"

namespace hvt {

void DisplayHistory::add(const DisplayHistoryEntry& entry) {
  const bool received = entry.raw_rx_bytes > 0;
  Kind& kind = received ? rx_ : auxiliary_;
  const std::uint64_t bytes = received ? entry.raw_rx_bytes : entry.auxiliary_bytes;
  kind.entries.push_back({next_number_++, rx_added_, bytes, entry.characters});
  kind.bytes += bytes;
  if (received) rx_added_ += entry.characters;
}

DisplayHistory::Entry DisplayHistory::Kind::take_oldest() {
  const Entry oldest = entries.front();
  entries.pop_front();
  bytes -= oldest.bytes;
  return oldest;
}

// Returns the characters of the entries that were forgotten: all of them are at the head.
std::size_t DisplayHistory::expire_head(std::uint64_t capacity) {
  std::size_t characters = 0;
  while (rx_.bytes > capacity) {
    const Entry gone = rx_.take_oldest();
    rx_removed_ += gone.characters;
    characters += gone.characters;
    while (!auxiliary_.entries.empty() && auxiliary_.entries.front().number < gone.number)
      characters += auxiliary_.take_oldest().characters;
  }
  return characters;
}

void DisplayHistory::expire(std::uint64_t capacity, const Remove& remove) {
  if (const std::size_t head = expire_head(capacity)) remove(0, head);
  std::uint64_t first = 0;
  std::size_t count = 0;
  while (auxiliary_.bytes > capacity) {
    const Entry gone = auxiliary_.take_oldest();
    // No older auxiliary text is left, so what stands before it is received data only.
    const std::uint64_t at = gone.rx_before - rx_removed_;
    if (at != first && count > 0) {
      remove(static_cast<std::size_t>(first), count);
      count = 0;
    }
    first = at;
    count += gone.characters;
  }
  if (count > 0) remove(static_cast<std::size_t>(first), count);
}

}  // namespace hvt
