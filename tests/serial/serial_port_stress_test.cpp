// Risk: the meetings of open worker, connection thread and callers in SerialPort. Random steps against a
// driver that is slow, throws, refuses and breaks; made for ThreadSanitizer. Checked all along: callbacks
// never overlap and never come after the destructor, no name is ever open twice, every handle is closed and
// every name is free in the end.

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <memory>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/guarded.h"
#include "serial/serial_port.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;

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

// The driver behind all ports of the test: hands out transports and knows which names are open.
class RandomDriver {
 public:
  class Transport;

  std::shared_ptr<SerialTransport> open(const SerialSettings& settings, std::wstring& error);

  std::atomic<int> live_handles{0};
  std::atomic<bool> opened_twice{false};
  Seen seen;
  std::array<std::atomic<int>, kNames> open_handles{};

 private:
  Guarded<std::minstd_rand> random_{std::minstd_rand(7)};
};

// Reads what was written; breaks on request.
class RandomDriver::Transport final : public SerialTransport {
 public:
  Transport(RandomDriver& driver, std::size_t name) : driver_(driver), name_(name) {
    ++driver_.live_handles;
    if (++driver_.open_handles[name_] > 1) driver_.opened_twice = true;
  }
  ~Transport() override {
    --driver_.open_handles[name_];
    --driver_.live_handles;
  }

  bool read(std::vector<std::uint8_t>& buffer, std::wstring& error) override {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, 1ms, [&] { return closed_ || broken_ || !pending_.empty(); });
    buffer.clear();
    if (closed_) return false;
    if (broken_ == 2) throw std::runtime_error("driver");
    if (broken_) {
      error = L"The device is gone.";
      return false;
    }
    buffer.swap(pending_);
    return true;
  }
  bool write(std::span<const std::uint8_t> data, std::wstring&) override {
    {
      const std::lock_guard lock(mutex_);
      if (closed_) return false;
      if (data.size() == 2) broken_ = 1;  // the test's way to unplug
      if (data.size() == 3) broken_ = 2;
      pending_.insert(pending_.end(), data.begin(), data.end());
    }
    changed_.notify_all();
    return true;
  }
  void cancel() override {
    {
      const std::lock_guard lock(mutex_);
      closed_ = true;
    }
    changed_.notify_all();
  }
  bool discard_input(std::wstring&) override {
    const std::lock_guard lock(mutex_);
    pending_.clear();
    return true;
  }
  bool query_errors(CommErrorSnapshot& out, std::wstring&) override {
    out = {.available = true, .mask = ++polls_ % 5 == 0 ? kCommOverrun : 0u, .input_queued_bytes = 0};
    return polls_ % 7 != 0;
  }

 private:
  RandomDriver& driver_;
  const std::size_t name_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::uint8_t> pending_;
  bool closed_ = false;
  int broken_ = 0;
  std::atomic<unsigned> polls_{0};
};

std::shared_ptr<SerialTransport> RandomDriver::open(const SerialSettings& settings, std::wstring& error) {
  const auto name = static_cast<std::size_t>(settings.port.back() - L'0');
  switch (random_.with([](auto& random) { return random() % 8; })) {
    case 0: error = L"No."; return nullptr;
    case 1: return nullptr;
    case 2: throw std::runtime_error("driver");
    case 3: throw 3;
    case 4: std::this_thread::sleep_for(3ms); break;  // longer than some time-outs below
    case 5: std::this_thread::sleep_for(300us); break;
    default: break;
  }
  return std::make_shared<Transport>(*this, name);
}

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

void random_step(CheckedPort& checked, std::minstd_rand& random) {
  static constexpr std::array<std::uint8_t, 4> kData{1, 2, 3, 4};
  SerialPort& port = checked.port();
  std::wstring error;
  switch (random() % 16) {
    case 0:
    case 1:
    case 2:
    case 3:
      // Mostly with time enough, so that connections come about however loaded the machine is.
      if (checked.connect(random() % kNames, random() % 4 == 0 ? 2 : 5000) && random() % 4 != 0) {
        checked.await_outcome();
      }
      break;
    case 4: port.disconnect(); break;
    case 5: port.write(std::span(kData).first(random() % 4 == 0 ? 3 : 2), error); break;  // unplug
    case 6: port.discard_input(error); break;
    case 7: port.refresh_status(error); break;
    case 8: port.while_undisturbed([] {}); break;
    case 9: std::this_thread::sleep_for(std::chrono::microseconds(random() % 1000)); break;
    default: port.write(kData, error); break;
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
        random_step(*port, random);
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
  while (driver.live_handles != 0 && std::chrono::steady_clock::now() < limit)
    std::this_thread::yield();
  EXPECT_EQ(driver.live_handles, 0) << "a handle leaked";
}

}  // namespace
}  // namespace hvt
