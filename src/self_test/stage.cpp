#include "self_test/stage.h"

#include <chrono>
#include <utility>

namespace hvt::self_test {
namespace {

constexpr std::chrono::seconds kPatience{20};

struct ForgetAtEnd {
  ~ForgetAtEnd() { driver.forget(); }
  Driver& driver;
};

}  // namespace

void Stage::serve() {
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return state_ == State::wanted || state_ == State::ended; });
    if (state_ == State::ended) return;
    const Setup setup = setup_;
    lock.unlock();
    int code = 0;
    std::exception_ptr failure;
    try {
      code = run_program(setup);
    } catch (...) {
      failure = std::current_exception();
    }
    lock.lock();
    exit_code_ = code;
    failure_ = failure;
    if (state_ != State::ended) state_ = State::empty;
    changed_.notify_all();
  }
}

int Stage::run_program(const Setup& setup) {
  const auto open = [this](const SerialSettings& settings, std::wstring& error) {
    return bay_.open(settings, error);
  };
  const auto session =
      launch_(setup.folder,
              {.factory = open, .port_source = [this] { return bay_.list(); }, .recording = setup.recording});
  driver_.watch(session->window());
  const ForgetAtEnd forget{driver_};
  opened();
  return session->serve();
}

void Stage::opened() {
  const std::lock_guard lock(mutex_);
  if (state_ == State::wanted) state_ = State::open;
  changed_.notify_all();
}

void Stage::open(Setup setup) {
  std::unique_lock lock(mutex_);
  setup_ = std::move(setup);
  failure_ = nullptr;
  state_ = State::wanted;
  changed_.notify_all();
  if (!changed_.wait_for(lock, kPatience, [this] { return state_ != State::wanted; }))
    throw Unreachable("The program does not start.");
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

bool Stage::is_open() const {
  const std::lock_guard lock(mutex_);
  return state_ == State::open;
}

int Stage::wait_until_closed() {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, kPatience, [this] { return state_ != State::open; }))
    throw Unreachable("The program does not close.");
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  return exit_code_;
}

void Stage::end() {
  const std::lock_guard lock(mutex_);
  state_ = State::ended;
  changed_.notify_all();
}

}  // namespace hvt::self_test
