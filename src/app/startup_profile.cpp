#include "app/startup_profile.h"

#include <array>
#include <charconv>
#include <fstream>
#include <system_error>

namespace hvt {
namespace {

// With microseconds and a full stop, whatever the locale.
std::string milliseconds_text(StartupProfile::Milliseconds duration) {
  std::array<char, 64> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), duration.count(),
                                 std::chars_format::fixed, 3);
  return {digits.data(), end.ptr};
}

}  // namespace

void StartupProfile::mark(std::string_view step, Time now) {
  add(step, now - start_);
}

void StartupProfile::add(std::string_view name, Milliseconds duration) {
  if (wanted_) marks_.emplace_back(name, duration);
}

void StartupProfile::write_once(const std::filesystem::path& folder) {
  if (!std::exchange(wanted_, false)) return;
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  std::ofstream file(folder / "startup-profile.txt", std::ios::binary);
  for (const auto& [name, duration] : marks_)
    file << name << ": " << milliseconds_text(duration) << " ms\n";
}

}  // namespace hvt
