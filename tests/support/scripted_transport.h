#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "serial/serial_transport.h"

namespace hvt::test {

// A device that does exactly what the test tells it to.
//
// Promises  reads yield what was fed, in order, and wait while nothing is; writes are recorded. Nothing is
//           timed: what blocks, blocks until the test or cancel() ends it.
// Threads   any. The wait_ functions return false after 5 s, so that a broken test ends.
// Owns      its script and its records.
// Ends      cancel() ends reads and blocked writes for good; `on_destroyed` runs in the destructor.
class ScriptedTransport final : public SerialTransport {
 public:
  using Bytes = std::vector<std::uint8_t>;
  enum class WriteMode { kAccept, kBlock, kFail, kThrow };

  explicit ScriptedTransport(std::function<void()> on_destroyed = {})
      : on_destroyed_(std::move(on_destroyed)) {}
  ~ScriptedTransport() override {
    if (on_destroyed_) on_destroyed_();
  }

  // What the next reads do, one step each.
  void feed(Bytes bytes) { push({Step::kBytes, std::move(bytes), {}}); }
  void feed_idle() { push({Step::kIdle, {}, {}}); }
  void feed_failure(std::wstring text) { push({Step::kFail, {}, std::move(text)}); }
  void feed_exception() { push({Step::kThrow, {}, {}}); }
  // From now on every read and write fails with this text.
  void unplug(std::wstring text) {
    change([&] { unplugged_ = std::move(text); });
  }

  // A held read has taken its bytes and not yet returned: the gap in which a discard overtakes it.
  void hold_deliveries() {
    change([&] { hold_ = true; });
  }
  void release_deliveries() {
    change([&] { hold_ = false; });
  }
  bool wait_until_held() {
    return wait([&] { return held_; });
  }

  // Leaving kBlock lets a blocked write go on in the new mode.
  void set_write_mode(WriteMode mode, std::wstring failure = L"Scripted write failure.") {
    change([&] {
      write_mode_ = mode;
      write_failure_ = std::move(failure);
    });
  }
  // The next polls return these, then the empty default again.
  void feed_errors(CommErrorSnapshot errors) {
    change([&] { polls_.push_back({errors, {}}); });
  }
  void feed_query_failure(std::wstring text) {
    change([&] { polls_.push_back({{}, std::move(text)}); });
  }
  // What a poll returns when none is fed.
  void set_default_errors(CommErrorSnapshot errors) {
    change([&] { default_errors_ = errors; });
  }
  void set_discard_failure(std::optional<std::wstring> text) {
    change([&] { discard_failure_ = std::move(text); });
  }

  bool wait_for_writes(std::size_t count) {
    return wait([&] { return writes_.size() >= count; });
  }
  bool wait_until_reading() {
    return wait([&] { return reading_; });
  }
  bool wait_until_write_blocks() {
    return wait([&] { return write_blocked_; });
  }
  bool wait_until_read_out() {
    return wait([&] { return steps_.empty() && !held_; });
  }

  std::vector<Bytes> writes() const {
    return look([&] { return writes_; });
  }

  bool read(Bytes& buffer, std::wstring& error) override {
    std::unique_lock lock(mutex_);
    buffer.clear();
    error.clear();
    reading_ = true;
    changed_.notify_all();
    changed_.wait(lock, [&] { return cancelled_ || unplugged_ || !steps_.empty(); });
    reading_ = false;
    if (cancelled_) return false;
    if (unplugged_ && steps_.empty()) return fail(error, *unplugged_);
    read_generation_ = discards_;
    const Step step = std::move(steps_.front());
    steps_.pop_front();
    held_ = hold_;
    changed_.notify_all();
    changed_.wait(lock, [&] { return cancelled_ || !hold_; });
    held_ = false;
    if (step.kind == Step::kThrow) throw std::runtime_error("Scripted read exception.");
    if (step.kind == Step::kFail) return fail(error, step.text);
    buffer = step.bytes;
    return true;
  }

  bool write(std::span<const std::uint8_t> data, std::wstring& error) override {
    std::unique_lock lock(mutex_);
    error.clear();
    if (data.empty()) return true;
    write_blocked_ = write_mode_ == WriteMode::kBlock;
    changed_.notify_all();
    changed_.wait(lock, [&] { return cancelled_ || unplugged_ || write_mode_ != WriteMode::kBlock; });
    write_blocked_ = false;
    if (cancelled_) return fail(error, L"Serial connection closed.");
    if (unplugged_) return fail(error, *unplugged_);
    if (write_mode_ == WriteMode::kThrow) throw std::runtime_error("Scripted write exception.");
    if (write_mode_ == WriteMode::kFail) return fail(error, write_failure_);
    writes_.emplace_back(data.begin(), data.end());
    changed_.notify_all();
    return true;
  }

  void cancel() override {
    change([&] { cancelled_ = true; });
  }

  bool discard_input(std::wstring& error) override {
    const std::lock_guard lock(mutex_);
    error.clear();
    ++discards_;
    if (discard_failure_) return fail(error, *discard_failure_);
    std::erase_if(steps_, [](const Step& step) { return step.kind == Step::kBytes; });
    changed_.notify_all();
    return true;
  }

  bool read_is_current() override {
    return look([&] { return read_generation_ == discards_; });
  }

  bool query_errors(CommErrorSnapshot& out, std::wstring& error) override {
    const std::lock_guard lock(mutex_);
    Poll poll{default_errors_, {}};
    if (!polls_.empty()) {
      poll = std::move(polls_.front());
      polls_.pop_front();
    }
    changed_.notify_all();
    out = poll.errors;
    error = poll.failure.value_or(L"");
    return !poll.failure;
  }

 private:
  struct Step {
    enum Kind { kBytes, kIdle, kFail, kThrow } kind = kIdle;
    Bytes bytes;
    std::wstring text;
  };
  struct Poll {
    CommErrorSnapshot errors;
    std::optional<std::wstring> failure;
  };

  static bool fail(std::wstring& error, const std::wstring& text) {
    error = text;
    return false;
  }
  void push(Step step) {
    change([&] { steps_.push_back(std::move(step)); });
  }
  template <typename Function>
  void change(Function&& function) {
    const std::lock_guard lock(mutex_);
    function();
    changed_.notify_all();
  }
  template <typename Function>
  auto look(Function&& function) const -> decltype(function()) {
    const std::lock_guard lock(mutex_);
    return function();
  }
  template <typename Condition>
  bool wait(Condition&& condition) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(5), condition);
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Step> steps_;
  std::deque<Poll> polls_;
  CommErrorSnapshot default_errors_;
  std::vector<Bytes> writes_;
  std::optional<std::wstring> unplugged_;
  std::optional<std::wstring> discard_failure_;
  std::wstring write_failure_;
  WriteMode write_mode_ = WriteMode::kAccept;
  std::size_t discards_ = 0;
  std::size_t read_generation_ = 0;
  bool cancelled_ = false;
  bool reading_ = false;
  bool hold_ = false;
  bool held_ = false;
  bool write_blocked_ = false;
  std::function<void()> on_destroyed_;
};

}  // namespace hvt::test
