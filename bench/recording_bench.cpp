// From text to disk: bytes per second through RecordingWriter and what they cost, beside a loop that writes
// the same bytes with write() in the same run.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "base/text.h"
#include "bench/disk_folder.h"
#include "display/formatter.h"
#include "recording/recording_writer.h"
#include "recording/utf8_block.h"

namespace hvt {
namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kPieceBytes = 4096;  // received bytes formatted and recorded at once

using bench::cpu_seconds;
using bench::DiskFolder;

struct Cost {
  double seconds = 0;
  double cpu = 0;
};

template <typename Action>
Cost cost_of(Action action) {
  const double cpu = cpu_seconds();
  const auto start = Clock::now();
  action();
  return {std::chrono::duration<double>(Clock::now() - start).count(), cpu_seconds() - cpu};
}

// Records one session; `feed` gets a function that takes a block and waits while the queue has no room for
// it.
template <typename Feed>
void record(const std::filesystem::path& folder, Feed feed) {
  std::binary_semaphore ended(0);
  RecordingConfig config;
  config.directory = folder;
  config.filename = L"bench";
  RecordingWriter writer(config, [&] { ended.release(); });
  feed([&](std::wstring_view text, std::uint64_t raw) {
    while (writer.room() < text.size())
      std::this_thread::yield();
    writer.enqueue(text, raw);
  });
  writer.stop();
  ended.acquire();
  if (writer.status().integrity != Integrity::no_reported_problem) throw std::runtime_error("not recorded");
}

void write_plainly(const std::filesystem::path& folder, const std::string& block, std::size_t count) {
  const int file = ::open((folder / "plain").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  for (std::size_t i = 0; i < count; ++i) {
    if (::write(file, block.data(), block.size()) < 0) throw std::runtime_error("not written");
  }
  ::close(file);
}

Bytes text_lines() {
  Bytes bytes;
  for (std::size_t i = 0; bytes.size() < kPieceBytes; ++i) {
    const std::string line = "T=" + std::to_string(20 + i % 7) + "." + std::to_string(i % 10) +
                             " C, H=41.7 %, P=1013.2 hPa, state idle\r\n";
    bytes.insert(bytes.end(), line.begin(), line.end());
  }
  bytes.resize(kPieceBytes);
  return bytes;
}

Bytes random_bytes() {
  std::mt19937 random(1);
  Bytes bytes(kPieceBytes);
  for (auto& byte : bytes)
    byte = static_cast<std::uint8_t>(random());
  return bytes;
}

void report(benchmark::State& state, double megabytes, const Cost& ours, const Cost& plain) {
  const auto runs = static_cast<double>(state.iterations());
  state.counters["bytes_per_second"] = megabytes * 1e6 * runs / ours.seconds;
  state.counters["plain_bytes_per_second"] = megabytes * 1e6 * runs / plain.seconds;
  state.counters["ratio"] = plain.seconds / ours.seconds;
  state.counters["cpu_s_per_100MB"] = ours.cpu / (megabytes * runs) * 100;
  state.counters["plain_cpu_s_per_100MB"] = plain.cpu / (megabytes * runs) * 100;
}

// Formats and records `received` again and again. Rates are of received bytes; the plain loop writes the text
// that they became.
void record_formatted(benchmark::State& state, const Bytes& received, const DisplayOptions& options) {
  constexpr std::size_t kReceived = std::size_t{256} << 20;
  const std::size_t count = kReceived / received.size();
  DisplayLineState line;
  DisplayBatch batch;
  format_rx(received, options, line, batch);
  const std::string block = utf16_to_utf8(batch.text());
  Cost ours;
  Cost plain;
  const auto add = [](Cost& sum, const Cost& cost) {
    sum.seconds += cost.seconds;
    sum.cpu += cost.cpu;
  };
  for (auto _ : state) {
    const DiskFolder folder;
    add(plain, cost_of([&] { write_plainly(folder.path(), block, count); }));
    add(ours, cost_of([&] {
          record(folder.path(), [&](auto enqueue) {
            for (std::size_t i = 0; i < count; ++i) {
              batch.clear();
              format_rx(received, options, line, batch);
              enqueue(batch.text(), received.size());
            }
          });
        }));
  }
  report(state, static_cast<double>(count * received.size()) / 1e6, ours, plain);
}

void RecordAsciiText(benchmark::State& state) {
  record_formatted(state, text_lines(), {.line_break = true});
}
BENCHMARK(RecordAsciiText)->Iterations(3)->Unit(benchmark::kMillisecond);

void RecordRandomAsHex(benchmark::State& state) {
  record_formatted(state, random_bytes(), {.hex = true});
}
BENCHMARK(RecordRandomAsHex)->Iterations(3)->Unit(benchmark::kMillisecond);

// The writer alone. Argument: characters in a block.
void RecordBlocks(benchmark::State& state) {
  const std::wstring text(static_cast<std::size_t>(state.range(0)), L'x');
  const std::size_t count = (std::size_t{512} << 20) / text.size();
  const std::string block(text.begin(), text.end());
  Cost ours;
  Cost plain;
  for (auto _ : state) {
    const DiskFolder folder;
    plain = cost_of([&] { write_plainly(folder.path(), block, count); });
    ours = cost_of([&] {
      record(folder.path(), [&](auto enqueue) {
        for (std::size_t i = 0; i < count; ++i)
          enqueue(text, text.size());
      });
    });
  }
  report(state, static_cast<double>(count * text.size()) / 1e6, ours, plain);
}
BENCHMARK(RecordBlocks)->Arg(64)->Arg(1024)->Arg(65536)->Iterations(1)->Unit(benchmark::kMillisecond);

void EncodeBlock(benchmark::State& state) {
  const std::wstring text(kPieceBytes, L'x');
  Utf8Block block;
  for (auto _ : state)
    benchmark::DoNotOptimize(block.encode(text).data());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(EncodeBlock);

void EncodeString(benchmark::State& state) {
  const std::wstring text(kPieceBytes, L'x');
  for (auto _ : state)
    benchmark::DoNotOptimize(utf16_to_utf8(text).data());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(EncodeString);

}  // namespace
}  // namespace hvt
