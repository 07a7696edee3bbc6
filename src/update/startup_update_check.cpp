#include "update/startup_update_check.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <system_error>
#include <utility>

#include "base/detached_thread.h"

namespace hvt {
namespace {

// What a closing program gives a check to end by itself, so that the system's libraries are not in use while
// the process goes down.
constexpr std::chrono::milliseconds kFarewell{100};

}  // namespace

// What the object and its thread share.
struct StartupUpdateCheck::State {
  State(Fetch fetch_manifest, Report report_result)
      : fetch(std::move(fetch_manifest)), report(std::move(report_result)) {}

  UpdateResult check() {
    try {
      return parse_update_manifest(fetch(cancel));
    } catch (const std::exception& error) {
      UpdateResult failed;
      failed.failure = error.what();
      return failed;
    }
  }

  void deliver(const UpdateResult& result) {
    {
      const std::lock_guard lock(mutex);
      // Who asks again when the result is there gets a new check, also while report() still returns.
      running = false;
      changed.notify_all();
      if (closed) return;
      ++reports;
    }
    report(result);
    const std::lock_guard lock(mutex);
    --reports;
    changed.notify_all();
  }

  const Fetch fetch;
  const Report report;
  CancelSignal cancel;
  std::mutex mutex;
  std::condition_variable changed;
  bool running = false;
  int reports = 0;  // under way
  bool closed = false;
};

StartupUpdateCheck::StartupUpdateCheck(Fetch fetch, Report report)
    : state_(std::make_shared<State>(std::move(fetch), std::move(report))) {}

StartupUpdateCheck::~StartupUpdateCheck() {
  State& state = *state_;
  std::unique_lock lock(state.mutex);
  state.closed = true;
  lock.unlock();
  state.cancel.cancel();
  lock.lock();
  state.changed.wait_for(lock, kFarewell, [&] { return !state.running; });
  state.changed.wait(lock, [&] { return state.reports == 0; });
}

void StartupUpdateCheck::request_check() {
  {
    const std::lock_guard lock(state_->mutex);
    if (std::exchange(state_->running, true)) return;
  }
  try {
    start_detached([state = state_] { state->deliver(state->check()); });
  } catch (const std::system_error& error) {
    UpdateResult failed;
    failed.failure = error.what();
    state_->deliver(failed);
  }
}

}  // namespace hvt
