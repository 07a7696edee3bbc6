#include "recording/local_time.h"

#include <time.h>

namespace hvt {

LocalTime local_time_now() {
  const time_t now = ::time(nullptr);
  tm local{};
  ::localtime_r(&now, &local);
  return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec};
}

}  // namespace hvt
