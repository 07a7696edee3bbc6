// How long a person waits for the window: from the start of the process to its window shown and its first
// events served, and what it holds in memory then, beside an empty window of the same toolkit.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "bench/disk_folder.h"

extern char** environ;

namespace hvt {
namespace {

using Clock = std::chrono::steady_clock;

double resident_megabytes(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/statm");
  double pages = 0;
  file >> pages >> pages;
  return pages * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

// Both programs write this file beside themselves when their window is shown.
constexpr const char* kShown = "startup-profile.txt";

void start(benchmark::State& state, const char* program) {
  if (::getenv("DISPLAY") == nullptr) ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
  ::setenv("HALVETRIC_STARTUP_PROFILE", "1", 1);
  double resident = 0;
  for (auto _ : state) {
    bench::DiskFolder folder;
    std::string copy = (folder.path() / "program").string();
    std::filesystem::copy_file(program, copy);
    char* arguments[] = {copy.data(), nullptr};
    pid_t process = 0;
    const auto begin = Clock::now();
    if (::posix_spawn(&process, copy.c_str(), nullptr, nullptr, arguments, environ) != 0)
      return state.SkipWithError("the program cannot be started");
    while (!std::filesystem::exists(folder.path() / kShown) &&
           Clock::now() - begin < std::chrono::seconds(10))
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    const std::chrono::duration<double> took = Clock::now() - begin;
    state.SetIterationTime(took.count());
    resident = resident_megabytes(process);
    ::kill(process, SIGKILL);
    ::waitpid(process, nullptr, 0);
  }
  state.counters["resident_MB"] = resident;
}
BENCHMARK_CAPTURE(start, program, HVT_PROGRAM)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(3);
BENCHMARK_CAPTURE(start, empty_window, HVT_EMPTY_WINDOW)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->MinTime(3);

}  // namespace
}  // namespace hvt
