#include "app/process.h"

#include <windows.h>

#include <ratio>

namespace hvt {
namespace {

using FileTimeTicks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;

FileTimeTicks ticks(const FILETIME& time) {
  ULARGE_INTEGER value{};
  value.LowPart = time.dwLowDateTime;
  value.HighPart = time.dwHighDateTime;
  return FileTimeTicks(static_cast<std::int64_t>(value.QuadPart));
}

}  // namespace

std::uint32_t process_id() {
  return GetCurrentProcessId();
}

std::chrono::milliseconds system_uptime() {
  return std::chrono::milliseconds(GetTickCount64());
}

std::optional<std::chrono::duration<double, std::milli>> process_age() {
  FILETIME created{};
  FILETIME exited{};
  FILETIME kernel{};
  FILETIME user{};
  if (!GetProcessTimes(GetCurrentProcess(), &created, &exited, &kernel, &user)) return std::nullopt;
  FILETIME now{};
  GetSystemTimePreciseAsFileTime(&now);
  return ticks(now) - ticks(created);
}

bool startup_profile_wanted() {
  SetLastError(ERROR_SUCCESS);
  // An empty value has length 0, and so has one that is not there.
  return GetEnvironmentVariableW(L"HALVETRIC_STARTUP_PROFILE", nullptr, 0) != 0 ||
         GetLastError() != ERROR_ENVVAR_NOT_FOUND;
}

}  // namespace hvt
