// Risk: bytes lost, doubled or reordered where a block meets the end of a chunk or the end of the queue.

#include "recording/byte_queue.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace hvt {
namespace {

constexpr std::size_t kChunk = ByteQueue::kChunkBytes;

std::string numbered(std::size_t size, std::uint64_t& next) {
  std::string bytes(size, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(next++ * 31 >> 3);
  return bytes;
}

TEST(ByteQueue, BehavesLikeAListOfBytesWithACapacity) {
  for (const std::uint64_t capacity :
       {std::size_t{1}, std::size_t{1000}, kChunk, 3 * kChunk + 1, 16 * kChunk}) {
    SCOPED_TRACE(capacity);
    ByteQueue queue(capacity);
    std::string model;
    ByteChunk chunk;
    std::uint64_t next = 0;
    std::mt19937 random(1);
    for (int step = 0; step < 3000; ++step) {
      if (random() % 3 != 0) {
        const std::size_t most = random() % 5 == 0 ? 2 * capacity : capacity / 8 + 2;
        const std::string block = numbered(random() % most, next);
        const bool fits = block.size() <= capacity - model.size();
        ASSERT_EQ(queue.try_push(block), fits) << step;
        if (fits) model += block;
      } else {
        queue.take(chunk);
        ASSERT_EQ(chunk.view(), model.substr(0, chunk.size)) << step;
        ASSERT_EQ(chunk.size == 0, model.empty()) << step;
        model.erase(0, chunk.size);
      }
      ASSERT_EQ(queue.size(), model.size()) << step;
    }
  }
}

TEST(ByteQueue, GivesFullChunksOfALongBacklog) {
  ByteQueue queue(4 * kChunk);
  for (std::size_t i = 0; i < 4 * kChunk / 16; ++i)
    ASSERT_TRUE(queue.try_push("sixteen bytes..."));
  EXPECT_FALSE(queue.try_push("x"));
  EXPECT_TRUE(queue.try_push("")) << "an empty block always fits";
  ByteChunk chunk;
  for (int i = 0; i < 4; ++i) {
    queue.take(chunk);
    EXPECT_EQ(chunk.size, kChunk);
  }
  EXPECT_TRUE(queue.empty());
}

}  // namespace
}  // namespace hvt
