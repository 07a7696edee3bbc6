#pragma once

#include <functional>
#include <memory>
#include <string>

#include "update/cancel_signal.h"
#include "update/manifest.h"

namespace hvt {

// Looks for a newer release: at start-up, and whenever a person asks.
//
// Promises  each check that began ends with one result, a failure included, unless the object ends before.
//           One check runs at a time. Nothing is retried.
// Threads   the interface thread. `report` runs on the check's own thread, or within request_check() when the
//           system has no thread to give; all it may do is hand the result to the interface thread.
// Owns      the thread, and shares its state with it.
// Ends      with the destructor: a check in flight is cancelled and left behind if it has not ended after
//           100 ms. No report begins after that.
class StartupUpdateCheck {
 public:
  // Blocks until it has the manifest's bytes, throws a std::exception or follows the signal.
  using Fetch = std::function<std::string(CancelSignal&)>;
  using Report = std::function<void(const UpdateResult&)>;

  StartupUpdateCheck(Fetch fetch, Report report);
  ~StartupUpdateCheck();
  StartupUpdateCheck(const StartupUpdateCheck&) = delete;
  StartupUpdateCheck& operator=(const StartupUpdateCheck&) = delete;

  // Begins a check. While one is running it does nothing: that one's result is the answer.
  void request_check();

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace hvt
