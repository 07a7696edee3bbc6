#pragma once

#include <chrono>

namespace hvt {

// How late a timed sleep may end on an idle machine, with FineTimers where the system needs them. Who must
// not be late sleeps that much less and yields for the rest.
std::chrono::microseconds timer_lateness();

// Asks the system for its finest timers; the usual ones of Windows end a sleep up to 16 ms late.
//
// Promises  harmless when the system has only one kind, or grants nothing.
// Threads   any, any number at the same time.
// Owns      the request, which costs power.
// Ends      with the destructor.
class FineTimers {
 public:
  FineTimers();
  ~FineTimers();
  FineTimers(const FineTimers&) = delete;
  FineTimers& operator=(const FineTimers&) = delete;
};

}  // namespace hvt
