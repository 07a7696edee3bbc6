#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>

namespace hvt {

// What one appended batch left in the receive view.
struct DisplayHistoryEntry {
  std::uint64_t raw_rx_bytes = 0;     // received bytes it stands for
  std::size_t characters = 0;         // of the view, hidden bytes have none
  std::uint64_t auxiliary_bytes = 0;  // of sent packets and statuses
};

// The entries of the receive view, oldest first, so that it can be trimmed by the bytes behind its text.
//
// Received data and auxiliary text (sent packets, statuses: entries without received bytes) have a capacity
// of the same size each. Received data beyond its capacity takes the head of the view with it, auxiliary text
// older than it included. Auxiliary text beyond its own takes the oldest auxiliary entries only: much sending
// never costs received data.
//
// Promises  whole entries go, oldest first, and no more than must.
// Threads   the interface thread.
// Owns      the entries; the characters are the view's.
// Ends      with its owner.
class DisplayHistory {
 public:
  void add(const DisplayHistoryEntry& entry);

  // Forgets what is beyond `capacity` bytes. remove(first, count) is called for each stretch of characters
  // that has to leave the view, in order: `first` counts from the view's start as it is by then.
  using Remove = std::function<void(std::size_t first, std::size_t count)>;
  void expire(std::uint64_t capacity, const Remove& remove);

  // Of the kind that has more.
  std::uint64_t bytes() const { return std::max(rx_.bytes, auxiliary_.bytes); }

  void clear() { *this = {}; }

 private:
  struct Entry {
    std::uint64_t number;     // in the order of add(), both kinds together
    std::uint64_t rx_before;  // characters of received data that were added before it since clear()
    std::uint64_t bytes;
    std::size_t characters;
  };
  struct Kind {
    std::deque<Entry> entries;
    std::uint64_t bytes = 0;  // of the entries
    Entry take_oldest();
  };

  std::size_t expire_head(std::uint64_t capacity);

  Kind rx_;
  Kind auxiliary_;
  std::uint64_t next_number_ = 0;
  std::uint64_t rx_added_ = 0;    // characters of received data since clear()
  std::uint64_t rx_removed_ = 0;  // of them, gone again
};

}  // namespace hvt
