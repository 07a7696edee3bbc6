#pragma once

#include <chrono>

namespace hvt {

// When a view that follows its text scrolls and paints: often enough to look alive, seldom enough to leave
// the time to the data.
//
// Promises  during a burst a scroll every kScroll and a repaint every kRepaint at most; the last change of a
//           burst is shown at once. A line that trickles without a pause would make every change the last of
//           a burst, so only kAtOnce of them are, and one more each kScroll; one that was held back is due
//           as soon as the line has been quiet for kQuiet.
// Threads   one; the time is passed in.
// Ends      as a plain value.
class UpdatePace {
 public:
  using Time = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::milliseconds kScroll{200};
  static constexpr std::chrono::milliseconds kRepaint{50};
  static constexpr std::chrono::milliseconds kQuiet{20};
  static constexpr int kAtOnce = 4;

  struct Due {
    bool scroll = false;
    bool repaint = false;
  };
  enum class Backlog { none, waits };
  // The text changed at `now`; with a backlog it will change again soon.
  Due changed(Time now, Backlog backlog);
  // Nothing new came.
  Due idle(Time now);
  // The last change of a burst would have to wait as well.
  bool holds_back(Time now) const { return next_at_once_ - now > (kAtOnce - 1) * kScroll; }

 private:
  void note(Time now, Due due);

  Time last_scroll_{-kScroll};
  Time last_repaint_{-kRepaint};
  Time last_change_{};
  Time next_at_once_{};  // when the allowance would be whole again
  Due held_back_;
};

}  // namespace hvt
