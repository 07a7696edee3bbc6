// From a person's click to the bytes on the line and back: the whole program but its screen, on a
// pseudo-terminal, with the virtual device as a process of its own where it has to answer.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/app.h"
#include "base/posix/unique_fd.h"
#include "tests/support/device_process.h"
#include "tests/support/folder.h"
#include "tests/support/pty.h"
#include "tests/support/recording_window.h"

namespace hvt {
namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

void report(benchmark::State& state, const std::string& name, std::vector<double> values) {
  std::sort(values.begin(), values.end());
  state.counters[name + "_p50_us"] = values[values.size() / 2];
  state.counters[name + "_p99_us"] = values[values.size() * 99 / 100];
  state.counters[name + "_max_us"] = values.back();
}

// The program, connected, with the transmit panel open and "PING" in its first row.
struct Program {
  explicit Program(const std::string& port)
      : app(folder.path(), {.port_source =
                                [port] {
                                  return std::vector<PortDescription>{{{port.begin(), port.end()}, L""}};
                                }}),
        window(app) {
    app.attach(window);
    app.command(ControlId::connect);
    until([&] { return window.state(ControlId::connect).caption == L"Connected"; });
    app.command(ControlId::transmit);
    window.type(packet_field(0), L"PING");
  }
  ~Program() {
    app.closing();
    app.detach();
  }
  template <typename Condition>
  void until(Condition&& condition) {
    while (!condition()) {
      window.deliver();
      std::this_thread::sleep_for(
          std::chrono::microseconds(200));  // a spin would take the worker's processor
    }
  }
  void wait_for_rx(bool on) {
    if (window.state(ControlId::wait_for_rx).checked != on) app.command(ControlId::wait_for_rx);
  }

  test::Folder folder;
  App app;
  test::RecordingWindow window;
};

void wait_readable(int fd) {
  pollfd waits{fd, POLLIN, 0};
  ::poll(&waits, 1, -1);
}

// Keeps every processor busy while it lives.
class Load {
 public:
  explicit Load(unsigned threads) {
    for (unsigned i = 0; i < threads; ++i)
      threads_.emplace_back([](const std::stop_token& stop) {
        for (std::uint64_t turn = 0; !stop.stop_requested(); ++turn)
          benchmark::DoNotOptimize(turn);
      });
  }

 private:
  std::vector<std::jthread> threads_;
};

// Arguments: with a response wait (which the device never ends) or without; busy threads beside it. In the
// same run a bare write by the interface thread.
void ClickToWire(benchmark::State& state) {
  test::Pty device;
  Program program(device.path());
  program.wait_for_rx(state.range(0) != 0);
  program.window.type(ControlId::rx_timeout, L"99999999");
  const Load load(static_cast<unsigned>(state.range(1)));
  test::Pty bare_device;
  const UniqueFd bare_port(::open(bare_device.path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK));
  std::vector<double> clicked;
  std::vector<double> bare;
  for (auto _ : state) {
    auto start = Clock::now();
    program.app.command(send_button(0));
    wait_readable(device.master());
    clicked.push_back(Microseconds(Clock::now() - start).count());
    device.receive(4);

    start = Clock::now();
    if (::write(bare_port.get(), "PING", 4) != 4) state.SkipWithError("the bare port takes nothing");
    wait_readable(bare_device.master());
    bare.push_back(Microseconds(Clock::now() - start).count());
    bare_device.receive(4);

    std::this_thread::sleep_for(std::chrono::milliseconds(1));  // a person clicks no faster
    program.window.deliver();
  }
  state.SetLabel(std::string(state.range(0) != 0 ? "waiting for RX" : "not waiting") +
                 (state.range(1) != 0 ? ", busy machine" : ""));
  report(state, "click", std::move(clicked));
  report(state, "bare", std::move(bare));
}
BENCHMARK(ClickToWire)->ArgsProduct({{0, 1}, {0, 8}})->Iterations(1000)->Unit(benchmark::kMillisecond);

// The time between the device's receiving a request and its sending the reply, in milliseconds, by its own
// log.
std::vector<double> device_times(const std::string& log) {
  std::ifstream file(log);
  std::vector<double> times;
  long long time = 0;
  long long received = 0;
  std::string direction;
  for (std::string rest; file >> time >> direction && std::getline(file, rest);) {
    if (direction == "rx") received = time;
    if (direction == "tx") times.push_back(static_cast<double>(time - received) / 1e6);
  }
  return times;
}

// Argument: the device's delay in ms. What the program shows against the device's own stamps.
void ResponseTimeError(benchmark::State& state) {
  const test::PrivateRuntimeFolder folder;
  const std::string log = folder.path() / "device.log";
  std::vector<double> shown;
  {
    test::DeviceProcess device({"--on", "PING", std::to_string(state.range(0)), "PONG", "--log", log});
    const std::string ready = device.line("ready");
    Program program(ready.substr(ready.rfind(' ') + 1));
    device.line("opened");  // until it has noticed that, the device looks for requests every 5 ms only
    for (auto _ : state) {
      program.app.command(ControlId::clear);
      program.app.command(send_button(0));
      program.until([&] { return program.window.shown().find(L"PONG") != std::wstring::npos; });
      const std::wstring& text = program.window.shown();
      const std::size_t elapsed = text.find(L'[', text.find(L"PING"));  // "[TX] PING [1.2 ms]\r\n[RX] PONG"
      shown.push_back(std::stod(text.substr(elapsed + 1)));
    }
  }
  const std::vector<double> true_times = device_times(log);
  if (true_times.size() != shown.size()) return state.SkipWithError("the device's log does not match");
  std::vector<double> errors;
  for (std::size_t i = 0; i < shown.size(); ++i)
    errors.push_back(std::abs(shown[i] - true_times[i]) * 1000);
  report(state, "error", std::move(errors));
}
BENCHMARK(ResponseTimeError)
    ->Arg(0)
    ->Arg(1)
    ->Arg(5)
    ->Arg(20)
    ->Arg(100)
    ->Iterations(200)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

// What a person waits for a disconnect or a close while the device takes nothing and the time-out is the
// longest there is. Arguments: the engine writes or waits; disconnect or close.
void EndWithAStalledDevice(benchmark::State& state) {
  const bool writes = state.range(0) != 0;
  const bool closes = state.range(1) != 0;
  std::vector<double> times;
  for (auto _ : state) {
    state.PauseTiming();
    test::Pty device;
    auto program = std::make_unique<Program>(device.path());
    program->window.type(ControlId::rx_timeout, L"99999999");
    program->window.type(packet_field(0), std::wstring(1400, L'x'));
    // The line takes some kilobytes before a write stalls.
    for (int i = 0; i < (writes ? 100 : 1); ++i)
      program->app.command(send_button(0));
    if (!writes) device.receive(1400);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    state.ResumeTiming();
    const auto start = Clock::now();
    closes ? program->app.closing() : program->app.disconnect();
    times.push_back(Microseconds(Clock::now() - start).count());
    state.PauseTiming();
    program.reset();
    state.ResumeTiming();
  }
  state.SetLabel(std::string(closes ? "close" : "disconnect") +
                 (writes ? ", blocked write" : ", response wait"));
  report(state, "end", std::move(times));
}
BENCHMARK(EndWithAStalledDevice)
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->Iterations(50)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace hvt
