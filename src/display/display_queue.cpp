#include "display/display_queue.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace hvt {
namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

// A batch that is given out from its start in parts.
class Cutter {
 public:
  explicit Cutter(const DisplayBatch& text) : text_(text), run_(text.begin()) {}

  std::size_t at() const { return at_; }
  bool done() const { return at_ == text_.characters(); }

  // Moves the next chunk's text over.
  void take(DisplayBatch& part) {
    for (const std::size_t end = end_of_chunk(); at_ < end;) {
      const DisplayRun run = *run_;
      const std::size_t run_end = end_of(run);
      const std::size_t until = std::min(end, run_end);
      part.add(std::wstring_view(text_.text()).substr(at_, until - at_), run.role);
      at_ = until;
      if (until == run_end) ++run_;
    }
  }

 private:
  std::size_t end_of(const DisplayRun& run) const {
    return static_cast<std::size_t>(run.text.data() - text_.text().data()) + run.text.size();
  }

  std::size_t end_of_chunk() const {
    const std::size_t longest = at_ + DisplayQueue::kChunkCharacters;
    std::size_t end = at_;
    std::size_t runs = 0;
    for (auto run = run_; run != text_.end() && runs < DisplayQueue::kChunkRuns && end < longest; ++run) {
      end = std::min(end_of(*run), longest);
      ++runs;
    }
    const std::wstring& text = text_.text();
    const bool splits_break = end < text.size() && text[end - 1] == L'\r' && text[end] == L'\n';
    return splits_break && end - at_ > 1 ? end - 1 : end;
  }

  const DisplayBatch& text_;
  DisplayBatch::Iterator run_;  // the run that holds at_
  std::size_t at_ = 0;
};

}  // namespace

DisplayQueue::Outcome DisplayQueue::add(const DisplayBatch& text) {
  if (text.characters() == 0 && text.raw_rx_bytes == 0) return Outcome::taken;
  if (full_) {
    drop(text.raw_rx_bytes);
    return Outcome::dropped;
  }
  const std::uint64_t bytes = std::max<std::uint64_t>(text.raw_rx_bytes, 1);
  if (!fits(bytes, text.characters())) {
    drop(bytes);
    full_ = true;
    return Outcome::became_full;
  }
  if (joins_newest(text)) {
    chunks_.back().text.add(text);
    chunks_.back().bytes += bytes;
  } else {
    const std::size_t before = chunks_.size();
    cut(text, bytes);
    newest_chunks_ = chunks_.size() - before;
  }
  pending_bytes_ += bytes;
  pending_characters_ += text.characters();
  return Outcome::taken;
}

void DisplayQueue::drop(std::uint64_t raw_bytes) {
  dropped_bytes_ += std::min(raw_bytes, kMost - dropped_bytes_);
}

bool DisplayQueue::fits(std::uint64_t bytes, std::uint64_t characters) const {
  const std::uint64_t limit = character_limit();
  return bytes <= capacity_ && pending_bytes_ <= capacity_ - bytes && characters <= limit &&
         pending_characters_ <= limit - characters;
}

std::uint64_t DisplayQueue::character_limit() const {
  return capacity_ > kMost / kCharactersPerByte ? kMost : capacity_ * kCharactersPerByte;
}

// A slow line brings a byte at a time; with a chunk for each, a view that is not looked after for hours took
// 200 bytes of memory per received byte.
bool DisplayQueue::joins_newest(const DisplayBatch& text) const {
  if (chunks_.empty() || text.raw_rx_bytes == 0) return false;
  const DisplayBatch& newest = chunks_.back().text;
  return newest.raw_rx_bytes > 0 && newest.raw_rx_bytes + text.raw_rx_bytes <= kJoinedBytes &&
         newest.characters() + text.characters() <= kChunkCharacters &&
         newest.run_count() + text.run_count() <= kChunkRuns;
}

// Each chunk stands for as many of the packet's bytes as it has of its characters.
void DisplayQueue::cut(const DisplayBatch& text, std::uint64_t bytes) {
  if (text.characters() <= kChunkCharacters && text.run_count() <= kChunkRuns) {
    chunks_.push_back({text, bytes});
    return;
  }
  Cutter rest(text);
  while (!rest.done()) {
    const std::size_t from = rest.at();
    Chunk chunk{};
    rest.take(chunk.text);
    const auto share = [&](std::uint64_t whole) {
      return whole * rest.at() / text.characters() - whole * from / text.characters();
    };
    chunk.bytes = share(bytes);
    chunk.text.raw_rx_bytes = share(text.raw_rx_bytes);
    chunk.text.auxiliary_bytes = share(text.auxiliary_bytes);
    chunks_.push_back(std::move(chunk));
  }
}

void DisplayQueue::pop() {
  pending_bytes_ -= chunks_.front().bytes;
  pending_characters_ -= chunks_.front().text.characters();
  chunks_.pop_front();
}

void DisplayQueue::set_capacity(std::uint64_t capacity) {
  capacity_ = capacity;
  while ((pending_bytes_ > capacity_ || pending_characters_ > character_limit()) &&
         chunks_.size() > newest_chunks_)
    pop();
}

void DisplayQueue::clear() {
  *this = DisplayQueue(capacity_);
}

}  // namespace hvt
