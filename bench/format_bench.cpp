// Formatting beside what it cannot do without: a table-driven loop that writes the same characters into a
// buffer made beforehand. In one run, text_only must reach half the speed of reference or more; with_roles
// shows what the runs of the receive view cost on top, most where lines are short. Its batch is used again
// and again, as the program does, so `allocations` (per block) must be 0.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench/allocation_counter.h"
#include "display/formatter.h"
#include "transmit/packet_text.h"

namespace hvt {
namespace {

constexpr std::size_t kInputBytes = 4096;  // about what one read of a fast line brings
constexpr std::size_t kLongestText = 6;

// `line_length` 0 gives random bytes, else printable lines of that length with CR LF.
Bytes input(std::int64_t line_length) {
  std::mt19937 random(1);
  Bytes bytes;
  while (bytes.size() < kInputBytes) {
    if (line_length == 0) {
      bytes.push_back(static_cast<std::uint8_t>(random()));
    } else {
      for (std::int64_t i = 0; i < line_length; ++i)
        bytes.push_back(static_cast<std::uint8_t>(0x20 + random() % 0x5F));
      bytes.insert(bytes.end(), {'\r', '\n'});
    }
  }
  bytes.resize(kInputBytes);
  return bytes;
}

std::vector<std::wstring> reference_table(bool hex) {
  std::vector<std::wstring> table;
  for (unsigned byte = 0; byte < 256; ++byte) {
    const std::uint8_t one[] = {static_cast<std::uint8_t>(byte)};
    table.push_back(format_display_bytes(one, hex, true, false) + (hex ? L" " : L""));
  }
  return table;
}

void finish(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(kInputBytes));
}

template <bool Hex>
void reference(benchmark::State& state) {
  const Bytes bytes = input(state.range(0));
  const std::vector<std::wstring> table = reference_table(Hex);
  std::vector<wchar_t> buffer(kInputBytes * kLongestText);
  for (auto _ : state) {
    wchar_t* at = buffer.data();
    for (const std::uint8_t byte : bytes) {
      for (const wchar_t character : table[byte])
        *at++ = character;
    }
    benchmark::DoNotOptimize(at);
    benchmark::ClobberMemory();
  }
  finish(state);
}

template <bool Hex>
void text_only(benchmark::State& state) {
  const Bytes bytes = input(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(format_display_bytes(bytes, Hex, true, false));
  finish(state);
}

template <bool Hex>
void with_roles(benchmark::State& state) {
  const Bytes bytes = input(state.range(0));
  DisplayOptions options;
  options.hex = Hex;
  options.line_break = true;
  options.labels = true;
  DisplayLineState line;
  DisplayBatch batch;
  format_rx(bytes, options, line, batch);
  const auto before = bench::allocations();
  for (auto _ : state) {
    batch.clear();
    format_rx(bytes, options, line, batch);
    benchmark::DoNotOptimize(batch);
  }
  state.counters["allocations"] =
      static_cast<double>(bench::allocations() - before) / static_cast<double>(state.iterations());
  finish(state);
}

// 0: random bytes.
void line_lengths(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("line")->Arg(0)->Arg(10)->Arg(40)->Arg(80);
}
BENCHMARK(reference<false>)->Name("tokens/reference")->Apply(line_lengths);
BENCHMARK(text_only<false>)->Name("tokens/text_only")->Apply(line_lengths);
BENCHMARK(with_roles<false>)->Name("tokens/with_roles")->Apply(line_lengths);
BENCHMARK(reference<true>)->Name("hex/reference")->ArgName("line")->Arg(0);
BENCHMARK(text_only<true>)->Name("hex/text_only")->ArgName("line")->Arg(0);
BENCHMARK(with_roles<true>)->Name("hex/with_roles")->ArgName("line")->Arg(0);

}  // namespace
}  // namespace hvt
