#include "recording/byte_queue.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace hvt {
namespace {

// Full chunks, one that is being filled, and the one that take() brings back.
std::size_t chunks_for(std::uint64_t capacity) {
  const std::uint64_t chunks = capacity / ByteQueue::kChunkBytes + 3;
  if (!std::in_range<std::size_t>(chunks)) throw std::length_error("The queue is too large.");
  return static_cast<std::size_t>(chunks);
}

}  // namespace

ByteQueue::ByteQueue(std::uint64_t capacity) : capacity_(capacity), ring_(chunks_for(capacity)) {
  spare_.reserve(ring_.size() + 1);
}

bool ByteQueue::try_push(std::string_view block) {
  if (block.size() > capacity_ - size_) return false;
  reserve(block.size());
  size_ += block.size();
  while (!block.empty()) {
    if (tail_room() == 0) {
      ByteChunk& fresh = slot(used_++);
      fresh.data = std::move(spare_.back());
      spare_.pop_back();
      fresh.size = 0;
    }
    const std::size_t count = std::min(block.size(), tail_room());
    ByteChunk& tail = slot(used_ - 1);
    std::memcpy(tail.data.get() + tail.size, block.data(), count);
    tail.size += count;
    block.remove_prefix(count);
  }
  return true;
}

// Has room for as many bytes more, so that nothing can fail afterwards.
void ByteQueue::reserve(std::size_t bytes) {
  const std::size_t room = tail_room();
  if (bytes <= room) return;
  const std::size_t chunks = (bytes - room + kChunkBytes - 1) / kChunkBytes;
  while (spare_.size() < chunks)
    spare_.push_back(std::make_unique_for_overwrite<char[]>(kChunkBytes));
}

std::size_t ByteQueue::tail_room() const {
  if (used_ == 0) return 0;
  return kChunkBytes - ring_[(head_ + used_ - 1) % ring_.size()].size;
}

void ByteQueue::take(ByteChunk& chunk) {
  if (chunk.data) spare_.push_back(std::move(chunk.data));
  chunk = {};
  if (used_ == 0) return;
  chunk = std::exchange(slot(0), {});
  head_ = (head_ + 1) % ring_.size();
  --used_;
  size_ -= chunk.size;
}

}  // namespace hvt
