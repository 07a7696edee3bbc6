// What every transport promises, whatever lies behind it. The risks: a thread that cannot be ended, bytes
// lost, doubled or out of order, bytes of the time before a discard delivered after it, an unplugged device
// that is never noticed.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>

#include "serial/echo_transport.h"
#include "serial/transport_limits.h"
#include "tests/support/latch.h"
#include "tests/support/scripted_transport.h"
#include "tests/support/transport_rig.h"

namespace hvt::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

// Far beyond every limit of the contract: a wait that reaches it has failed.
constexpr auto kPatience = 5s;
// More than the queues of any line hold, so that a stalled device makes a write wait.
constexpr std::size_t kMoreThanTheLineHolds = 4 << 20;

class EchoRig final : public TransportRig {
 public:
  ~EchoRig() override { transport_->cancel(); }
  const std::shared_ptr<SerialTransport>& transport() const override { return transport_; }
  void device_sends(std::span<const std::uint8_t> bytes) override {
    std::wstring error;
    transport_->write(bytes, error);
  }
  Bytes device_receives(std::size_t) override { return {}; }
  void device_stalls() override {}
  void device_vanishes() override {}

 private:
  std::shared_ptr<SerialTransport> transport_ = std::make_shared<EchoTransport>();
};

class ScriptedRig final : public TransportRig {
 public:
  ~ScriptedRig() override { transport_->cancel(); }
  const std::shared_ptr<SerialTransport>& transport() const override { return transport_; }
  void device_sends(std::span<const std::uint8_t> bytes) override {
    device_->feed({bytes.begin(), bytes.end()});
  }
  Bytes device_receives(std::size_t count) override {
    const auto deadline = Clock::now() + kPatience;
    while (received_.size() < count && Clock::now() < deadline) {
      if (!device_->wait_for_writes(taken_ + 1)) break;
      const auto writes = device_->writes();
      for (; taken_ < writes.size(); ++taken_)
        received_.insert(received_.end(), writes[taken_].begin(), writes[taken_].end());
    }
    const auto end = received_.begin() + static_cast<std::ptrdiff_t>(std::min(count, received_.size()));
    Bytes result(received_.begin(), end);
    received_.erase(received_.begin(), end);
    return result;
  }
  void device_stalls() override { device_->set_write_mode(ScriptedTransport::WriteMode::kBlock); }
  void device_vanishes() override { device_->unplug(L"Unplugged."); }

 private:
  std::shared_ptr<ScriptedTransport> device_ = std::make_shared<ScriptedTransport>();
  std::shared_ptr<SerialTransport> transport_ = device_;
  std::size_t taken_ = 0;
  Bytes received_;
};

Bytes numbered(std::size_t count, std::size_t first = 0) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i)
    bytes[i] = static_cast<std::uint8_t>((first + i) * 31 >> 3);
  return bytes;
}

// Reads until `count` bytes have come that no discard overtook; fewer after kPatience or a failed read.
Bytes read_current(SerialTransport& transport, std::size_t count) {
  Bytes all;
  Bytes buffer;
  std::wstring error;
  const auto deadline = Clock::now() + kPatience;
  while (all.size() < count && Clock::now() < deadline && transport.read(buffer, error))
    if (transport.read_is_current()) all.insert(all.end(), buffer.begin(), buffer.end());
  return all;
}

struct Outcome {
  bool ok = true;
  std::wstring error;
  Clock::duration took{};
};

Outcome timed_write(SerialTransport& transport, std::span<const std::uint8_t> data) {
  Outcome outcome;
  const auto start = Clock::now();
  outcome.ok = transport.write(data, outcome.error);
  outcome.took = Clock::now() - start;
  return outcome;
}

// Reads on until a read fails, dropping what comes.
Outcome read_to_the_end(SerialTransport& transport) {
  Outcome outcome;
  Bytes buffer;
  const auto start = Clock::now();
  while ((outcome.ok = transport.read(buffer, outcome.error)) && Clock::now() - start < 2 * kPatience) {
  }
  outcome.took = Clock::now() - start;
  return outcome;
}

