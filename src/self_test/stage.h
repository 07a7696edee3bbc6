#pragma once

#include <condition_variable>
#include <exception>
#include <filesystem>
#include <mutex>
#include <optional>

#include "app/run_application.h"
#include "self_test/device_bay.h"
#include "self_test/driver.h"

namespace hvt::self_test {

// How one run of the program begins.
struct Setup {
  std::filesystem::path folder;  // its data folder
  RecordingConfig recording{};
};

// Where the script has the program run, one window after the other, as often as it wants.
//
// Promises  open() returns when the window is shown and every event will be served; each run is like one
// after a start of
//           the program.
// Threads   serve() on the interface thread, the rest on the thread of the script.
// Owns      the program while it runs.
// Ends      with end(): serve() returns when the window has closed.
class Stage {
 public:
  // All of them outlive the stage.
  Stage(const Launch& launch, Driver& driver, DeviceBay& bay) : launch_(launch), driver_(driver), bay_(bay) {}

  void serve();

  // Throws what the start of the program threw.
  void open(Setup setup);
  bool is_open() const;
  // The exit code, when the window closes in time; throws Unreachable when it does not, and what the program
  // threw.
  int wait_until_closed();
  void end();

 private:
  enum class State { empty, wanted, open, ended };

  int run_program(const Setup& setup);
  void opened();

  const Launch& launch_;
  Driver& driver_;
  DeviceBay& bay_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  State state_ = State::empty;
  Setup setup_;
  int exit_code_ = 0;
  std::exception_ptr failure_;
};

}  // namespace hvt::self_test
