#include "app/process.h"

#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <locale>
#include <sstream>
#include <string>

namespace hvt {
namespace {

std::chrono::nanoseconds time_of(clockid_t clock) {
  timespec now{};
  ::clock_gettime(clock, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// Field 22 of /proc/self/stat, in clock ticks since the system started. The second field is the program's
// name in parentheses, which may hold blanks and parentheses.
std::optional<double> start_ticks() {
  constexpr int kFieldsBetween = 19;
  std::ifstream file("/proc/self/stat");
  const std::string stat{std::istreambuf_iterator<char>(file), {}};
  const std::size_t name_end = stat.rfind(')');
  if (name_end == std::string::npos) return std::nullopt;
  std::istringstream fields(stat.substr(name_end + 1));
  fields.imbue(std::locale::classic());
  std::string skipped;
  for (int i = 0; i < kFieldsBetween; ++i)
    fields >> skipped;
  double ticks = 0;
  if (!(fields >> ticks)) return std::nullopt;
  return ticks;
}

}  // namespace

std::uint32_t process_id() {
  return static_cast<std::uint32_t>(::getpid());
}

std::chrono::milliseconds system_uptime() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(time_of(CLOCK_BOOTTIME));
}

std::optional<std::chrono::duration<double, std::milli>> process_age() {
  const auto ticks = start_ticks();
  const long ticks_per_second = ::sysconf(_SC_CLK_TCK);
  if (!ticks || ticks_per_second <= 0) return std::nullopt;
  const std::chrono::duration<double> started(*ticks / static_cast<double>(ticks_per_second));
  return time_of(CLOCK_BOOTTIME) - started;
}

bool startup_profile_wanted() {
  return std::getenv("HALVETRIC_STARTUP_PROFILE") != nullptr;
}

}  // namespace hvt
