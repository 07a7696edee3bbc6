#include "serial/echo_transport.h"

namespace hvt {

bool EchoTransport::read(std::vector<std::uint8_t>& buffer, std::wstring& error) {
  std::unique_lock lock(mutex_);
  error.clear();
  readable_.wait(lock, [this] { return closed_ || !echoes_.empty(); });
  if (closed_) return false;
  buffer = std::move(echoes_.front());
  echoes_.pop_front();
  return true;
}

bool EchoTransport::write(std::span<const std::uint8_t> data, std::wstring& error) {
  const std::lock_guard lock(mutex_);
  if (closed_ || fail_writes_) {
    error = L"Simulated write failure";
    return false;
  }
  if (!echo_) return true;
  echoes_.emplace_back(data.begin(), data.end());
  readable_.notify_one();
  return true;
}

void EchoTransport::cancel() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
  readable_.notify_all();
}

bool EchoTransport::discard_input(std::wstring& error) {
  const std::lock_guard lock(mutex_);
  error.clear();
  echoes_.clear();
  return true;
}

void EchoTransport::set_echo(bool echo) {
  const std::lock_guard lock(mutex_);
  echo_ = echo;
}

void EchoTransport::set_fail_writes(bool fail) {
  const std::lock_guard lock(mutex_);
  fail_writes_ = fail;
}

}  // namespace hvt
