#include "recording/local_time.h"

#include <windows.h>

namespace hvt {

LocalTime local_time_now() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
}

}  // namespace hvt
