// The way of a packet from the click to the transport: latency, pacing, and the cost of a queued packet. The
// transport is a note of the time, so what is measured is the engine alone.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "transmit/repeat_engine.h"

namespace hvt {
namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

const Bytes kPacket(16, 'x');

void report(benchmark::State& state, const std::string& name, std::vector<double> values) {
  std::sort(values.begin(), values.end());
  state.counters[name + "_p50_us"] = values[values.size() / 2];
  state.counters[name + "_p99_us"] = values[values.size() * 99 / 100];
}

// What a click costs until the write begins. The engine: idle with no worker, with one that is just ending,
// or with one that sleeps in a response wait.
enum class Worker : std::int64_t { gone, ending, asleep };

void SendToWrite(benchmark::State& state) {
  const auto worker = static_cast<Worker>(state.range(0));
  std::atomic<Clock::time_point> write_began{};
  const auto write = [&](std::span<const std::uint8_t>) { write_began = Clock::now(); };
  RepeatEngine engine(std::make_shared<ResponseWaitSlot>(),
                      {[&](auto bytes, auto&) { return write(bytes), true; }, [] {}});
  const RepeatEngine::WaitOptions options{worker == Worker::asleep, 99999999};
  std::vector<double> sent;
  std::vector<double> bare;
  std::wstring error;
  for (auto _ : state) {
    if (worker == Worker::gone) engine.stop_and_join();
    if (worker == Worker::asleep) std::this_thread::sleep_for(std::chrono::microseconds(200));
    write_began = Clock::time_point{};
    auto clicked = Clock::now();
    engine.send_manual(
        kPacket, options, [](const RepeatEvent&) {}, {}, error);
    while (write_began.load() == Clock::time_point{})
      std::this_thread::yield();
    sent.push_back(Microseconds(write_began.load() - clicked).count());
    while (worker != Worker::asleep && engine.activity() != RepeatEngine::Activity::idle)
      std::this_thread::yield();

    clicked = Clock::now();
    write(kPacket);
    bare.push_back(Microseconds(write_began.load() - clicked).count());
  }
  constexpr std::array kNames{"no_worker", "worker_ending", "worker_asleep"};
  state.SetLabel(kNames[static_cast<std::size_t>(worker)]);
  report(state, "send", std::move(sent));
  report(state, "bare", std::move(bare));
}
BENCHMARK(SendToWrite)->DenseRange(0, 2)->Iterations(5000)->Unit(benchmark::kMicrosecond);

// Arguments: interval in ms, packets. The schedule is the program's own: the end of the previous write plus
// the interval. `drift` is how much longer the whole run took than its intervals.
void RepeatPacing(benchmark::State& state) {
  const auto interval = std::chrono::milliseconds(state.range(0));
  std::vector<double> late;
  double drift = 0;
  for (auto _ : state) {
    std::vector<Clock::time_point> writes;
    std::atomic<bool> ended{false};
    RepeatEngine engine(std::make_shared<ResponseWaitSlot>(), {[&](auto, auto&) {
                                                                 writes.push_back(Clock::now());
                                                                 return true;
                                                               },
                                                               [] {}});
    RepeatSettings settings;
    settings.repeat_count = static_cast<std::int32_t>(state.range(1));
    settings.interval_ms = static_cast<std::int32_t>(interval.count());
    settings.wait_for_rx = false;
    const auto on_event = [&](const RepeatEvent& event) {
      if (event.kind == RepeatEventKind::ended) ended = true;
    };
    std::wstring error;
    engine.start_repeat({kPacket}, settings, on_event, {}, error);
    while (!ended)
      std::this_thread::sleep_for(interval);
    engine.stop_and_join();
    for (std::size_t i = 1; i < writes.size(); ++i)
      late.push_back(Microseconds(writes[i] - writes[i - 1] - interval).count());
    const auto intervals = interval * static_cast<std::int64_t>(writes.size() - 1);
    drift = Microseconds(writes.back() - writes.front() - intervals).count();
  }
  state.counters["drift_us"] = drift;
  state.counters["drift_us_per_packet"] = drift / static_cast<double>(state.range(1));
  report(state, "late", std::move(late));
}
BENCHMARK(RepeatPacing)
    ->Args({1, 9999})
    ->Args({10, 1000})
    ->Args({100, 100})
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

// Queues 1024 packets behind a write that is held, then lets them go.
void QueuedBurst(benchmark::State& state) {
  constexpr std::size_t kBurst = RepeatEngine::kMaxQueued;
  const RepeatEngine::WaitOptions options{state.range(0) != 0, 1000};
  std::vector<double> queueing;
  std::vector<double> writing;
  for (auto _ : state) {
    std::atomic<bool> go{false};
    std::atomic<std::size_t> written{0};
    RepeatEngine engine(std::make_shared<ResponseWaitSlot>(), {[&](auto, auto&) {
                                                                 while (!go)
                                                                   std::this_thread::yield();
                                                                 ++written;
                                                                 return true;
                                                               },
                                                               [] {}});
    std::wstring error;
    const auto send = [&] {
      engine.send_manual(
          kPacket, options, [](const RepeatEvent&) {}, {}, error);
    };
    send();
    const auto start = Clock::now();
    for (std::size_t i = 1; i < kBurst; ++i)
      send();
    const auto queued = Clock::now();
    go = true;
    while (written < kBurst)
      std::this_thread::yield();
    writing.push_back(Microseconds(Clock::now() - queued).count() / kBurst);
    queueing.push_back(Microseconds(queued - start).count() / kBurst);
  }
  state.SetLabel(options.wait_for_rx ? "waiting" : "not_waiting");
  report(state, "queue_one", std::move(queueing));
  report(state, "write_one", std::move(writing));
}
BENCHMARK(QueuedBurst)->DenseRange(0, 1)->Iterations(100)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace hvt