class TransportContract : public testing::TestWithParam<RigKind> {
 protected:
  void SetUp() override {
    rig_ = GetParam().make();
    ASSERT_NE(rig_, nullptr);
    ASSERT_NE(rig_->transport(), nullptr);
  }
  SerialTransport& transport() { return *rig_->transport(); }
  const RigTraits& traits() const { return GetParam().traits; }

  std::unique_ptr<TransportRig> rig_;
};

#define HVT_ONLY_WITH(trait) \
  if (!traits().trait) GTEST_SKIP() << "this transport has no " #trait

TEST_P(TransportContract, DeliversWhatTheDeviceSendsOnceAndInOrder) {
  Bytes sent;
  std::vector<Bytes> chunks;
  for (std::size_t i = 0; i < 300; ++i) {
    chunks.push_back(numbered(1 + (i * 37) % 700, sent.size()));
    sent.insert(sent.end(), chunks.back().begin(), chunks.back().end());
  }
  std::thread device([&] {
    for (const Bytes& chunk : chunks)
      rig_->device_sends(chunk);
  });
  const Bytes received = read_current(transport(), sent.size());
  device.join();
  EXPECT_TRUE(received == sent) << received.size() << " of " << sent.size() << " bytes";
}

TEST_P(TransportContract, CarriesEveryByteValueBothWays) {
  HVT_ONLY_WITH(device_end);
  Bytes every(256);
  for (std::size_t i = 0; i < every.size(); ++i)
    every[i] = static_cast<std::uint8_t>(i);
  std::wstring error;
  ASSERT_TRUE(transport().write(every, error));
  EXPECT_EQ(rig_->device_receives(every.size()), every);
  rig_->device_sends(every);
  EXPECT_EQ(read_current(transport(), every.size()), every);
}

TEST_P(TransportContract, WritesMoreThanTheLineHoldsToADeviceThatTakesIt) {
  HVT_ONLY_WITH(device_end);
  const Bytes data = numbered(200'000);
  Outcome outcome;
  std::thread writer([&] { outcome = timed_write(transport(), data); });
  const Bytes received = rig_->device_receives(data.size());
  writer.join();
  EXPECT_TRUE(outcome.ok);
  EXPECT_TRUE(received == data) << received.size() << " of " << data.size() << " bytes";
}

TEST_P(TransportContract, ReturnsEmptyHandedWhileTheLineIsSilent) {
  HVT_ONLY_WITH(idle_return);
  Bytes buffer(3);
  std::wstring error;
  const auto start = Clock::now();
  EXPECT_TRUE(transport().read(buffer, error));
  EXPECT_TRUE(buffer.empty());
  // The time-outs of the systems are rounded to their ticks (16 ms at worst).
  EXPECT_GE(Clock::now() - start, kIdleReturn - 16ms);
  EXPECT_LT(Clock::now() - start, kPatience);
}

TEST_P(TransportContract, AnEmptyWriteSucceedsAtOnceEvenWhenTheDeviceTakesNothing) {
  rig_->device_stalls();
  const Outcome outcome = timed_write(transport(), {});
  EXPECT_TRUE(outcome.ok);
  EXPECT_LT(outcome.took, kWriteLimit / 2);
}

TEST_P(TransportContract, AWriteToAStalledDeviceEndsAtItsDeadline) {
  HVT_ONLY_WITH(write_deadline);
  rig_->device_stalls();
  const Outcome outcome = timed_write(transport(), Bytes(kMoreThanTheLineHolds));
  EXPECT_FALSE(outcome.ok);
  EXPECT_EQ(outcome.error, kWriteTimedOut);
  EXPECT_GE(outcome.took, kWriteLimit - 16ms);  // rounded to a system tick
  EXPECT_LT(outcome.took, kWriteLimit + 1s);    // a loaded machine may wake the writer late
}

TEST_P(TransportContract, TheWriteDeadlineCoversTheWholeCallHoweverManyPiecesItTakes) {
  HVT_ONLY_WITH(write_deadline);
  // The device takes a little all the time, so that no single wait is long.
  std::mutex mutex;
  bool done = false;
  std::thread device([&] {
    const auto is_done = [&] {
      const std::lock_guard lock(mutex);
      return done;
    };
    const auto deadline = Clock::now() + kPatience;
    while (!is_done() && Clock::now() < deadline) {
      rig_->device_receives(2048);
      std::this_thread::sleep_for(20ms);
    }
  });
  const Outcome outcome = timed_write(transport(), Bytes(kMoreThanTheLineHolds));
  {
    const std::lock_guard lock(mutex);
    done = true;
  }
  rig_->transport()->cancel();
  device.join();
  EXPECT_FALSE(outcome.ok);
  EXPECT_EQ(outcome.error, kWriteTimedOut);
  EXPECT_LT(outcome.took, kWriteLimit + 1s);
}

TEST_P(TransportContract, ACancelBeforehandFailsReadsSilentlyAndWritesWithAReason) {
  rig_->device_sends(numbered(10));
  transport().cancel();
  transport().cancel();
  Bytes buffer(3);
  std::wstring error;
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(transport().read(buffer, error));
    EXPECT_EQ(error, L"");
    const Outcome outcome = timed_write(transport(), numbered(10));
    EXPECT_FALSE(outcome.ok);
    EXPECT_NE(outcome.error, L"");
  }
}

