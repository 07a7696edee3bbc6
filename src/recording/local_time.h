#pragma once

namespace hvt {

// The wall clock where the user is.
struct LocalTime {
  int year = 0;
  int month = 0;  // 1 to 12
  int day = 0;    // 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;
};

LocalTime local_time_now();

}  // namespace hvt
