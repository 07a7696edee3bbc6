#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace hvt {

// How long the steps of the start-up took.
//
// Promises  nothing is kept or written unless it is wanted; a file that cannot be written is no failure.
// Threads   the interface thread.
class StartupProfile {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Milliseconds = std::chrono::duration<double, std::milli>;
  enum class Wanted { no, yes };

  StartupProfile(Wanted wanted, Time start) : wanted_(wanted == Wanted::yes), start_(start) {}

  // A step is done; the time runs from `start`.
  void mark(std::string_view step, Time now = std::chrono::steady_clock::now());
  // A duration that was measured otherwise.
  void add(std::string_view name, Milliseconds duration);

  // Writes "startup-profile.txt" into the folder, which is created if needed, once: what is marked later is
  // not kept.
  void write_once(const std::filesystem::path& folder);

 private:
  bool wanted_;
  const Time start_;
  std::vector<std::pair<std::string, Milliseconds>> marks_;
};

}  // namespace hvt
