// What every transport promises, whatever lies behind it. The risks: a thread that cannot be ended, bytes
// lost, doubled or out of order, bytes of the time before a discard delivered after it, an unplugged device
// that is never noticed.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <iterator>
#include <thread>
#include <utility>

#include "serial/echo_transport.h"
#include "serial/transport_limits.h"
#include "tests/support/latch.h"
#include "tests/support/scripted_transport.h"
#include "tests/support/time_limit.h"
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
// The time-outs of the systems are rounded to their ticks (16 ms at worst).
constexpr auto kTick = 16ms;
// Time for another thread to get from its first statement into a wait, well below every limit of the
// contract.
constexpr auto kTimeToBlock = 10ms;

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

TimeLimit limit_for(SerialTransport& transport, std::string what) {
  return TimeLimit(std::move(what), [&transport] { transport.cancel(); });
}

// Reads until `count` bytes have come that no discard overtook; fewer after the limit or a failed read.
Bytes read_current(SerialTransport& transport, std::size_t count, const TimeLimit& limit) {
  Bytes all;
  Bytes buffer;
  std::wstring error;
  while (all.size() < count && !limit.expired() && transport.read(buffer, error))
    if (transport.read_is_current()) all.insert(all.end(), buffer.begin(), buffer.end());
  return all;
}

Bytes read_current(SerialTransport& transport, std::size_t count) {
  const TimeLimit limit = limit_for(transport, std::to_string(count) + " bytes to be read");
  return read_current(transport, count, limit);
}

// How the last call of a series ended, and when the one before it began.
struct Outcome {
  bool ok = true;
  std::wstring error;
  Clock::time_point began{};
  Clock::time_point ended{};
  Clock::time_point previous_began{};

  Clock::duration took() const { return ended - began; }
};

Outcome timed_write(SerialTransport& transport, std::span<const std::uint8_t> data) {
  const TimeLimit limit = limit_for(transport, "a write to end");
  Outcome outcome;
  outcome.began = Clock::now();
  outcome.ok = transport.write(data, outcome.error);
  outcome.ended = Clock::now();
  return outcome;
}

// Reads on until a read fails, dropping what comes.
Outcome read_to_the_end(SerialTransport& transport, const TimeLimit& limit) {
  Outcome outcome;
  Bytes buffer;
  do {
    outcome.previous_began = std::exchange(outcome.began, Clock::now());
    outcome.ok = transport.read(buffer, outcome.error);
  } while (outcome.ok && !limit.expired());
  outcome.ended = Clock::now();
  return outcome;
}

Outcome read_to_the_end(SerialTransport& transport) {
  const TimeLimit limit = limit_for(transport, "a read to fail");
  return read_to_the_end(transport, limit);
}

// A write of more than the line holds, on a thread of its own.
class LongWrite {
 public:
  explicit LongWrite(SerialTransport& transport)
      : thread_([this, &transport] {
          begun_.count_down();
          outcome_ = timed_write(transport, Bytes(kMoreThanTheLineHolds));
          over_ = true;
        }) {
    begun_.wait();
  }
  LongWrite(const LongWrite&) = delete;
  LongWrite& operator=(const LongWrite&) = delete;
  ~LongWrite() {
    if (thread_.joinable()) thread_.join();
  }

  // False for a write that is over although nobody took what it wrote.
  bool blocks() const {
    std::this_thread::sleep_for(2 * kTimeToBlock);
    return !over_;
  }
  Outcome end() {
    thread_.join();
    return outcome_;
  }

 private:
  Latch begun_{1};
  std::atomic<bool> over_{false};
  Outcome outcome_;
  std::thread thread_;
};

// Opening and closing a line may hang as well.
struct RigCloser {
  void operator()(TransportRig* rig) const {
    const TimeLimit limit("the line to be closed");
    delete rig;
  }
};
using RigPtr = std::unique_ptr<TransportRig, RigCloser>;

class TransportContract : public testing::TestWithParam<RigKind> {
 protected:
  void SetUp() override {
    rig_ = make_rig();
    ASSERT_NE(rig_, nullptr);
    ASSERT_NE(rig_->transport(), nullptr);
  }
  SerialTransport& transport() { return *rig_->transport(); }
  const RigTraits& traits() const { return GetParam().traits; }
  static RigPtr make_rig() {
    const TimeLimit limit("the line to be opened");
    return RigPtr(GetParam().make().release());
  }

  RigPtr rig_;
};

#define HVT_ONLY_WITH(trait) \
  if (!traits().trait) GTEST_SKIP() << "this transport has no " #trait

TEST_P(TransportContract, DeliversWhatTheDeviceSendsOnceAndInOrder) {
  Bytes sent;
  std::vector<Bytes> chunks;
  for (std::size_t i = 0; i < 100; ++i) {
    chunks.push_back(numbered(1 + (i * 37) % 700, sent.size()));
    sent.insert(sent.end(), chunks.back().begin(), chunks.back().end());
  }
  std::atomic<bool> reader_is_done{false};
  std::thread device([&] {
    for (auto chunk = chunks.begin(); chunk != chunks.end() && !reader_is_done; ++chunk)
      rig_->device_sends(*chunk);
  });
  const Bytes received = read_current(transport(), sent.size());
  reader_is_done = true;
  device.join();
  EXPECT_TRUE(received == sent) << received.size() << " of " << sent.size() << " bytes";
}

