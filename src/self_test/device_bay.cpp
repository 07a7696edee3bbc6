#include "self_test/device_bay.h"

#include <utility>

#include "serial/echo_transport.h"

namespace hvt::self_test {

std::vector<PortDescription> DeviceBay::all_ports() {
  return {{std::wstring(kEchoPort), L"Loopback"},
          {std::wstring(kScriptedPort), L"Simulated device"},
          {std::wstring(kBusyPort), L""},
          {std::wstring(kStubbornPort), L"Slow driver"}};
}

std::vector<PortDescription> DeviceBay::list() const {
  const std::lock_guard lock(mutex_);
  return ports_;
}

void DeviceBay::plug_in(std::vector<PortDescription> ports) {
  const std::lock_guard lock(mutex_);
  ports_ = std::move(ports);
}

std::shared_ptr<SerialTransport> DeviceBay::open(const SerialSettings& settings, std::wstring& error) {
  std::unique_lock lock(mutex_);
  if (settings.port == kBusyPort) {
    error = settings.port + L" is in use by another program.";
    return nullptr;
  }
  if (settings.port == kStubbornPort) changed_.wait(lock, [&] { return !held_; });
  opened_with_ = settings;
  if (settings.port == kEchoPort) return std::make_shared<EchoTransport>();
  device_ = std::make_shared<ScriptedDevice>();
  return device_;
}

std::shared_ptr<ScriptedDevice> DeviceBay::device() const {
  const std::lock_guard lock(mutex_);
  return device_;
}

void DeviceBay::forget_device() {
  const std::lock_guard lock(mutex_);
  device_ = nullptr;
}

void DeviceBay::reset() {
  const std::lock_guard lock(mutex_);
  device_ = nullptr;
  opened_with_.reset();
  ports_ = all_ports();
  held_ = true;
}

std::optional<SerialSettings> DeviceBay::opened_with() const {
  const std::lock_guard lock(mutex_);
  return opened_with_;
}

void DeviceBay::let_open() {
  const std::lock_guard lock(mutex_);
  held_ = false;
  changed_.notify_all();
}

}  // namespace hvt::self_test
