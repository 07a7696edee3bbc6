// The receive document under the load it was built for: one 8192-character batch appended and one trimmed,
// nearly empty and at 24 million characters, with short lines and with one line that never ends. The times of
// the sizes must agree; `heap_bytes` is what the document holds then.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <string>

#include "display/receive_document.h"

namespace hvt {
namespace {

constexpr std::size_t kBatchCharacters = 8192;

enum Shape : std::int64_t { kShortLines, kEndlessLine, kManyRoles };

// Batches as they come out of the formatter: payload with labels and tokens, or plain text without any break.
DisplayBatch make_batch(Shape shape) {
  DisplayBatch batch;
  while (batch.characters() < kBatchCharacters) {
    const std::size_t rest = kBatchCharacters - batch.characters();
    if (shape == kEndlessLine || rest < 40) {
      batch.add(std::wstring(rest, L'U'), ColorRole::normal);
    } else if (shape == kShortLines) {
      batch.add(L"a line of some forty characters, as usual\r\n", ColorRole::normal);
    } else {
      batch.add(L"[RX]", ColorRole::header);
      batch.add(L"OK", ColorRole::rx_payload);
      batch.add(L"<CR><LF>", ColorRole::control);
      batch.add(L"\r\n", ColorRole::normal);
    }
  }
  return batch;
}

void fill(ReceiveDocument& document, const DisplayBatch& batch, std::int64_t characters) {
  document.set_columns(100);
  while (document.end() - document.first() < static_cast<std::uint64_t>(characters))
    document.append(batch);
}

void append_and_trim(benchmark::State& state) {
  const DisplayBatch batch = make_batch(static_cast<Shape>(state.range(0)));
  ReceiveDocument document;
  const std::size_t heap_before = mallinfo2().uordblks + mallinfo2().hblkhd;
  fill(document, batch, state.range(1));
  state.counters["heap_bytes"] = static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd - heap_before);
  for (auto _ : state)
    document.trim_head(document.append(batch));
}

// What one repaint asks for: 50 rows from the middle.
void read_fifty_rows(benchmark::State& state) {
  ReceiveDocument document;
  fill(document, make_batch(static_cast<Shape>(state.range(0))), state.range(1));
  const ReceiveDocument::Row top = document.first_row() + document.row_count() / 2;
  for (auto _ : state) {
    for (ReceiveDocument::Row row = top; row < top + 50; ++row) {
      benchmark::DoNotOptimize(document.runs(document.row_range(row)));
    }
  }
}

void wrap_at_another_width(benchmark::State& state) {
  ReceiveDocument document;
  fill(document, make_batch(static_cast<Shape>(state.range(0))), state.range(1));
  std::size_t columns = 60;
  for (auto _ : state)
    document.set_columns(columns ^= 1);
}

const auto kGrid = {std::vector<std::int64_t>{kShortLines, kEndlessLine, kManyRoles},
                    std::vector<std::int64_t>{8192, 24'000'000}};

BENCHMARK(append_and_trim)->ArgNames({"shape", "held"})->ArgsProduct(kGrid);
BENCHMARK(read_fifty_rows)->ArgNames({"shape", "held"})->ArgsProduct(kGrid);
BENCHMARK(wrap_at_another_width)
    ->ArgNames({"shape", "held"})
    ->ArgsProduct(kGrid)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace hvt
