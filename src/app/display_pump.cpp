#include "app/display_pump.h"

#include <algorithm>
#include <span>
#include <utility>

namespace hvt {
namespace {

// Received bytes formatted at once: small enough that one piece never outlasts the slice by much.
constexpr std::size_t kPieceBytes = 1024;

}  // namespace

DisplayPump::DisplayPump(Inbox& inbox, ReceiveView& view) : inbox_(inbox), view_(view) {
  view_.on_navigated([this] { following_ = false; });
}

DisplayPump::Result DisplayPump::run(const DisplayOptions& options) {
  if (!fetch()) return {false, std::exchange(lost_bytes_, 0)};
  const auto end = std::chrono::steady_clock::now() + kSlice;
  bool more = true;
  view_.begin_update();
  do {
    more = next_piece(options);
  } while (more && std::chrono::steady_clock::now() < end);
  view_.end_update({.follow = following_});
  return {more, std::exchange(lost_bytes_, 0)};
}

// True when there is something to show.
bool DisplayPump::fetch() {
  if (next_event_ < batch_.events.size()) return true;
  inbox_.take(batch_);
  next_event_ = next_byte_ = event_done_ = 0;
  lost_bytes_ += batch_.lost_bytes;
  return !batch_.events.empty();
}

// Shows one sent packet, or received bytes from as many chunks as fit a piece. False when nothing is left.
bool DisplayPump::next_piece(const DisplayOptions& options) {
  text_.clear();
  const InboxEvent& event = batch_.events[next_event_];
  if (event.kind == InboxEvent::Kind::received) {
    std::size_t size = 0;
    while (size < kPieceBytes && next_event_ < batch_.events.size() &&
           batch_.events[next_event_].kind == InboxEvent::Kind::received) {
      const std::size_t left = batch_.events[next_event_].size - event_done_;
      const std::size_t used = std::min(left, kPieceBytes - size);
      size += used;
      event_done_ = used == left ? 0 : event_done_ + used;
      if (used == left) ++next_event_;
    }
    format_rx(std::span(batch_.bytes).subspan(next_byte_, size), options, line_, text_);
    next_byte_ += size;
  } else {
    const auto bytes = std::span(batch_.bytes).subspan(next_byte_, event.size);
    if (event.kind == InboxEvent::Kind::sent && event.options.labels)
      format_tx(bytes, event.options, line_, text_);
    next_byte_ += event.size;
    ++next_event_;
  }
  show_text();
  return fetch();
}

void DisplayPump::show_text() {
  const std::size_t formatted = text_.characters();
  if (formatted == 0 && text_.raw_rx_bytes == 0) return;
  const std::size_t characters = formatted == 0 ? 0 : view_.append(text_);
  history_.add({text_.raw_rx_bytes, characters, text_.auxiliary_bytes});
  if (const std::size_t expired = history_.expire(kCapacityBytes)) view_.trim_head(expired);
}

void DisplayPump::clear() {
  following_ = true;
  batch_ = {};
  next_event_ = next_byte_ = event_done_ = 0;
  lost_bytes_ = 0;
  line_ = {};
  history_.clear();
  view_.clear();
}

}  // namespace hvt
