#include "self_test/scripted_device.h"

#include <algorithm>
#include <utility>

namespace hvt::self_test {

void ScriptedDevice::say_locked(std::string_view bytes, std::chrono::milliseconds delay) {
  Time due = std::chrono::steady_clock::now() + delay;
  if (!pieces_.empty()) due = std::max(due, pieces_.back().due);
  pieces_.push_back({due, std::string(bytes)});
  changed_.notify_all();
}

void ScriptedDevice::say(std::string_view bytes, std::chrono::milliseconds delay) {
  const std::lock_guard lock(mutex_);
  say_locked(bytes, delay);
}

void ScriptedDevice::answer(std::optional<std::string> bytes, std::chrono::milliseconds delay) {
  const std::lock_guard lock(mutex_);
  answer_ = std::move(bytes);
  answer_delay_ = delay;
}

void ScriptedDevice::set_writing(Writing writing) {
  const std::lock_guard lock(mutex_);
  writing_ = writing;
  changed_.notify_all();
}

void ScriptedDevice::unplug(std::wstring error) {
  const std::lock_guard lock(mutex_);
  unplugged_ = std::move(error);
  changed_.notify_all();
}

void ScriptedDevice::report_errors(std::uint32_t mask) {
  const std::lock_guard lock(mutex_);
  errors_ |= mask;
}

std::string ScriptedDevice::received() const {
  const std::lock_guard lock(mutex_);
  return received_;
}

bool ScriptedDevice::write_is_blocked() const {
  const std::lock_guard lock(mutex_);
  return write_blocked_;
}

bool ScriptedDevice::ended(std::wstring& error) const {
  if (!cancelled_ && unplugged_) error = *unplugged_;
  return cancelled_ || unplugged_;
}

bool ScriptedDevice::read(std::vector<std::uint8_t>& buffer, std::wstring& error) {
  constexpr std::chrono::milliseconds kIdle{50};  // after that the caller polls for errors
  std::unique_lock lock(mutex_);
  buffer.clear();
  error.clear();
  const Time idle_end = std::chrono::steady_clock::now() + kIdle;
  const auto is_due = [&] {
    return !pieces_.empty() && pieces_.front().due <= std::chrono::steady_clock::now();
  };
  while (!cancelled_ && !unplugged_ && !is_due()) {
    const Time next = pieces_.empty() ? idle_end : std::min(idle_end, pieces_.front().due);
    if (changed_.wait_until(lock, next) == std::cv_status::timeout && next == idle_end) break;
  }
  if (ended(error)) return false;
  if (!is_due()) return true;
  const std::string& bytes = pieces_.front().bytes;
  buffer.assign(bytes.begin(), bytes.end());
  pieces_.pop_front();
  return true;
}

bool ScriptedDevice::write(std::span<const std::uint8_t> data, std::wstring& error) {
  std::unique_lock lock(mutex_);
  write_blocked_ = writing_ == Writing::blocks;
  changed_.wait(lock, [&] { return cancelled_ || unplugged_ || writing_ != Writing::blocks; });
  write_blocked_ = false;
  if (ended(error)) return false;
  if (writing_ == Writing::fails) {
    error = L"Simulated write failure";
    return false;
  }
  received_.append(data.begin(), data.end());
  if (answer_) say_locked(*answer_, answer_delay_);
  return true;
}

void ScriptedDevice::cancel() {
  const std::lock_guard lock(mutex_);
  cancelled_ = true;
  changed_.notify_all();
}

bool ScriptedDevice::discard_input(std::wstring& error) {
  const std::lock_guard lock(mutex_);
  error.clear();
  pieces_.clear();
  return true;
}

bool ScriptedDevice::query_errors(CommErrorSnapshot& out, std::wstring& error) {
  const std::lock_guard lock(mutex_);
  error.clear();
  out = {.available = true, .mask = std::exchange(errors_, 0), .input_queued_bytes = 0};
  return true;
}

}  // namespace hvt::self_test
