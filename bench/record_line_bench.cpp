// From the line to the disk: the whole program with its window records a flood from the virtual device,
// beside a loop that reads the same flood and writes it to the same disk in the same run. And how long a byte
// takes from the line into the file at a rate that a real line has.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <poll.h>
#include <QEventLoop>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "app/app.h"
#include "base/posix/unique_fd.h"
#include "bench/application.h"
#include "bench/disk_folder.h"
#include "tests/support/device_process.h"
#include "tests/support/pty.h"
#include "tools/recover/session_metadata.h"
#include "ui/qt/main_window.h"

namespace hvt {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

using bench::cpu_seconds;
using bench::DiskFolder;

// Of this process, in kilobytes: "VmRSS:", or "VmHWM:" since reset_peak().
double memory(const std::string& which) {
  std::ifstream file("/proc/self/status");
  for (std::string word; file >> word;) {
    double kilobytes = 0;
    if (word == which && file >> kilobytes) return kilobytes;
  }
  return 0;
}
void reset_peak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

struct Cost {
  double seconds = 0;  // from the first byte on
  double cpu = 0;
  double peak_megabytes = 0;

  void add(const Cost& other) {
    seconds += other.seconds;
    cpu += other.cpu;
    peak_megabytes = std::max(peak_megabytes, other.peak_megabytes);
  }
};

// Measures from the first byte to the last.
class Meter {
 public:
  Meter() {
    reset_peak();
    memory_ = memory("VmRSS:");
    cpu_ = cpu_seconds();
  }
  void begin() { start_ = Clock::now(); }
  Cost end() const {
    return {std::chrono::duration<double>(Clock::now() - start_).count(), cpu_seconds() - cpu_,
            (memory("VmHWM:") - memory_) / 1000};
  }

 private:
  double memory_ = 0;
  double cpu_ = 0;
  Clock::time_point start_;
};

// The program with its window, connected and recording as "bench".
class Program {
 public:
  Program(const std::string& port, bool hex, bool display)
      : app_(folder_.path(), {.port_source =
                                  [port] {
                                    return std::vector<PortDescription>{{{port.begin(), port.end()}, L""}};
                                  }}),
        window_(app_) {
    app_.attach(window_);
    app_.command(ControlId::echo_sent);
    if (hex) app_.command(ControlId::receive_hex);
    if (!display) app_.command(ControlId::display_while_recording);
    window_.set_field_text(ControlId::record_name, L"bench", 0);
    app_.command(ControlId::connect);
    const auto limit = Clock::now() + 10s;
    while (!std::filesystem::exists(file("bench.meta.json"))) {
      if (Clock::now() > limit) throw std::runtime_error("nothing is recorded");
      serve();
      app_.command(ControlId::record);
    }
  }
  ~Program() {
    app_.closing();
    app_.detach();
  }

  void serve() { QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents); }
  void stop() { app_.command(ControlId::record); }
  std::filesystem::path file(const char* name) const { return folder_.path() / "recording" / name; }
  std::uint64_t text_bytes() const {
    struct stat status {};
    return ::stat(file("bench_part001.log").c_str(), &status) == 0
               ? static_cast<std::uint64_t>(status.st_size)
               : 0;
  }
  recover::SessionMetadata metadata() const {
    std::ifstream stream(file("bench.meta.json"), std::ios::binary);
    const std::string document{std::istreambuf_iterator<char>(stream), {}};
    return recover::parse_metadata(document);
  }

 private:
  DiskFolder folder_;
  App app_;
  QtMainWindow window_;
};

struct Kind {
  const char* name;
  bool hex;
  bool display;
};
constexpr std::array kKinds{
    Kind{"ASCII text, display on", false, true}, Kind{"ASCII text, display off", false, false},
    Kind{"bytes as hex, display on", true, true}, Kind{"bytes as hex, display off", true, false}};

// Below the part limit as text: one file to look at.
constexpr std::uint64_t kFloodBytes = std::uint64_t{264} * 64 * 4000;

test::DeviceProcess flood(bool binary) {
  std::vector<std::string> options{"--flood", "max", "--bytes", std::to_string(kFloodBytes)};
  if (binary) options.push_back("--binary");
  return test::DeviceProcess(options);
}
std::string port_of(test::DeviceProcess& device) {
  const std::string ready = device.line("ready");
  return ready.substr(ready.rfind(' ') + 1);
}

Cost record(const Kind& kind) {
  test::DeviceProcess device = flood(kind.hex);
  Program program(port_of(device), kind.hex, kind.display);
  // A record of 64 bytes is 70 characters of text, a byte is a pair of digits and a blank.
  const std::uint64_t expected = kind.hex ? kFloodBytes * 3 - 1 : kFloodBytes / 64 * 70;
  Cost cost;
  std::atomic<bool> done{false};
  // Beside the interface, which sleeps up to a tick of its timer.
  std::jthread watch([&, meter = Meter()]() mutable {
    const auto grown_to = [&](std::uint64_t bytes) {
      const auto limit = Clock::now() + 120s;
      while (program.text_bytes() < bytes && Clock::now() < limit)
        std::this_thread::sleep_for(1ms);
    };
    grown_to(1);
    meter.begin();
    const auto first = static_cast<double>(program.text_bytes());  // came before
    grown_to(expected);
    cost = meter.end();
    cost.seconds *= static_cast<double>(expected) / (static_cast<double>(expected) - first);
    done = true;
  });
  while (!done)
    program.serve();
  watch.join();
  program.stop();
  while (!program.metadata().finalized)
    program.serve();
  const recover::SessionMetadata said = program.metadata();
  if (said.raw_rx_delivered_bytes != kFloodBytes || said.integrity != "not_verified")
    throw std::runtime_error("not recorded: " + std::to_string(said.raw_rx_delivered_bytes) + " bytes, " +
                             said.integrity);
  return cost;
}