// The latch is passed just before the read begins, so that over the rounds the cancel falls before, at and
// after the moment the reader begins to wait.
TEST_P(TransportContract, ACancelEndsABlockedRead) {
  for (int round = 0; round < 50; ++round) {
    const auto rig = GetParam().make();
    Latch about_to_read(1);
    Outcome outcome;
    std::thread reader([&] {
      about_to_read.count_down();
      outcome = read_to_the_end(*rig->transport());
    });
    about_to_read.wait();
    if (round % 2 == 1) std::this_thread::yield();
    rig->transport()->cancel();
    reader.join();
    EXPECT_FALSE(outcome.ok);
    EXPECT_EQ(outcome.error, L"");
    EXPECT_LT(outcome.took, kPatience);
  }
}

TEST_P(TransportContract, ACancelEndsABlockedWriteWithoutWaitingForItsDeadline) {
  HVT_ONLY_WITH(write_blocks);
  for (int round = 0; round < 20; ++round) {
    const auto rig = GetParam().make();
    rig->device_stalls();
    const Bytes data(kMoreThanTheLineHolds);
    Latch about_to_write(1);
    Outcome outcome;
    std::thread writer([&] {
      about_to_write.count_down();
      outcome = timed_write(*rig->transport(), data);
    });
    about_to_write.wait();
    rig->transport()->cancel();
    writer.join();
    EXPECT_FALSE(outcome.ok);
    EXPECT_EQ(outcome.error, kConnectionClosed);
  }
}

TEST_P(TransportContract, ADiscardDropsWhatWasReceivedAndKeepsWhatComesAfterwards) {
  HVT_ONLY_WITH(discard);
  std::wstring error;
  rig_->device_sends(numbered(1000));
  ASSERT_FALSE(read_current(transport(), 1).empty());
  rig_->device_sends(Bytes(500, 0xAA));
  ASSERT_TRUE(transport().discard_input(error)) << std::string(error.begin(), error.end());
  const Bytes fresh(100, 0x55);
  rig_->device_sends(fresh);
  EXPECT_EQ(read_current(transport(), fresh.size()), fresh);
}

TEST_P(TransportContract, ADiscardAfterBytesWereTakenMarksTheirReadAsOvertaken) {
  HVT_ONLY_WITH(overtakes);
  Bytes buffer;
  std::wstring error;
  rig_->device_sends(numbered(10));
  while (buffer.empty())
    ASSERT_TRUE(transport().read(buffer, error));
  EXPECT_TRUE(transport().read_is_current());
  ASSERT_TRUE(transport().discard_input(error));
  EXPECT_FALSE(transport().read_is_current());
  rig_->device_sends(numbered(10));
  EXPECT_EQ(read_current(transport(), 10), numbered(10));
}

