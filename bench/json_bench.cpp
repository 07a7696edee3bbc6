// Reading JSON beside what any reader has to do at least: look at every byte of the document once, here to
// count its quotation marks. Both read the same document in one run; the ratio says what a tree of values
// costs.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>

#include "base/text.h"
#include "settings/app_settings.h"
#include "settings/json.h"

namespace hvt {
namespace {

constexpr std::size_t kDocumentBytes = 1 << 20;

enum Shape : std::int64_t {
  kSettings,     // 0: short members of every kind, as in the settings file
  kPackets,      // 1: long texts, as in a preset that is full of packets
  kEscapes,      // 2: control characters and pairs, each as an escape
  kKoreanTexts,  // 3: three bytes a character
};

std::string element(Shape shape, std::mt19937& random) {
  switch (shape) {
    case kSettings: return serialize_settings({});
    case kPackets: return escape_json_string(std::string(500 + random() % 500, 'x'));
    case kEscapes: return R"("\u001b\n\t\"\\\uD83D\uDE00")";
    case kKoreanTexts: return escape_json_string(utf16_to_utf8(std::wstring(20, wchar_t{0xAC00})));
  }
  return {};
}

std::string document(Shape shape) {
  std::mt19937 random(1);
  std::string text = "[";
  while (text.size() < kDocumentBytes)
    text.append(text.size() == 1 ? "" : ",").append(element(shape, random));
  return text + "]";
}

void finish(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
}

void byte_scan(benchmark::State& state) {
  const std::string text = document(static_cast<Shape>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(std::count(text.begin(), text.end(), '"'));
  finish(state, text);
}

void utf8_check(benchmark::State& state) {
  const std::string text = document(static_cast<Shape>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(find_utf8_fault(text));
  finish(state, text);
}

void parse(benchmark::State& state) {
  const std::string text = document(static_cast<Shape>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(parse_json_document(text));
  finish(state, text);
}

void shapes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("shape")->DenseRange(kSettings, kKoreanTexts);
}
BENCHMARK(byte_scan)->Name("json/byte_scan")->Apply(shapes);
BENCHMARK(utf8_check)->Name("json/utf8_check")->Apply(shapes);
BENCHMARK(parse)->Name("json/parse")->Apply(shapes);

}  // namespace
}  // namespace hvt
