#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "transmit/repeat_engine.h"

namespace hvt::test {

using std::chrono::milliseconds;

// Time that stands still until the test moves it.
//
// Promises  a sleeper notices advance() soon; with Wakes::notified it wakes for nothing but a notification.
// Threads   any.
class ManualSystem final : public EngineSystem {
 public:
  enum class Wakes { polling, notified };
  explicit ManualSystem(Wakes wakes) : wakes_(wakes) {}

  TimePoint now() override {
    const std::lock_guard lock(mutex_);
    return now_;
  }
  void advance(milliseconds time) {
    const std::lock_guard lock(mutex_);
    now_ += time;
  }
  void wait_until(std::condition_variable& changed, std::unique_lock<std::mutex>& lock, TimePoint) override {
    note_sleep(true);  // what would wake us needs the lock, and gets it when we sleep
    if (wakes_ == Wakes::polling) {
      changed.wait_for(lock, milliseconds(1));
    } else {
      changed.wait(lock);
    }
    note_sleep(false);
  }
  bool wait_until_asleep() {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(5), [&] { return asleep_; });
  }

  void refuse_threads(bool refuse) { refuse_threads_ = refuse; }
  std::thread start_thread(std::function<void()> run) override {
    if (refuse_threads_)
      throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    return EngineSystem::start_thread(std::move(run));
  }

 private:
  void note_sleep(bool asleep) {
    const std::lock_guard lock(mutex_);
    asleep_ = asleep;
    changed_.notify_all();
  }

  const Wakes wakes_;
  bool refuse_threads_ = false;
  std::mutex mutex_;
  std::condition_variable changed_;
  TimePoint now_{};
  bool asleep_ = false;
};

// An engine whose packets are single letters, with a log of everything that leaves it, in order:
//   "0#2" iteration 2, "1A" "2A" "3A" events of packet A, "4" "5" "6:text" endings, "wA@5" a write of A that
//   began at 5 ms, "!" its failure, "d" the disconnect request, "t5" "t-" the timing sink.
//
// Threads   the test's own, except where said.
// Ends      with the engine, whose worker uses the rest.
class EngineRig {
 public:
  explicit EngineRig(ManualSystem::Wakes wakes = ManualSystem::Wakes::polling)
      : system(std::make_shared<ManualSystem>(wakes)) {}
  ~EngineRig() { hold_writes(false); }

  std::shared_ptr<ManualSystem> system;
  const std::shared_ptr<ResponseWaitSlot> slot = std::make_shared<ResponseWaitSlot>();

  // All three: the refusal, empty when accepted. A time-out of 0 means no waiting.
  std::wstring send(const std::string& bytes, std::int32_t timeout_ms = 0) {
    std::wstring error;
    const Bytes packet(bytes.begin(), bytes.end());
    const bool sent = engine->send_manual(packet, {timeout_ms != 0, timeout_ms}, events(), timings(), error);
    return sent ? L"" : error;
  }
  std::wstring repeat(const std::string& letters, RepeatSettings settings) {
    std::vector<Bytes> packets;
    for (const char letter : letters)
      packets.push_back({static_cast<std::uint8_t>(letter)});
    settings.end_packet = settings.start_packet + static_cast<std::int32_t>(letters.size()) - 1;
    std::wstring error;
    return engine->start_repeat(packets, settings, events(), timings(), error) ? L"" : error;
  }

  // Any thread. Bytes arrive now: "plain", "response 5", "late", or "late, timed out" for the first report.
  std::string receive() {
    const auto timing = on_received(*slot, system->now());
    if (!timing) return "plain";
    if (timing->kind == ReceiveTimingInfo::Kind::response)
      return std::string("response ") + count(timing->elapsed);
    return timing->timeout_ms ? "late, timed out" : "late";
  }
  void clear() { cancel_waits(*slot, system->now()); }

  // The action runs once, on the worker, when the entry is logged; at "1" it must not use the slot.
  void at(const std::string& entry, std::function<void()> action) {
    const std::lock_guard lock(mutex_);
    actions_[entry] = std::move(action);
  }

  void hold_writes(bool hold) {
    const std::lock_guard lock(mutex_);
    hold_ = hold;
    changed_.notify_all();
  }
  void fail_writes(bool fail) {
    const std::lock_guard lock(mutex_);
    fail_ = fail;
  }

  // The log, once it has as many entries as `expected` or 5 s have passed.
  std::string log(const std::string& expected) {
    std::unique_lock lock(mutex_);
    const auto entries = std::count(expected.begin(), expected.end(), ' ');
    changed_.wait_for(lock, std::chrono::seconds(5),
                      [&] { return std::count(log_.begin(), log_.end(), ' ') >= entries; });
    return log_;
  }

 private:
  static std::string count(std::chrono::duration<double, std::milli> time) {
    return std::to_string(static_cast<int>(time.count()));
  }
  static std::string text(std::span<const std::uint8_t> bytes) { return {bytes.begin(), bytes.end()}; }

  RepeatEngine::EventSink events() {
    return [this](const RepeatEvent& event) {
      std::string entry = std::to_string(static_cast<int>(event.kind)) + text(event.bytes);
      if (event.kind == RepeatEventKind::iteration)
        entry += std::string("#") + std::to_string(event.iteration);
      if (event.kind == RepeatEventKind::failed)
        entry += std::string(":") + std::string(event.message.begin(), event.message.end());
      add(entry);
    };
  }
  RepeatEngine::TimingSink timings() {
    return [this](std::optional<ReceiveTimingInfo> timing) {
      add(timing ? std::string("t") + count(timing->elapsed) : "t-");
    };
  }
  bool write(std::span<const std::uint8_t> bytes, std::wstring& error) {
    add(std::string("w") + text(bytes) + "@" + count(system->now().time_since_epoch()));
    bool failed = false;
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [&] { return !hold_; });
      failed = fail_;
    }
    if (!failed) return true;
    add("!");
    error = L"broken";
    return false;
  }
  void add(const std::string& entry) {
    std::function<void()> action;
    {
      const std::lock_guard lock(mutex_);
      log_ += entry + " ";
      if (const auto found = actions_.find(entry); found != actions_.end()) {
        action = std::move(found->second);
        actions_.erase(found);
      }
    }
    changed_.notify_all();
    if (action) action();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::string log_;
  std::map<std::string, std::function<void()>> actions_;
  bool hold_ = false;
  bool fail_ = false;

 public:
  std::unique_ptr<RepeatEngine> engine = std::make_unique<RepeatEngine>(
      slot,
      RepeatEngine::Link{[this](auto bytes, std::wstring& error) { return write(bytes, error); },
                         [this] { add("d"); }},
      system);
};

// For actions: on a thread of its own, to the end.
inline std::function<void()> elsewhere(std::function<void()> action) {
  return [action = std::move(action)] { std::thread(action).join(); };
}

}  // namespace hvt::test
