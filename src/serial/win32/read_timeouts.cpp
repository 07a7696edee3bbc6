#include "serial/win32/read_timeouts.h"

#include "base/win32/wine.h"
#include "serial/transport_limits.h"

namespace hvt {
namespace {

constexpr DWORD kIdleMilliseconds = DWORD{kIdleReturn.count()};

// The combination that the driver interface defines for exactly this.
constexpr ReadTimeouts kWindows{MAXDWORD, MAXDWORD, kIdleMilliseconds, ERROR_SUCCESS};

// Wine does not know that combination: such a read ends only when its buffer is full. With an interval of
// 1 ms it ends 2 to 3 ms after the first byte, and a silent one fails with a time-out.
constexpr ReadTimeouts kWine{1, 0, kIdleMilliseconds, ERROR_TIMEOUT};

}  // namespace

const ReadTimeouts& read_timeouts() {
  static const ReadTimeouts& chosen = runs_on_wine() ? kWine : kWindows;
  return chosen;
}

}  // namespace hvt
