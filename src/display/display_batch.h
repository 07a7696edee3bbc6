#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hvt {

// What a stretch of receive-view text is. Roles are stored, colours are looked up when painting (palette.h).
// The values index the palette and the colour table of rich text.
enum class ColorRole : std::uint8_t {
  normal = 0,      // payload without labels, separators
  rx_payload = 1,  // received payload under a label
  tx_payload = 2,  // sent payload
  header = 3,      // "[RX]", "[TX] " and elapsed times
  control = 4,     // "<CR>" and "<LF>"
  late = 5,        // "[LATE]"
  timeout = 6,     // "[TIMEOUT]"
};
inline constexpr std::size_t kColorRoleCount = 7;

// A stretch of text in one role; `text` belongs to someone else.
struct DisplayRun {
  std::wstring_view text;
  ColorRole role = ColorRole::normal;
};

// A piece of receive-view text and what it stands for. Line breaks are "\r\n".
//
// A range of its runs: `for (const DisplayRun run : batch)`. Consecutive runs have different roles, none is
// empty, and their texts are valid until the batch is changed.
//
// All runs share one string, because short lines change role every few characters: with a string for each
// run, lines of ten characters were formatted at a third of the speed (benchmark tokens/with_roles/line:10).
class DisplayBatch {
 public:
  std::uint64_t raw_rx_bytes = 0;     // received bytes shown (hidden ones included)
  std::uint64_t auxiliary_bytes = 0;  // bytes of sent packets and status texts

  const std::wstring& text() const { return text_; }
  std::size_t characters() const { return text_.size(); }
  std::size_t run_count() const { return ends_.size(); }

  // Adds text at the end, joining it to the last run when the role is the same.
  void add(std::wstring_view more, ColorRole role) {
    if (more.empty()) return;
    text_.append(more);
    end_run(role);
  }

  // Adds another batch and what it stands for.
  void add(const DisplayBatch& more);

  // Adds `count` units at the end and returns where the caller puts them.
  wchar_t* extend(std::size_t count, ColorRole role) {
    const std::size_t before = text_.size();
    text_.resize(before + count);
    if (count > 0) end_run(role);
    return text_.data() + before;
  }

  // Keeps the memory for what comes next: with a new batch for each block, random bytes took seven times as
  // long (benchmark tokens/with_roles/line:0).
  void clear() {
    text_.clear();
    ends_.clear();
    raw_rx_bytes = auxiliary_bytes = 0;
  }

  class Iterator;
  Iterator begin() const;
  Iterator end() const;

 private:
  struct RunEnd {
    std::size_t end;  // first unit after the run
    ColorRole role;
  };

  void end_run(ColorRole role) {
    if (ends_.empty() || ends_.back().role != role) {
      ends_.push_back({text_.size(), role});
    } else {
      ends_.back().end = text_.size();
    }
  }

  std::wstring text_;
  std::vector<RunEnd> ends_;
};

// Walks the runs of a batch that does not change meanwhile.
class DisplayBatch::Iterator {
 public:
  Iterator(const wchar_t* text, const RunEnd* run) : text_(text), run_(run) {}

  DisplayRun operator*() const { return {{text_ + begin_, run_->end - begin_}, run_->role}; }
  Iterator& operator++() {
    begin_ = run_->end;
    ++run_;
    return *this;
  }
  bool operator==(const Iterator& other) const { return run_ == other.run_; }

 private:
  const wchar_t* text_;
  const RunEnd* run_;
  std::size_t begin_ = 0;  // first unit of the run
};

inline DisplayBatch::Iterator DisplayBatch::begin() const {
  return {text_.data(), ends_.data()};
}
inline DisplayBatch::Iterator DisplayBatch::end() const {
  return {text_.data(), ends_.data() + ends_.size()};
}
inline void DisplayBatch::add(const DisplayBatch& more) {
  for (const DisplayRun run : more)
    add(run.text, run.role);
  raw_rx_bytes += more.raw_rx_bytes;
  auxiliary_bytes += more.auxiliary_bytes;
}

}  // namespace hvt
