// The way of received bytes from the transport to the inbox: bytes per second and allocations per chunk with
// a transport in memory, and the reader of a real pseudo-terminal beside a bare read loop in the same run.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <semaphore>
#include <thread>
#include <vector>

#include "app/inbox.h"
#include "bench/allocation_counter.h"
#include "serial/serial_port.h"
#include "tests/support/pty.h"

namespace hvt {
namespace {

using Clock = std::chrono::steady_clock;

// Gives `chunks` reads of `size` bytes, then waits for cancel().
class MemoryTransport final : public SerialTransport {
 public:
  MemoryTransport(std::size_t size, std::size_t chunks) : chunk_(size, 'x'), left_(chunks) {}

  bool read(std::vector<std::uint8_t>& buffer, std::wstring&) override {
    if (left_ == 0) {
      closed_.acquire();
      return false;
    }
    --left_;
    buffer.assign(chunk_.begin(), chunk_.end());
    return true;
  }
  bool write(std::span<const std::uint8_t>, std::wstring&) override { return true; }
  void cancel() override { closed_.release(); }
  bool discard_input(std::wstring&) override { return true; }

 private:
  const std::vector<std::uint8_t> chunk_;
  std::size_t left_;
  std::counting_semaphore<> closed_{0};
};

// A connection whose bytes go into an inbox, which the receiving side empties whenever a mebibyte is there:
// both buffers then live in the cache no worse than in the program.
class Receiver {
 public:
  explicit Receiver(TransportFactory factory)
      : inbox_([] {}),
        port_(std::move(factory), {.received =
                                       [this](const auto& bytes, auto time) {
                                         inbox_.add_received(bytes, time);
                                         received_ += bytes.size();
                                         ++chunks_;
                                         if ((pending_ += bytes.size()) >= (1u << 20)) {
                                           inbox_.take(batch_);
                                           pending_ = 0;
                                         }
                                         if (received_ >= goal_) done_.release();
                                       },
                                   .status = {},
                                   .lost = {}}) {}

  void receive(const std::wstring& port, std::uint64_t goal) {
    goal_ = goal;
    port_.connect({.port = port}, 10'000, nullptr);
    done_.acquire();
    port_.disconnect();
  }
  std::uint64_t chunks() const { return chunks_; }

 private:
  Inbox inbox_;
  InboxBatch batch_;
  std::uint64_t goal_ = 0;
  std::uint64_t received_ = 0;
  std::uint64_t chunks_ = 0;
  std::uint64_t pending_ = 0;
  std::counting_semaphore<> done_{0};
  SerialPort port_;
};

// Argument: bytes per chunk.
void TransportToInbox(benchmark::State& state) {
  constexpr std::size_t kChunks = 200'000;
  const auto size = static_cast<std::size_t>(state.range(0));
  double allocations = 0;
  for (auto _ : state) {
    Receiver receiver([&](const auto&, auto&) { return std::make_shared<MemoryTransport>(size, kChunks); });
    const auto before = bench::allocations();
    const auto start = Clock::now();
    receiver.receive(L"memory", kChunks * size);
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    allocations = static_cast<double>(bench::allocations() - before) / kChunks;
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kChunks * size));
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kChunks));
  state.counters["allocations_per_chunk"] = allocations;
}
BENCHMARK(TransportToInbox)->Arg(64)->Arg(4096)->Arg(65'536)->UseManualTime()->Unit(benchmark::kMillisecond);

// Bytes per second out of a pseudo-terminal that is written to as fast as it takes.
double rate_of(const std::function<void(test::Pty&, std::uint64_t)>& read) {
  constexpr std::uint64_t kBytes = std::uint64_t{64} << 20;
  test::Pty pty;
  std::atomic<bool> stop{false};
  std::jthread device([&] {
    const std::vector<std::uint8_t> block(1 << 16, 'x');
    while (!stop)
      pty.send(block);
  });
  const auto start = Clock::now();
  read(pty, kBytes);
  const std::chrono::duration<double> time = Clock::now() - start;
  stop = true;
  // The device may wait for room: make some until it has noticed.
  const int slave = ::open(pty.path().c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK);
  std::vector<char> rest(1 << 16);
  const auto until = Clock::now() + std::chrono::milliseconds(200);
  while (Clock::now() < until) {
    if (::read(slave, rest.data(), rest.size()) < 0) std::this_thread::yield();
  }
  ::close(slave);
  return static_cast<double>(kBytes) / time.count();
}

void read_bare(test::Pty& pty, std::uint64_t bytes) {
  const int slave = ::open(pty.path().c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK);
  std::vector<char> buffer(1 << 16);
  for (std::uint64_t received = 0; received < bytes;) {
    pollfd wait{slave, POLLIN, 0};
    ::poll(&wait, 1, 1000);
    const ssize_t count = ::read(slave, buffer.data(), buffer.size());
    if (count > 0) received += static_cast<std::uint64_t>(count);
  }
  ::close(slave);
}

void read_through_the_program(test::Pty& pty, std::uint64_t bytes) {
  Receiver receiver(nullptr);
  receiver.receive(pty.port(), bytes);
}

// `ratio` is ours over the bare loop's; both rates are of the same run.
void PseudoTerminalReader(benchmark::State& state) {
  double bare = 0;
  double ours = 0;
  for (auto _ : state) {
    bare += rate_of(read_bare);
    ours += rate_of(read_through_the_program);
  }
  const auto runs = static_cast<double>(state.iterations());
  state.counters["bare_bytes_per_second"] = bare / runs;
  state.counters["bytes_per_second"] = ours / runs;
  state.counters["ratio"] = ours / bare;
}
BENCHMARK(PseudoTerminalReader)->Iterations(5)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace hvt