Cost copy(const Kind& kind) {
  constexpr std::size_t kBlock = std::size_t{128} << 10;  // as cat has it
  test::DeviceProcess device = flood(kind.hex);
  const DiskFolder folder;
  const UniqueFd port(::open(port_of(device).c_str(), O_RDWR | O_NOCTTY));
  const UniqueFd file(::open((folder.path() / "copy").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600));
  std::vector<char> block(kBlock);
  Meter meter;
  for (std::uint64_t copied = 0; copied < kFloodBytes;) {
    const auto count = ::read(port.get(), block.data(), block.size());
    if (count <= 0) throw std::runtime_error("the line ended");
    if (copied == 0) meter.begin();
    if (::write(file.get(), block.data(), static_cast<std::size_t>(count)) != count)
      throw std::runtime_error("not written");
    copied += static_cast<std::uint64_t>(count);
  }
  return meter.end();
}

// Argument: which of kKinds. Rates and costs are of received bytes; hex is three times as many in the file.
void RecordALine(benchmark::State& state) {
  bench::application();
  const test::PrivateRuntimeFolder runtime;
  const Kind& kind = kKinds[static_cast<std::size_t>(state.range(0))];
  Cost ours;
  Cost plain;
  for (auto _ : state) {
    plain.add(copy(kind));
    ours.add(record(kind));
  }
  const double megabytes = static_cast<double>(kFloodBytes) * static_cast<double>(state.iterations()) / 1e6;
  state.SetLabel(kind.name);
  state.counters["MB_per_s"] = megabytes / ours.seconds;
  state.counters["copy_MB_per_s"] = megabytes / plain.seconds;
  state.counters["ratio"] = plain.seconds / ours.seconds;
  state.counters["cpu_s_per_100MB"] = ours.cpu / megabytes * 100;
  state.counters["copy_cpu_s_per_100MB"] = plain.cpu / megabytes * 100;
  state.counters["peak_growth_MB"] = ours.peak_megabytes;
}
BENCHMARK(RecordALine)->DenseRange(0, kKinds.size() - 1)->Iterations(3)->Unit(benchmark::kMillisecond);

// A device that says 300 bytes every 2 ms and knows when.
class SteadyDevice {
 public:
  static constexpr std::size_t kBytes = 300;
  explicit SteadyDevice(test::Pty& pty, std::size_t count) : times_(count) {
    thread_ = std::jthread([&pty, this] {
      const std::vector<std::uint8_t> bytes(kBytes, 'x');
      auto next = Clock::now();
      for (Clock::time_point& time : times_) {
        std::this_thread::sleep_until(next += 2ms);
        time = Clock::now();
        pty.send(bytes);
      }
    });
  }
  Clock::time_point time(std::size_t index) const { return times_[index]; }

 private:
  std::vector<Clock::time_point> times_;
  std::jthread thread_;
};

// When another reader of the file sees each of the device's pieces. Argument: display on.
void WireToFile(benchmark::State& state) {
  constexpr std::size_t kPieces = 5000;
  bench::application();
  std::vector<double> milliseconds;
  for (auto _ : state) {
    test::Pty pty;
    Program program(pty.path(), false, state.range(0) != 0);
    const UniqueFd file(::open(program.file("bench_part001.log").c_str(), O_RDONLY));
    SteadyDevice device(pty, kPieces);
    std::atomic<bool> done{false};
    std::jthread reader([&] {
      std::array<char, 1 << 16> bytes{};
      std::size_t seen = 0;
      std::size_t pieces = 0;
      const auto limit = Clock::now() + 60s;
      while (pieces < kPieces && Clock::now() < limit) {
        const auto count = ::read(file.get(), bytes.data(), bytes.size());
        const auto now = Clock::now();
        if (count > 0) seen += static_cast<std::size_t>(count);
        for (; pieces < kPieces && (pieces + 1) * SteadyDevice::kBytes <= seen; ++pieces)
          milliseconds.push_back(
              std::chrono::duration<double, std::milli>(now - device.time(pieces)).count());
        if (count == 0) std::this_thread::sleep_for(100us);
      }
      done = true;
    });
    while (!done)
      program.serve();
  }
  if (milliseconds.size() != kPieces) return state.SkipWithError("not everything is in the file");
  std::sort(milliseconds.begin(), milliseconds.end());
  state.SetLabel(state.range(0) != 0 ? "150,000 bytes/s, display on" : "150,000 bytes/s, display off");
  state.counters["p50_ms"] = milliseconds[kPieces / 2];
  state.counters["p99_ms"] = milliseconds[kPieces * 99 / 100];
  state.counters["max_ms"] = milliseconds.back();
}
BENCHMARK(WireToFile)->Arg(1)->Arg(0)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace hvt
