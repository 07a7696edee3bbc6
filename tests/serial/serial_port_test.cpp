// Risk: SerialPort's promises to its user: what is reported, in which order, and that a slow or broken driver
// neither blocks a caller nor keeps a port for ever. The random meetings of its threads are the stress
// test's.

#include "serial/serial_port.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/latch.h"
#include "tests/support/scripted_transport.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;
using test::ScriptedTransport;
using Bytes = std::vector<std::uint8_t>;

constexpr int kLong = 60'000;  // a connection time-out that never passes in a test

// A port whose callbacks are recorded.
class Recorded {
 public:
  explicit Recorded(TransportFactory factory)
      : port(std::move(factory), {.received = [this](const auto& bytes, auto) { note(received_, bytes); },
                                  .status = [this](const auto& status) { note(statuses_, status); },
                                  .lost = [this](const auto& text) { note(lost_, text); }}) {}

  bool connect(const std::wstring& name = L"COM9", int timeout_ms = kLong) {
    return port.connect({.port = name}, timeout_ms,
                        [this](bool ok, const auto& text) { note(outcomes_, std::pair(ok, text)); });
  }
  // Runs inside the next callbacks.
  void in_callback(std::function<void()> action) { action_ = std::move(action); }

  template <typename List>
  auto wait_for(List Recorded::*list, std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, 5s, [&] { return (this->*list).size() >= count; });
    return this->*list;
  }
  auto outcomes(std::size_t count) { return wait_for(&Recorded::outcomes_, count); }
  auto received(std::size_t count) { return wait_for(&Recorded::received_, count); }
  auto statuses(std::size_t count) { return wait_for(&Recorded::statuses_, count); }
  auto lost(std::size_t count) { return wait_for(&Recorded::lost_, count); }

 private:
  template <typename List, typename Entry>
  void note(List& list, const Entry& entry) {
    if (action_) action_();
    {
      const std::lock_guard lock(mutex_);
      list.push_back(entry);
    }
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::pair<bool, std::wstring>> outcomes_;
  std::vector<Bytes> received_;
  std::vector<SerialStatus> statuses_;
  std::vector<std::wstring> lost_;
  std::function<void()> action_;

 public:
  SerialPort port;  // last: no callback comes after it is gone
};

// A connect() that may have to wait for a worker that is just letting go of the name.
bool connects_soon(Recorded& recorded, const std::wstring& name) {
  const auto limit = std::chrono::steady_clock::now() + 5s;
  while (!recorded.connect(name)) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::yield();
  }
  return true;
}

// The port with a live connection to `device`, told with the device's notice.
std::unique_ptr<Recorded> connected(const std::shared_ptr<ScriptedTransport>& device) {
  const std::wstring notice = L"The device set 38400 baud.";
  auto recorded = std::make_unique<Recorded>([=](const auto&, std::wstring& error) {
    error = notice;
    return device;
  });
  EXPECT_TRUE(connects_soon(*recorded, L"COM9"));
  EXPECT_EQ(recorded->outcomes(1), (std::vector{std::pair(true, notice)}));
  return recorded;
}

