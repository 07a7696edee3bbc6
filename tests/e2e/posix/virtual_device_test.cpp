// Risk: bytes lost, doubled or reordered between a real line and the program, and a device that comes back
// unseen. The virtual device runs as a program of its own, found by the name it announces.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "base/posix/unique_fd.h"
#include "serial/port_list.h"
#include "serial/serial_port.h"
#include "tests/support/device_process.h"
#include "tools/virtual_device/pattern.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;
using test::DeviceProcess;

const std::wstring kLabel = L"ttyV0 - Virtual device";

// A connection whose bytes are judged as they come.
class Receiver {
 public:
  Receiver()
      : port_({}, {.received = [this](const auto& bytes, auto) { change([&] { verifier_.feed(bytes); }); },
                   .status = {},
                   .lost = [this](const auto&) { change([&] { lost_ = true; }); }}) {}

  bool connect(const std::wstring& name) {
    bool done = false;
    bool connected = false;
    const auto outcome = [&](bool ok, const std::wstring&) { change([&] { done = true, connected = ok; }); };
    return port_.connect({.port = name}, 10'000, outcome) && wait([&] { return done; }) && connected;
  }
  bool wait_for_records(std::uint64_t count) {
    wait([&] { return verifier_.fault() || verifier_.whole_records() >= count; });
    port_.disconnect();
    if (verifier_.fault()) ADD_FAILURE() << device::describe(*verifier_.fault());
    return !verifier_.fault() && verifier_.whole_records() == count;
  }
  // Leaves the port free for the next one.
  bool wait_until_lost() {
    const bool lost = wait([&] { return lost_; });
    port_.disconnect();
    return lost;
  }

 private:
  template <typename Function>
  void change(Function&& function) {
    const std::lock_guard lock(mutex_);
    function();
    changed_.notify_all();
  }
  template <typename Condition>
  bool wait(Condition&& condition) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, 60s, condition);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  device::PatternVerifier verifier_{device::PatternKind::kText,
                                    device::PatternVerifier::Start::kAtRecordZero};
  bool lost_ = false;
  SerialPort port_;
};

std::vector<std::wstring> listed() {
  std::vector<std::wstring> labels;
  for (const PortDescription& port : list_system_ports())
    labels.push_back(port_label(port));
  return labels;
}

// A loaded machine may take long between opening the port and emptying its queue.
TEST(VirtualDevice, TheFloodWaitsUntilTheQueueIsEmptied) {
  const test::PrivateRuntimeFolder folder;
  DeviceProcess device({"--flood", "max", "--count", "10"});
  const std::string ready = device.line("ready");
  ASSERT_FALSE(ready.empty());
  const UniqueFd port(::open(ready.substr(ready.rfind(' ') + 1).c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  ASSERT_TRUE(port);
  std::this_thread::sleep_for(300ms);
  ASSERT_EQ(::tcflush(port.get(), TCIOFLUSH), 0);
  device::PatternVerifier verifier(device::PatternKind::kText, device::PatternVerifier::Start::kAtRecordZero);
  std::array<std::uint8_t, 4096> bytes{};
  pollfd readable{port.get(), POLLIN, 0};
  while (verifier.whole_records() < 10 && ::poll(&readable, 1, 10'000) == 1) {
    const auto count = ::read(port.get(), bytes.data(), bytes.size());
    ASSERT_GT(count, 0);
    verifier.feed(std::span(bytes).first(static_cast<std::size_t>(count)));
  }
  EXPECT_FALSE(verifier.fault());
  EXPECT_EQ(verifier.whole_records(), 10u);
}

TEST(VirtualDevice, ComesBackUnderItsNameAfterAnUnplug) {
  const test::PrivateRuntimeFolder folder;
  DeviceProcess device({"--flood", "20k", "--count", "10"});
  ASSERT_TRUE(device.line("ready").starts_with("ready ttyV0 /dev/pts/"));
  ASSERT_THAT(listed(), testing::Contains(kLabel));
  Receiver first;
  ASSERT_TRUE(first.connect(L"ttyV0"));
  ASSERT_TRUE(device.tell("vanish"));
  EXPECT_TRUE(first.wait_until_lost());
  ASSERT_FALSE(device.line("vanished").empty());
  EXPECT_THAT(listed(), testing::Not(testing::Contains(kLabel)));
  EXPECT_FALSE(Receiver().connect(L"ttyV0"));
  ASSERT_TRUE(device.tell("return"));
  ASSERT_FALSE(device.line("ready").empty());
  Receiver second;
  ASSERT_TRUE(second.connect(L"ttyV0"));
  EXPECT_TRUE(second.wait_for_records(10));
}

}  // namespace
}  // namespace hvt
