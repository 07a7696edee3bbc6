#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

#include "display/display_batch.h"

namespace hvt {

// Formatted text on its way to the receive view, in chunks that the view takes one at a time.
//
// Promises  what add() took comes out in order, in chunks of at most kChunkCharacters and kChunkRuns, never
//           cut between CR and LF; received data that comes in small pieces may share a chunk. No more waits
//           than stands for `capacity` received bytes and makes kCharactersPerByte times as many characters;
//           text on top of that makes the display full: from then on everything is counted and thrown away,
//           until clear().
// Threads   the interface thread.
// Owns      the text that waits.
// Ends      with its owner.
class DisplayQueue {
 public:
  static constexpr std::size_t kChunkCharacters = 8192;
  static constexpr std::size_t kChunkRuns = 64;
  static constexpr std::uint64_t kCharactersPerByte = 8;
  static constexpr std::uint64_t kJoinedBytes = 1024;  // received bytes of pieces that share a chunk

  explicit DisplayQueue(std::uint64_t capacity) : capacity_(capacity) {}

  // The text of one packet, status or piece of received data. Text that no received bytes stand behind counts
  // as one byte, so that it is bounded too.
  enum class Outcome { taken, became_full, dropped };
  Outcome add(const DisplayBatch& text);
  // Counts received bytes that are not worth formatting, because the display is full.
  void drop(std::uint64_t raw_bytes);

  bool empty() const { return chunks_.empty(); }
  const DisplayBatch& front() const { return chunks_.front().text; }
  void pop();

  // Fewer bytes take effect at once: the oldest chunks go, the newest packet stays whole.
  void set_capacity(std::uint64_t capacity);
  // Throws everything away and ends display-full.
  void clear();

  bool full() const { return full_; }
  // Since the display became full; stays at the largest value.
  std::uint64_t dropped_bytes() const { return dropped_bytes_; }
  std::uint64_t pending_bytes() const { return pending_bytes_; }
  std::uint64_t pending_characters() const { return pending_characters_; }

 private:
  struct Chunk {
    DisplayBatch text;
    std::uint64_t bytes;  // its share of what its packet counts as
  };

  bool fits(std::uint64_t bytes, std::uint64_t characters) const;
  std::uint64_t character_limit() const;
  bool joins_newest(const DisplayBatch& text) const;
  void cut(const DisplayBatch& text, std::uint64_t bytes);

  std::deque<Chunk> chunks_;
  std::size_t newest_chunks_ = 0;  // that the latest packet was cut into
  std::uint64_t capacity_;
  std::uint64_t pending_bytes_ = 0;
  std::uint64_t pending_characters_ = 0;
  std::uint64_t dropped_bytes_ = 0;
  bool full_ = false;
};

}  // namespace hvt
