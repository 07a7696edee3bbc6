#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace hvt {

// A stretch of bytes on its way to the disk.
struct ByteChunk {
  std::unique_ptr<char[]> data;
  std::size_t size = 0;

  std::string_view view() const { return {data.get(), size}; }
};

// First-in first-out bytes with a fixed capacity, in chunks that fit one write.
//
// Promises  what try_push() took comes out of take() once, in order and whole. It takes a block whole or not
// at
//           all. Memory is had when it is first needed and then used again and again: in a steady flow
//           nothing is allocated, and the chunk that was written last, still in the cache, is filled next.
// Threads   one at a time; its owner's lock.
// Owns      its chunks.
// Ends      as a plain value.
class ByteQueue {
 public:
  static constexpr std::size_t kChunkBytes = std::size_t{64} << 10;

  // Throws std::bad_alloc or std::length_error for a capacity that no memory can hold.
  explicit ByteQueue(std::uint64_t capacity);

  // False when it does not fit. Throws std::bad_alloc and is unchanged when there is no memory.
  bool try_push(std::string_view block);
  // Exchanges the oldest chunk, full or not, for one whose bytes are done with; empty when there is none.
  void take(ByteChunk& chunk);

  std::uint64_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

 private:
  void reserve(std::size_t bytes);
  std::size_t tail_room() const;
  ByteChunk& slot(std::size_t index) { return ring_[(head_ + index) % ring_.size()]; }

  std::uint64_t capacity_;
  std::uint64_t size_ = 0;
  std::vector<ByteChunk> ring_;  // `used_` chunks from `head_` on; all but the last are full
  std::size_t head_ = 0;
  std::size_t used_ = 0;
  std::vector<std::unique_ptr<char[]>> spare_;  // the last one was used last
};

}  // namespace hvt