// A discard while a read waits must neither end the reader nor cost a byte that arrives after it.
TEST_P(TransportContract, ADiscardDuringAReadLosesNothingThatComesAfterIt) {
  HVT_ONLY_WITH(discard);
  for (std::size_t round = 0; round < 50; ++round) {
    Latch about_to_read(1);
    Bytes received;
    std::thread reader([&] {
      about_to_read.count_down();
      received = read_current(transport(), 20);
    });
    about_to_read.wait();
    std::wstring error;
    EXPECT_TRUE(transport().discard_input(error));
    rig_->device_sends(numbered(20, round));
    reader.join();
    ASSERT_EQ(received, numbered(20, round)) << "round " << round;
  }
}

// A read that collects its bytes in several steps may be overtaken between two of them.
TEST_P(TransportContract, NoReadMixesBytesFromBeforeADiscardWithBytesFromAfterIt) {
  HVT_ONLY_WITH(discard);
  const Bytes before(8192, 'A');
  const Bytes after(8192, 'B');
  for (int round = 0; round < 100; ++round) {
    Latch reading(1);
    std::size_t mixed = 0;
    std::ptrdiff_t fresh = 0;
    std::thread reader([&] {
      Bytes buffer;
      std::wstring error;
      reading.count_down();
      while (fresh < std::ssize(after) && transport().read(buffer, error)) {
        if (!transport().read_is_current()) continue;
        const auto news = std::count(buffer.begin(), buffer.end(), 'B');
        mixed += news != 0 && news != std::ssize(buffer) ? 1 : 0;
        fresh += news;
      }
    });
    reading.wait();
    std::wstring error;
    rig_->device_sends(before);
    EXPECT_TRUE(transport().discard_input(error));
    rig_->device_sends(after);
    reader.join();
    ASSERT_EQ(mixed, 0U) << "round " << round;
  }
}

TEST_P(TransportContract, AnUnpluggedDeviceEndsTheReaderWithAReason) {
  HVT_ONLY_WITH(unplug);
  Latch about_to_read(1);
  Outcome outcome;
  std::thread reader([&] {
    about_to_read.count_down();
    outcome = read_to_the_end(transport());
  });
  about_to_read.wait();
  rig_->device_vanishes();
  reader.join();
  EXPECT_FALSE(outcome.ok);
  EXPECT_NE(outcome.error, L"");
  EXPECT_LT(outcome.took, kPatience);
  EXPECT_FALSE(read_to_the_end(transport()).ok);
}

TEST_P(TransportContract, AnUnpluggedDeviceFailsWritesWithAReason) {
  HVT_ONLY_WITH(unplug);
  rig_->device_vanishes();
  const Outcome outcome = timed_write(transport(), numbered(10));
  EXPECT_FALSE(outcome.ok);
  EXPECT_NE(outcome.error, L"");
  EXPECT_NE(outcome.error, kWriteTimedOut);
}

TEST_P(TransportContract, AnUnplugEndsABlockedWrite) {
  if (!traits().unplug || !traits().write_blocks) GTEST_SKIP() << "this transport cannot show it";
  rig_->device_stalls();
  const Bytes data(kMoreThanTheLineHolds);
  Latch about_to_write(1);
  Outcome outcome;
  std::thread writer([&] {
    about_to_write.count_down();
    outcome = timed_write(transport(), data);
  });
  about_to_write.wait();
  rig_->device_vanishes();
  writer.join();
  EXPECT_FALSE(outcome.ok);
  EXPECT_NE(outcome.error, L"");
  EXPECT_NE(outcome.error, kWriteTimedOut);
}

TEST_P(TransportContract, AnErrorPollClearsItsResultsAndSucceeds) {
  CommErrorSnapshot errors{true, 0xFF, 77};
  std::wstring error = L"stale";
  EXPECT_TRUE(transport().query_errors(errors, error));
  EXPECT_EQ(errors.mask, 0U);
  EXPECT_EQ(errors.input_queued_bytes, 0U);
  EXPECT_EQ(error, L"");
}

