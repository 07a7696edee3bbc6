// Risk: the meetings of open worker, connection thread and callers in SerialPort. Random steps against a
// driver that is slow, throws, refuses and breaks; made for ThreadSanitizer. Checked all along: callbacks
// never overlap and never come after the destructor, no name is ever open twice, every handle is closed and
// every name is free in the end.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/guarded.h"
#include "serial/serial_port.h"
#include "tests/support/scripted_transport.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;
using test::ScriptedTransport;

constexpr std::size_t kNames = 3;

// What the steps came to, so that a run in which nothing happens is a failure.
struct Seen {
  std::atomic<int> connected{0};
  std::atomic<int> refused{0};
  std::atomic<int> timed_out{0};
  std::atomic<int> received{0};
  std::atomic<int> lost{0};

  bool enough() const { return connected > 50 && refused > 50 && timed_out > 0 && received > 5 && lost > 0; }
};

// The driver behind all ports of the test: hands out devices, knows which names are open, and lets a device
// do something meanwhile.
class RandomDriver {
 public:
  std::shared_ptr<SerialTransport> open(const SerialSettings& settings, std::wstring& error) {
    switch (random_.with([](auto& random) { return random() % 8; })) {
      case 0: error = L"No."; return nullptr;
      case 1: return nullptr;
      case 2: throw std::runtime_error("driver");
      case 3: throw 3;
      case 4: std::this_thread::sleep_for(3ms); break;  // longer than some time-outs below
      case 5: std::this_thread::sleep_for(300us); break;
      default: break;
    }
    const auto name = static_cast<std::size_t>(settings.port.back() - L'0');
    if (++open_handles_[name] > 1) opened_twice = true;
    const auto device = std::make_shared<ScriptedTransport>([this, name] {
      devices_[name].with([](auto& open) { open = nullptr; });
      --open_handles_[name];
    });
    devices_[name].with([&](auto& open) { open = device.get(); });
    return device;
  }
  template <typename Act>
  void with_device(std::size_t name, Act&& act) {
    devices_[name].with([&](ScriptedTransport* open) { return open ? act(*open) : void(); });
  }
  int open_handles() const { return open_handles_[0] + open_handles_[1] + open_handles_[2]; }

  std::atomic<bool> opened_twice{false};
  Seen seen;

 private:
  Guarded<std::minstd_rand> random_{std::minstd_rand(7)};
  std::array<Guarded<ScriptedTransport*>, kNames> devices_;
  std::array<std::atomic<int>, kNames> open_handles_{};
};

SerialSettings settings_for(std::size_t name) {
  return {.port = L"port" + std::to_wstring(name)};
}

// A port whose callbacks check that they are allowed to run, and sometimes call back into it.
class CheckedPort {
 public:
  explicit CheckedPort(RandomDriver& driver)
      : seen_(driver.seen),
        watch_(std::make_shared<Watch>()),
        port_([&driver](const auto& settings, auto& error) { return driver.open(settings, error); },
              {.received = [this, w = watch_](const auto&, auto) { w->visit([&] { received(*w); }); },
               .status = [w = watch_](const auto&) { w->visit([] {}); },
               .lost = [this, w = watch_](const auto& text) { w->visit([&] { lost(*w, text); }); }}) {}

  SerialPort& port() { return port_; }

  bool connect(std::size_t name, int timeout_ms) {
    return port_.connect(settings_for(name), timeout_ms, [this, w = watch_](bool ok, const auto& message) {
      w->visit([&] { outcome(*w, ok, message); });
    });
  }
  void await_outcome() {
    const auto limit = std::chrono::steady_clock::now() + 5s;
    while (watch_->outcomes == outcomes_awaited_ && std::chrono::steady_clock::now() < limit) {
      std::this_thread::yield();
    }
    outcomes_awaited_ = watch_->outcomes;
  }

  struct Watch {
    template <typename Action>
    void visit(Action&& action) {
      if (gone) faults |= 1;
      if (inside.fetch_add(1) != 0) faults |= 2;
      action();
      --inside;
    }
    std::atomic<bool> gone{false};
    std::atomic<int> inside{0};
    std::atomic<int> faults{0};
    std::atomic<unsigned> calls{0};
    std::atomic<int> outcomes{0};
  };
  std::shared_ptr<Watch> watch() const { return watch_; }

