#include "base/timers.h"

namespace hvt {

// About 80 us were measured; the median packet of a repeat run is then 1 us late (benchmark RepeatPacing).
std::chrono::microseconds timer_lateness() {
  return std::chrono::microseconds(100);
}

FineTimers::FineTimers() {}
FineTimers::~FineTimers() {}

}  // namespace hvt