// Both directions, the error poll and finally the cancel at the same time; ThreadSanitizer looks on.
TEST_P(TransportContract, ReadsWritesAndPollsAtTheSameTime) {
  HVT_ONLY_WITH(device_end);
  constexpr std::size_t kRounds = 100;
  constexpr std::size_t kPacket = 64;
  const Bytes to_device = numbered(kRounds * kPacket);
  const Bytes to_host = numbered(kRounds * kPacket, 5);
  Bytes at_device;
  Bytes at_host;
  bool writes_ok = true;
  Latch finished(3);
  std::thread device([&] {
    for (std::size_t i = 0; i < kRounds; ++i) {
      const Bytes got = rig_->device_receives(kPacket);
      at_device.insert(at_device.end(), got.begin(), got.end());
      rig_->device_sends(std::span(to_host).subspan(i * kPacket, kPacket));
    }
    finished.count_down();
  });
  std::thread reader([&] {
    at_host = read_current(transport(), to_host.size());
    finished.count_down();
    read_to_the_end(transport());
  });
  std::thread writer([&] {
    std::wstring error;
    for (std::size_t i = 0; i < kRounds; ++i)
      writes_ok &= transport().write(std::span(to_device).subspan(i * kPacket, kPacket), error);
    finished.count_down();
  });
  std::thread poller([&] {
    CommErrorSnapshot errors;
    std::wstring error;
    while (!finished.try_wait())
      transport().query_errors(errors, error);
    transport().cancel();
  });
  for (std::thread* thread : {&device, &reader, &writer, &poller})
    thread->join();
  EXPECT_TRUE(writes_ok);
  EXPECT_TRUE(at_device == to_device) << at_device.size();
  EXPECT_TRUE(at_host == to_host) << at_host.size();
}

INSTANTIATE_TEST_SUITE_P(Every, TransportContract, testing::ValuesIn(rig_kinds()),
                         [](const auto& kind) { return kind.param.name; });

TEST(EchoTransport, RehearsedFaultsAndTheEndUseItsOwnTexts) {
  EchoTransport echo;
  Bytes buffer;
  std::wstring error;
  echo.set_echo(false);
  EXPECT_TRUE(echo.write(numbered(3), error));
  echo.set_echo(true);
  EXPECT_TRUE(echo.write(numbered(5), error));
  ASSERT_TRUE(echo.read(buffer, error));
  EXPECT_EQ(buffer, numbered(5)) << "what was written without echo must not come back";

  echo.set_fail_writes(true);
  EXPECT_FALSE(echo.write(numbered(1), error));
  EXPECT_EQ(error, L"Simulated write failure");
  echo.set_fail_writes(false);
  echo.cancel();
  error.clear();
  EXPECT_FALSE(echo.write(numbered(1), error));
  EXPECT_EQ(error, L"Simulated write failure");
}

TEST(EchoTransport, EachWriteComesBackAsOneRead) {
  EchoTransport echo;
  std::wstring error;
  for (const std::size_t size : {3U, 100'000U, 1U})
    ASSERT_TRUE(echo.write(numbered(size), error));
  for (const std::size_t size : {3U, 100'000U, 1U}) {
    Bytes buffer;
    ASSERT_TRUE(echo.read(buffer, error));
    EXPECT_EQ(buffer, numbered(size));
  }
}

}  // namespace

std::vector<RigKind> rig_kinds() {
  std::vector<RigKind> kinds{
      {"Echo", {.discard = true}, [] { return std::make_unique<EchoRig>(); }},
      {"Scripted",
       {.write_blocks = true, .unplug = true, .discard = true, .overtakes = true, .device_end = true},
       [] { return std::make_unique<ScriptedRig>(); }},
  };
  for (RigKind& kind : system_rig_kinds())
    kinds.push_back(std::move(kind));
  return kinds;
}

}  // namespace hvt::test
