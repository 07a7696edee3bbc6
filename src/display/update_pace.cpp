#include "display/update_pace.h"

#include <algorithm>

namespace hvt {

UpdatePace::Due UpdatePace::changed(Time now, Backlog backlog) {
  last_change_ = now;
  held_back_ = {true, true};
  Due due{now - last_scroll_ >= kScroll, now - last_repaint_ >= kRepaint};
  if (backlog == Backlog::none && !holds_back(now)) {
    next_at_once_ = std::max(next_at_once_, now) + kScroll;
    due = {true, true};
  }
  note(now, due);
  return due;
}

UpdatePace::Due UpdatePace::idle(Time now) {
  if (now - last_change_ < kQuiet) return {};
  // A scroll is nothing to look at before it is painted.
  const Due due{held_back_.scroll, held_back_.scroll || held_back_.repaint};
  note(now, due);
  return due;
}

void UpdatePace::note(Time now, Due due) {
  if (due.scroll) last_scroll_ = now;
  if (due.repaint) last_repaint_ = now;
  held_back_.scroll = held_back_.scroll && !due.scroll;
  // What is scrolled and not painted is still to be painted.
  held_back_.repaint = !due.repaint && (held_back_.repaint || due.scroll);
}

}  // namespace hvt