TEST(SerialPort, EveryFailingDriverGivesItsMessageAndThePortCanBeTriedAgain) {
  struct Case {
    const char* name;
    TransportFactory factory;
    std::wstring message;
  };
  const Case cases[] = {
      {"says why",
       [](auto&, auto& error) {
         error = L"Access denied.";
         return nullptr;
       },
       L"Access denied."},
      {"says nothing", [](auto&, auto&) { return nullptr; }, L"Could not open serial port."},
      {"throws", [](auto&, auto&) -> std::shared_ptr<SerialTransport> { throw std::runtime_error("x"); },
       L"Serial driver failed while opening the port."},
      {"throws anything", [](auto&, auto&) -> std::shared_ptr<SerialTransport> { throw 1; },
       L"Unexpected serial driver failure."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Recorded recorded(c.factory);
    ASSERT_TRUE(connects_soon(recorded, L"COM9"));
    EXPECT_EQ(recorded.outcomes(1), (std::vector{std::pair(false, c.message)}));
    ASSERT_TRUE(recorded.connect());  // at once: nothing is reserved any more
    EXPECT_EQ(recorded.outcomes(2).size(), 2u);
  }
}

TEST(SerialPort, RefusesInvalidRequestsWithoutStartingAnything) {
  Recorded recorded([](const auto&, auto&) -> std::shared_ptr<SerialTransport> { throw "opened"; });
  EXPECT_FALSE(recorded.connect(L""));
  EXPECT_FALSE(recorded.connect(L"COM9", 0));
  EXPECT_TRUE(recorded.outcomes(0).empty());
}

TEST(SerialPort, AnOpenPastItsTimeOutIsAbandonedAndKeepsOnlyItsOwnPortReserved) {
  test::Latch let_go(1);
  test::Latch destroyed(1);
  auto late = std::make_shared<ScriptedTransport>([&] { destroyed.count_down(); });
  Recorded recorded([&](const SerialSettings& settings, auto&) -> std::shared_ptr<SerialTransport> {
    if (settings.port != L"COM19") return std::make_shared<ScriptedTransport>();
    if (late) let_go.wait();
    return late ? std::exchange(late, nullptr) : std::make_shared<ScriptedTransport>();
  });

  ASSERT_TRUE(recorded.connect(L"COM19", 20));  // real time: the time-out passes
  EXPECT_EQ(recorded.outcomes(1).back(),
            std::pair(false, std::wstring(L"Serial connection exceeded 20 ms.")));
  EXPECT_FALSE(recorded.connect(L"COM19"));
  EXPECT_TRUE(recorded.connect(L"COM10"));
  EXPECT_TRUE(recorded.outcomes(2).back().first);
  recorded.port.disconnect();

  let_go.count_down();
  destroyed.wait();  // the late transport is closed, never used
  EXPECT_TRUE(connects_soon(recorded, L"COM19"));
  EXPECT_TRUE(recorded.outcomes(3).back().first);
}

TEST(SerialPort, ADisconnectDuringTheOpenIsTheLastWord) {
  test::Latch inside(1);
  test::Latch let_go(1);
  test::Latch destroyed(1);
  Recorded recorded([&](const auto&, auto&) {
    inside.count_down();
    let_go.wait();
    return std::make_shared<ScriptedTransport>([&] { destroyed.count_down(); });
  });
  ASSERT_TRUE(connects_soon(recorded, L"COM9"));
  inside.wait();
  recorded.port.disconnect();  // returns although the driver does not
  let_go.count_down();
  destroyed.wait();
  EXPECT_TRUE(recorded.outcomes(0).empty());
}

TEST(SerialPort, DeliversChunksInOrderAndCountsThem) {
  const auto device = std::make_shared<ScriptedTransport>();
  const auto recorded = connected(device);
  device->feed({1, 2, 3});
  device->feed({4});
  EXPECT_EQ(recorded->received(2), (std::vector<Bytes>{{1, 2, 3}, {4}}));
  device->feed_errors({.available = true, .mask = kCommFrame, .input_queued_bytes = 9});
  device->feed_idle();
  const SerialStatus status = recorded->statuses(1).back();
  EXPECT_EQ(status.rx_bytes, 4u);
  EXPECT_EQ(status.input_queued_bytes, 9u);
}

TEST(SerialPort, CountsPollsNotCharacters) {
  const auto device = std::make_shared<ScriptedTransport>();
  device->set_default_errors({.available = true});
  const auto recorded = connected(device);
  const auto poll = [&](std::uint32_t mask) {
    device->feed_errors({.available = true, .mask = mask});
    device->feed_idle();
    ASSERT_TRUE(device->wait_until_reading());
  };
  poll(kCommParity);
  poll(kCommParity);
  poll(kCommOverrun | kCommRxOver);
  const auto told = recorded->statuses(3);
  ASSERT_GE(told.size(), 3u);
  const SerialStatus& status = told[2];
  EXPECT_EQ(status.observations, 3u);
  EXPECT_EQ(status.parity_observations, 2u);
  EXPECT_EQ(status.overflow_or_overrun_observations, 1u);
  EXPECT_EQ(status.rx_overflow_observations, 1u);
  EXPECT_EQ(status.overrun_observations, 1u);
  EXPECT_EQ(status.error_mask, kCommParity | kCommOverrun | kCommRxOver);
  EXPECT_EQ(status.last_error_mask, kCommOverrun | kCommRxOver);

  device->feed_query_failure(L"");
  std::wstring error;
  EXPECT_FALSE(recorded->port.refresh_status(error));
  EXPECT_EQ(error, L"Could not query serial communication status.");
  const SerialStatus failed = recorded->statuses(4).back();
  EXPECT_TRUE(failed.query_failed);
  EXPECT_EQ(failed.query_failures, 1u);
  EXPECT_EQ(failed.observations, 3u);
}

TEST(SerialPort, DropsBytesThatADiscardOvertook) {
  const auto device = std::make_shared<ScriptedTransport>();
  const auto recorded = connected(device);
  device->hold_deliveries();
  device->feed({1, 1});
  ASSERT_TRUE(device->wait_until_held());
  std::wstring error;
  EXPECT_TRUE(recorded->port.discard_input(error));
  device->release_deliveries();
  device->feed({2});
  EXPECT_EQ(recorded->received(1), (std::vector<Bytes>{{2}}));
}

TEST(SerialPort, WritesBesideABlockedReadAndReportsFailures) {
  std::wstring error;
  const auto device = std::make_shared<ScriptedTransport>();
  const auto recorded = connected(device);
  ASSERT_TRUE(device->wait_until_reading());
  const Bytes data{7, 8};
  EXPECT_TRUE(recorded->port.write(data, error));
  EXPECT_EQ(device->writes(), (std::vector<Bytes>{{7, 8}}));

  device->set_write_mode(ScriptedTransport::WriteMode::kFail, L"");
  EXPECT_FALSE(recorded->port.write(data, error));
  EXPECT_EQ(error, L"Serial write failed.");
  device->set_write_mode(ScriptedTransport::WriteMode::kThrow);
  EXPECT_FALSE(recorded->port.write(data, error));
  EXPECT_EQ(error, L"Unexpected serial driver failure.");
  device->set_discard_failure(L"");
  EXPECT_FALSE(recorded->port.discard_input(error));
  EXPECT_EQ(error, L"Could not discard serial input.");

  recorded->port.disconnect();
  for (const auto& call : {std::function([&] { return recorded->port.write(data, error); }),
                           std::function([&] { return recorded->port.discard_input(error); }),
                           std::function([&] { return recorded->port.refresh_status(error); })}) {
    error.clear();
    EXPECT_FALSE(call());
    EXPECT_EQ(error, L"Connect to a COM port first.");
  }
}

TEST(SerialPort, ReceivesAndDisconnectsWhileAWriteIsBlocked) {
  auto device = std::make_shared<ScriptedTransport>();
  auto recorded = connected(device);
  device->set_write_mode(ScriptedTransport::WriteMode::kBlock);
  std::wstring error;
  std::jthread writer([&] { recorded->port.write(Bytes{1}, error); });
  ASSERT_TRUE(device->wait_until_write_blocks());
  device->feed({5});
  EXPECT_EQ(recorded->received(1), (std::vector<Bytes>{{5}}));
  recorded->port.disconnect();
  writer.join();
  EXPECT_EQ(error, L"Serial connection closed.");
  EXPECT_TRUE(recorded->lost(0).empty());
  // The factory and this test are the last to hold it: disconnect() let go before it returned.
  EXPECT_EQ(device.use_count(), 2);
}

TEST(SerialPort, ALostConnectionIsToldOnceWithStatusFirst) {
  struct Case {
    const char* name;
    std::function<void(ScriptedTransport&)> end;
    std::wstring message;
  };
  const Case cases[] = {
      {"with a message", [](auto& device) { device.unplug(L"The device is gone."); }, L"The device is gone."},
      {"without a message", [](auto& device) { device.feed_failure(L""); }, L"Serial connection closed."},
      {"exception", [](auto& device) { device.feed_exception(); }, L"Unexpected serial driver failure."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const auto device = std::make_shared<ScriptedTransport>();
    const auto recorded = connected(device);
    device->feed({1});
    recorded->received(1);
    c.end(*device);
    EXPECT_EQ(recorded->lost(1), (std::vector{c.message}));
    const auto statuses = recorded->statuses(1);
    ASSERT_FALSE(statuses.empty());
    const SerialStatus& status = statuses.back();
    EXPECT_TRUE(status.connection_lost);
    EXPECT_EQ(status.disconnect_count, 1u);
    std::wstring error;
    EXPECT_FALSE(recorded->port.write(Bytes{1}, error));
    EXPECT_EQ(error, L"Connect to a COM port first.");
    EXPECT_TRUE(connects_soon(*recorded, L"COM9"));
  }
}

TEST(SerialPort, DisconnectFromInsideACallbackDoesNotDeadlock) {
  const auto device = std::make_shared<ScriptedTransport>();
  const auto recorded = connected(device);
  recorded->in_callback([&] { recorded->port.disconnect(); });
  device->feed({1});
  recorded->received(1);
  EXPECT_TRUE(connects_soon(*recorded, L"COM10"));  // its outcome disconnects again, from the callback
  EXPECT_EQ(recorded->outcomes(2).size(), 2u);
}

TEST(SerialPort, NothingIsDeliveredWhileUndisturbed) {
  const auto device = std::make_shared<ScriptedTransport>();
  const auto recorded = connected(device);
  recorded->port.while_undisturbed([&] {
    device->feed({1});
    EXPECT_TRUE(device->wait_until_read_out());
    EXPECT_TRUE(recorded->received(0).empty());
  });
  EXPECT_EQ(recorded->received(1), (std::vector<Bytes>{{1}}));
}

TEST(SerialPort, TheHandleIsClosedByTheReceiveThreadWhateverTheTiming) {
  for (int round = 0; round < 300; ++round) {
    std::thread::id destroyer;
    auto device = std::make_shared<ScriptedTransport>([&] { destroyer = std::this_thread::get_id(); });
    Recorded recorded([&](const auto&, auto&) { return std::exchange(device, nullptr); });
    ASSERT_TRUE(connects_soon(recorded, L"COM9"));
    ASSERT_EQ(recorded.outcomes(1).size(), 1u);
    recorded.port.disconnect();
    ASSERT_NE(destroyer, std::thread::id());
    ASSERT_NE(destroyer, std::this_thread::get_id());
  }
}

TEST(SerialPort, ADriverThatIgnoresTheCancellingDoesNotHoldUpDisconnect) {
  // Reads for as long as it likes, whatever cancel() says.
  class Stubborn final : public SerialTransport {
   public:
    Stubborn(test::Latch& inside, test::Latch& let_go) : inside_(inside), let_go_(let_go) {}
    bool read(Bytes&, std::wstring&) override {
      inside_.count_down();
      let_go_.wait();
      return false;
    }
    bool write(std::span<const std::uint8_t>, std::wstring&) override { return false; }
    bool discard_input(std::wstring&) override { return true; }
    void cancel() override {}

   private:
    test::Latch& inside_;
    test::Latch& let_go_;
  };
  test::Latch inside(1);
  test::Latch let_go(1);
  auto stubborn = std::make_shared<Stubborn>(inside, let_go);
  Recorded recorded([&](const auto&, auto&) -> std::shared_ptr<SerialTransport> {
    if (stubborn) return std::exchange(stubborn, nullptr);
    return std::make_shared<ScriptedTransport>();
  });
  ASSERT_TRUE(connects_soon(recorded, L"COM9"));
  inside.wait();
  recorded.port.disconnect();               // real time: this takes kReleaseLimit
  EXPECT_FALSE(recorded.connect(L"COM9"));  // its handle is still open
  let_go.count_down();
  EXPECT_TRUE(connects_soon(recorded, L"COM9"));
  EXPECT_TRUE(recorded.outcomes(2).back().first);
}

}  // namespace
}  // namespace hvt
