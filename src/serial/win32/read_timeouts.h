#pragma once

#include <windows.h>

namespace hvt {

// How the driver is told to end a read: at once with whatever is queued, else with the first byte that
// comes, else empty after 50 ms of silence.
struct ReadTimeouts {
  DWORD interval;    // COMMTIMEOUTS::ReadIntervalTimeout
  DWORD multiplier;  // COMMTIMEOUTS::ReadTotalTimeoutMultiplier
  DWORD constant;    // COMMTIMEOUTS::ReadTotalTimeoutConstant
  DWORD idle_error;  // the error that a silent read ends with; ERROR_SUCCESS: it succeeds with no bytes
};

// The values for the Windows at hand. The only place that knows about Wine.
const ReadTimeouts& read_timeouts();

}  // namespace hvt