 private:
  void outcome(Watch& watch, bool connected, const std::wstring& message) {
    if (!connected && message.empty()) watch.faults |= 8;
    const bool late = message.starts_with(L"Serial connection exceeded");
    ++(connected ? seen_.connected : late ? seen_.timed_out : seen_.refused);
    ++watch.outcomes;
  }
  void received(Watch& watch) {
    ++seen_.received;
    sometimes_disconnect(watch);
  }
  void lost(Watch& watch, const std::wstring& text) {
    ++seen_.lost;
    if (text.empty()) watch.faults |= 4;
    sometimes_disconnect(watch);
  }
  void sometimes_disconnect(Watch& watch) {
    if (++watch.calls % 11 == 0) port_.disconnect();
  }

  Seen& seen_;
  std::shared_ptr<Watch> watch_;
  int outcomes_awaited_ = 0;
  SerialPort port_;
};

void random_step(CheckedPort& checked, RandomDriver& driver, std::minstd_rand& random) {
  SerialPort& port = checked.port();
  const std::size_t name = random() % kNames;
  std::wstring error;
  switch (random() % 18) {
    case 0:
    case 1:
    case 2:
    case 3:
      // Mostly with time enough, so that connections come about however loaded the machine is.
      if (checked.connect(name, random() % 4 == 0 ? 2 : 5000) && random() % 4 != 0) checked.await_outcome();
      break;
    case 4: port.disconnect(); break;
    case 5: driver.with_device(name, [](auto& device) { device.unplug(L"The device is gone."); }); break;
    case 6: driver.with_device(name, [](auto& device) { device.feed_exception(); }); break;
    case 7:
      driver.with_device(name, [](auto& device) { device.feed_errors({true, kCommOverrun, 0}); });
      break;
    case 8: driver.with_device(name, [](auto& device) { device.feed_query_failure(L"No status."); }); break;
    case 9: port.discard_input(error); break;
    case 10: port.refresh_status(error); break;
    case 11: port.while_undisturbed([] {}); break;
    case 12: std::this_thread::sleep_for(std::chrono::microseconds(random() % 1000)); break;
    case 13: port.write(std::vector<std::uint8_t>{1, 2, 3}, error); break;
    default: driver.with_device(name, [](auto& device) { device.feed({1, 2, 3, 4}); }); break;
  }
}

TEST(SerialPortStress, RandomStepsLeaveNothingBehind) {
  constexpr int kThreads = 2;
  constexpr int kStepsPerThread = 5000;
  RandomDriver driver;
  std::atomic<int> faults{0};

  // On a starved machine the steps outrun the workers: then more of them, until enough has happened.
  const auto within_limit = [until = std::chrono::steady_clock::now() + 60s] {
    return std::chrono::steady_clock::now() < until;
  };
  const auto run = [&](unsigned seed) {
    std::minstd_rand random(seed);
    std::unique_ptr<CheckedPort> port;
    for (int step = 0; step < kStepsPerThread || (!driver.seen.enough() && within_limit()); ++step) {
      if (!port) port = std::make_unique<CheckedPort>(driver);
      if (random() % 40 != 0) {
        random_step(*port, driver, random);
        continue;
      }
      const auto watch = port->watch();
      port.reset();
      watch->gone = true;
      faults |= watch->faults;
    }
    if (port) faults |= port->watch()->faults;
  };
  {
    std::vector<std::jthread> threads;
    for (unsigned i = 1; i <= kThreads; ++i)
      threads.emplace_back(run, i);
  }
  EXPECT_EQ(faults & 1, 0) << "a callback came after the destructor";
  EXPECT_EQ(faults & 2, 0) << "callbacks overlapped";
  EXPECT_EQ(faults & 4, 0) << "a loss came without a message";
  EXPECT_EQ(faults & 8, 0) << "a failed connect came without a message";
  EXPECT_FALSE(driver.opened_twice) << "a name was open twice at the same time";
  std::cout << "connected " << driver.seen.connected << ", refused " << driver.seen.refused << ", timed out "
            << driver.seen.timed_out << ", received " << driver.seen.received << ", lost " << driver.seen.lost
            << '\n';
  EXPECT_TRUE(driver.seen.enough());

  // Abandoned opens end on their own; the limit only matters when something is broken.
  const auto limit = std::chrono::steady_clock::now() + 20s;
  for (std::size_t name = 0; name < kNames; ++name) {
    SerialPort port([](const auto&, auto&) { return nullptr; }, {});
    bool free = false;
    while (!free && std::chrono::steady_clock::now() < limit) {
      free = port.connect(settings_for(name), 1000, nullptr);
      if (!free) std::this_thread::yield();
    }
    EXPECT_TRUE(free) << "port" << name << " stayed reserved";
  }
  while (driver.open_handles() != 0 && std::chrono::steady_clock::now() < limit)
    std::this_thread::yield();
  EXPECT_EQ(driver.open_handles(), 0) << "a handle leaked";
}

}  // namespace
}  // namespace hvt