TEST_P(TransportContract, WritesEveryByteValueAndMoreThanTheLineHolds) {
  HVT_ONLY_WITH(device_end);
  // More than twice what any line here holds, and little enough for the write's deadline on a loaded machine.
  const Bytes data = numbered(100'000);
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
  const TimeLimit limit = limit_for(transport(), "a read of a silent line to return");
  const auto start = Clock::now();
  EXPECT_TRUE(transport().read(buffer, error));
  EXPECT_TRUE(buffer.empty());
  EXPECT_GE(Clock::now() - start, kIdleReturn - kTick);
}

TEST_P(TransportContract, AnEmptyWriteSucceedsAtOnceEvenWhenTheDeviceTakesNothing) {
  rig_->device_stalls();
  const Outcome outcome = timed_write(transport(), {});
  EXPECT_TRUE(outcome.ok);
  EXPECT_LT(outcome.took(), kWriteLimit / 2);
}

TEST_P(TransportContract, AWriteEndsAtItsDeadlineHoweverManyPiecesItTakes) {
  HVT_ONLY_WITH(write_deadline);
  for (const bool stalls : {true, false}) {
    SCOPED_TRACE(stalls);
    const auto rig = make_rig();
    if (stalls) rig->device_stalls();
    std::atomic<bool> done{false};
    std::thread device([&] {  // takes a little all the time, so that no single wait is long
      const auto deadline = Clock::now() + kPatience;
      while (!stalls && !done && Clock::now() < deadline) {
        rig->device_receives(2048);
        std::this_thread::sleep_for(20ms);
      }
    });
    const Outcome outcome = timed_write(*rig->transport(), Bytes(kMoreThanTheLineHolds));
    done = true;
    rig->transport()->cancel();
    device.join();
    EXPECT_FALSE(outcome.ok);
    EXPECT_EQ(outcome.error, kWriteTimedOut);
    EXPECT_GE(outcome.took(), kWriteLimit - kTick);
    EXPECT_LT(outcome.took(), kWriteLimit + 1s);  // a loaded machine may wake the writer late
  }
}

TEST_P(TransportContract, ACancelBeforehandFailsReadsSilentlyAndWritesWithAReason) {
  rig_->device_sends(numbered(10));
  transport().cancel();
  transport().cancel();
  const TimeLimit limit("calls after a cancel to fail");
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
  constexpr int kRounds = 60;
  int blocked_reads = 0;
  for (int round = 0; round < kRounds && !HasFailure(); ++round) {
    const auto rig = make_rig();
    Latch about_to_read(1);
    Outcome outcome;
    const TimeLimit limit = limit_for(*rig->transport(), "a cancelled read to fail");
    std::thread reader([&] {
      about_to_read.count_down();
      outcome = read_to_the_end(*rig->transport(), limit);
    });
    about_to_read.wait();
    if (round % 3 == 1) std::this_thread::yield();
    if (round % 3 == 2) std::this_thread::sleep_for(kTimeToBlock);
    const auto cancelling = Clock::now();
    rig->transport()->cancel();
    const auto cancelled = Clock::now();
    reader.join();
    EXPECT_FALSE(outcome.ok);
    EXPECT_EQ(outcome.error, L"");
    // Only a read that may have run into its idle return meanwhile may still succeed.
    EXPECT_GE(cancelled - outcome.previous_began, kIdleReturn - kTick) << "the cancel did not wake the read";
    blocked_reads += outcome.began + kTimeToBlock / 2 <= cancelling ? 1 : 0;
  }
  EXPECT_GE(blocked_reads, kRounds / 6) << "too few rounds met a read that was waiting";
}

TEST_P(TransportContract, ACancelEndsABlockedWriteWithoutWaitingForItsDeadline) {
  HVT_ONLY_WITH(write_blocks);
  constexpr int kRounds = 20;
  int slow_ends = 0;
  for (int round = 0; round < kRounds && !HasFailure(); ++round) {
    const auto rig = make_rig();
    rig->device_stalls();
    LongWrite write(*rig->transport());
    // Every other cancel races with the beginning of the write.
    EXPECT_TRUE(round % 2 == 0 || write.blocks());
    const auto cancelling = Clock::now();
    rig->transport()->cancel();
    const Outcome outcome = write.end();
    EXPECT_FALSE(outcome.ok);
    EXPECT_EQ(outcome.error, kConnectionClosed);
    slow_ends += outcome.ended - cancelling > kWriteLimit / 2 ? 1 : 0;
  }
  // A loaded machine may wake a writer late now and then.
  EXPECT_LE(slow_ends, kRounds / 4) << "cancelled writes went on to their deadline";
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
  {
    const TimeLimit limit = limit_for(transport(), "the bytes that the device sent");
    while (buffer.empty() && !limit.expired())
      ASSERT_TRUE(transport().read(buffer, error));
  }
  EXPECT_TRUE(transport().read_is_current());
  ASSERT_TRUE(transport().discard_input(error));
  EXPECT_FALSE(transport().read_is_current());
  rig_->device_sends(numbered(10));
  EXPECT_EQ(read_current(transport(), 10), numbered(10));
}

// A read that collects its bytes in several steps may be overtaken between two of them.
TEST_P(TransportContract, NoReadMixesBytesFromBeforeADiscardWithBytesFromAfterIt) {
  HVT_ONLY_WITH(discard);
  const Bytes before(8192, 'A');
  const Bytes after(8192, 'B');
  constexpr std::array kMixture{std::uint8_t{'A'}, std::uint8_t{'B'}};
  for (int round = 0; round < 100; ++round) {
    Latch reading(1);
    std::atomic<bool> all_sent{false};
    std::size_t mixed = 0;
    std::ptrdiff_t fresh = 0;
    const TimeLimit limit = limit_for(transport(), "the bytes sent after a discard");
    std::thread reader([&] {
      Bytes buffer;
      std::wstring error;
      reading.count_down();
      while (fresh < std::ssize(after) && !limit.expired()) {
        const bool all_was_sent = all_sent;
        if (!transport().read(buffer, error)) break;
        // Where the overtaken read may have taken them, nothing more comes after a silence.
        if (!traits().discard_ends_read && all_was_sent && buffer.empty()) break;
        if (!transport().read_is_current()) continue;
        mixed += std::ranges::search(buffer, kMixture).empty() ? 0 : 1;
        fresh += std::ranges::count(buffer, 'B');
      }
    });
    reading.wait();
    std::wstring error;
    rig_->device_sends(before);
    EXPECT_TRUE(transport().discard_input(error));
    rig_->device_sends(after);
    all_sent = true;
    reader.join();
    ASSERT_EQ(mixed, 0U) << "round " << round;
    ASSERT_TRUE(fresh == std::ssize(after) || !traits().discard_ends_read) << fresh << " in round " << round;
  }
}

TEST_P(TransportContract, AnUnpluggedDeviceEndsTheReaderWithAReason) {
  HVT_ONLY_WITH(unplug);
  Latch about_to_read(1);
  Outcome outcome;
  {
    const TimeLimit limit = limit_for(transport(), "a read of an unplugged device to fail");
    std::thread reader([&] {
      about_to_read.count_down();
      outcome = read_to_the_end(transport(), limit);
    });
    about_to_read.wait();
    rig_->device_vanishes();
    reader.join();
  }
  EXPECT_FALSE(outcome.ok);
  EXPECT_NE(outcome.error, L"");
  EXPECT_FALSE(read_to_the_end(transport()).ok);
}

TEST_P(TransportContract, AnUnplugFailsTheBlockedWriteAndTheNext) {
  HVT_ONLY_WITH(unplug);
  rig_->device_stalls();
  LongWrite write(transport());
  EXPECT_TRUE(write.blocks());
  rig_->device_vanishes();
  for (const Outcome& outcome : {write.end(), timed_write(transport(), numbered(10))}) {
    EXPECT_FALSE(outcome.ok);
    EXPECT_NE(outcome.error, L"");
    EXPECT_NE(outcome.error, kWriteTimedOut);
  }
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
      if (got.size() < kPacket) break;
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
    const TimeLimit limit = limit_for(transport(), "all writes to end");
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

TEST(EchoTransport, EachWriteComesBackAsOneReadUnlessAFaultIsRehearsed) {
  EchoTransport echo;
  const TimeLimit limit = limit_for(echo, "an echo of every write");
  std::wstring error;
  echo.set_echo(false);
  EXPECT_TRUE(echo.write(numbered(7), error));
  echo.set_echo(true);
  for (const std::size_t size : {3U, 100'000U, 1U})
    ASSERT_TRUE(echo.write(numbered(size), error));
  for (const std::size_t size : {3U, 100'000U, 1U}) {
    Bytes buffer;
    ASSERT_TRUE(echo.read(buffer, error));
    EXPECT_EQ(buffer, numbered(size));
  }
  echo.set_fail_writes(true);
  EXPECT_FALSE(echo.write(numbered(1), error));
  EXPECT_EQ(error, L"Simulated write failure");
  echo.set_fail_writes(false);
  echo.cancel();
  error.clear();
  EXPECT_FALSE(echo.write(numbered(1), error));
  EXPECT_EQ(error, L"Simulated write failure");
}

}  // namespace

std::vector<RigKind> rig_kinds() {
  std::vector<RigKind> kinds{
      {"Echo", {.discard = true, .discard_ends_read = true}, [] { return std::make_unique<EchoRig>(); }},
      {"Scripted",
       {.write_blocks = true,
        .unplug = true,
        .discard = true,
        .overtakes = true,
        .discard_ends_read = true,
        .device_end = true},
       [] { return std::make_unique<ScriptedRig>(); }},
  };
  for (RigKind& kind : system_rig_kinds())
    kinds.push_back(std::move(kind));
  return kinds;
}

}  // namespace hvt::test
