#include "base/timers.h"

#include <windows.h>

#include <timeapi.h>

namespace hvt {
namespace {

constexpr UINT kFinest = 1;  // ms

}  // namespace

// One tick until the sleep ends, and a half for the thread to run.
std::chrono::microseconds timer_lateness() {
  return std::chrono::microseconds(1500);
}

FineTimers::FineTimers() {
  timeBeginPeriod(kFinest);
}
FineTimers::~FineTimers() {
  timeEndPeriod(kFinest);
}

}  // namespace hvt
