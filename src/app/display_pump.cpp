#include "app/display_pump.h"

#include <algorithm>
#include <span>
#include <utility>

#include "ui/texts.h"

namespace hvt {
namespace {

// Received bytes formatted at once: small enough that one piece never outlasts the slice by much.
constexpr std::size_t kPieceBytes = 1024;

// So much may wait in the inbox for a slow sink; beyond that, the sink has to say that it cannot follow.
constexpr std::size_t kMostHeldBack = Inbox::kCapacity / 2;

}  // namespace

DisplayPump::DisplayPump(Inbox& inbox, ReceiveView& view, Clock clock)
    : inbox_(inbox), view_(view), clock_(std::move(clock)) {}

// Formatting goes first, because others wait for the text, but leaves the view its half of the slice.
DisplayPump::Result DisplayPump::run(const DisplayOptions& options, Language language) {
  const Time start = clock_();
  became_full_ = false;
  format_until(start + kSlice / 2, options, language);
  const bool changed = can_show();
  if (changed) show_until(start + kSlice);
  format_until(start + kSlice, options, language);

  Result result;
  result.more = can_show() || (may_format() && fetch());
  const Time now = clock_();
  const auto backlog = result.more ? UpdatePace::Backlog::waits : UpdatePace::Backlog::none;
  const UpdatePace::Due due = changed ? pace_.changed(now, backlog) : pace_.idle(now);
  if (!changed && due.repaint) view_.begin_update();
  if (changed || due.repaint)
    view_.end_update({.follow = !paused_, .scroll = due.scroll, .repaint = due.repaint});
  result.trickles = !result.more && trickles(now);
  result.shown = due.repaint;
  result.became_full = became_full_;
  result.lost_bytes = std::exchange(lost_bytes_, 0);
  return result;
}

// A line that trickles wakes us up to a thousand times a second for a few bytes that are not shown at once
// anyway; serving each of them took 4 % of a processor at 150,000 bytes per second (benchmark flood). What
// comes until the next tick must be far from filling the queue.
bool DisplayPump::trickles(Time now) {
  constexpr std::uint64_t kFewBytes = kFirstCapacity / 4;
  const auto elapsed = std::chrono::duration<double>(now - std::exchange(last_run_, now));
  const auto bytes = static_cast<double>(std::exchange(received_bytes_, 0));
  return pace_.holds_back(now) && bytes * std::chrono::duration<double>(kTick).count() <=
                                      static_cast<double>(kFewBytes) * elapsed.count();
}

// Formatting

// True when there is something to format.
bool DisplayPump::fetch() {
  if (next_event_ < batch_.events.size()) return true;
  inbox_.take(batch_);
  next_event_ = next_byte_ = event_done_ = 0;
  lost_bytes_ += batch_.lost_bytes;
  return !batch_.events.empty();
}

void DisplayPump::format_until(Time end, const DisplayOptions& options, Language language) {
  while (fetch() && may_format() && clock_() < end) {
    if (queue_.full() && sink_ == nullptr) {
      skip_fetched();
    } else {
      format_piece(options, language);
    }
  }
}

// One event, or received bytes from as many chunks as fit a piece.
void DisplayPump::format_piece(const DisplayOptions& options, Language language) {
  text_.clear();
  const InboxEvent& event = batch_.events[next_event_];
  if (event.kind == InboxEvent::Kind::received) {
    format_received(options);
  } else {
    format_event(event, options, language);
    next_byte_ += event.size;
    ++next_event_;
  }
  if (sink_ != nullptr && (text_.characters() > 0 || text_.raw_rx_bytes > 0)) sink_->take(text_);
  if (clears_ahead_ > 0) return;
  if (shows_) {
    enqueue();
  } else {
    gap_ = gap_ || text_.characters() > 0;
  }
}

// What was not shown may have ended in another place of a line than what was.
void DisplayPump::enqueue() {
  constexpr std::wstring_view kLineBreak = L"\r\n";
  if (text_.characters() > 0) {
    if (std::exchange(gap_, false) && ends_inside_line_ && !text_.text().starts_with(kLineBreak)) {
      DisplayBatch line_break;
      line_break.add(kLineBreak, ColorRole::normal);
      add_to_queue(line_break);
    }
    ends_inside_line_ = text_.text().back() != L'\n';
  }
  add_to_queue(text_);
}

void DisplayPump::add_to_queue(const DisplayBatch& text) {
  if (queue_.add(text) != DisplayQueue::Outcome::became_full) return;
  became_full_ = true;
  begin_anew();
}

// The view's text begins anew, and with it everybody's lines.
void DisplayPump::begin_anew() {
  line_ = {};
  if (sink_ != nullptr) sink_->break_line();
}

// A sink that falls behind is waited for, as long as the inbox can hold what comes meanwhile.
bool DisplayPump::may_format() {
  return sink_ == nullptr || sink_->has_room() || inbox_.backlog() > kMostHeldBack;
}

void DisplayPump::format_received(const DisplayOptions& options) {
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
  received_bytes_ += size;
}

void DisplayPump::format_event(const InboxEvent& event, const DisplayOptions& options, Language language) {
  switch (event.kind) {
    case InboxEvent::Kind::sent:
      if (!event.options.labels) return format_hidden_tx(line_, text_);
      return format_tx(std::span(batch_.bytes).subspan(next_byte_, event.size), event.options, line_, text_);
    case InboxEvent::Kind::answered: return format_elapsed(event.elapsed, options, line_, text_);
    case InboxEvent::Kind::timed_out: return format_timeout(line_, text_);
    case InboxEvent::Kind::late: return format_late(line_, text_);
    case InboxEvent::Kind::iteration:
      return format_standalone(repeat_separator_text(event.iteration, event.repeat_count, language),
                               ColorRole::normal, line_, text_);
    case InboxEvent::Kind::withdrawn: return format_hidden_tx(line_, text_);  // it may have been answered
    case InboxEvent::Kind::clear_mark: --clears_ahead_; return begin_anew();
    case InboxEvent::Kind::stop_mark:
      if (sink_ != nullptr) sink_->stop_mark_reached();
      return;
    case InboxEvent::Kind::received: return;
  }
}

// Everything fetched is counted as if it had been formatted and found the display full.
void DisplayPump::skip_fetched() {
  for (; next_event_ < batch_.events.size(); ++next_event_) {
    const InboxEvent& event = batch_.events[next_event_];
    if (event.kind == InboxEvent::Kind::received) queue_.drop(event.size - event_done_);
    received_bytes_ += event.size - event_done_;
    event_done_ = 0;
  }
}

// Showing

// A paused view keeps all it has, because a person may be reading any of it. So that it cannot grow for ever,
// what exceeds the capacity by another one stays in the queue, whose overflow is told.
bool DisplayPump::can_show() const {
  return !queue_.empty() && !(paused_ && history_.bytes() >= 2 * capacity_);
}

// Opens an update of the view.
void DisplayPump::show_until(Time end) {
  view_.begin_update();
  while (can_show() && clock_() < end) {
    const DisplayBatch& chunk = queue_.front();
    const std::size_t characters = chunk.characters() == 0 ? 0 : view_.append(chunk);
    history_.add({chunk.raw_rx_bytes, characters, chunk.auxiliary_bytes});
    queue_.pop();
  }
  if (!paused_) trim();
}

void DisplayPump::trim() {
  history_.expire(capacity_, [this](std::size_t first, std::size_t count) {
    first == 0 ? view_.trim_head(count) : view_.remove(first, count);
  });
}

void DisplayPump::follow() {
  paused_ = false;
  view_.begin_update();
  trim();
  view_.end_update({.follow = true});
  view_.go_to_tail();
}

void DisplayPump::set_capacity(std::uint64_t capacity) {
  capacity_ = capacity;
  queue_.set_capacity(capacity);
  if (paused_) return;
  view_.begin_update();
  trim();
  view_.end_update({.follow = true});
}

void DisplayPump::clear() {
  batch_ = {};
  next_event_ = next_byte_ = event_done_ = 0;
  lost_bytes_ = 0;
  line_ = {};
  clear_shown();
  clears_ahead_ = 0;
}

void DisplayPump::clear_shown() {
  ++clears_ahead_;
  gap_ = ends_inside_line_ = false;
  queue_.clear();
  history_.clear();
  pace_ = {};
  paused_ = false;
  view_.clear();
}

}  // namespace hvt
