// What an event costs that changes nothing: all state rules, and the comparison with what is shown. The
// reference is a comparison alone.

#include <benchmark/benchmark.h>

#include <vector>

#include "ui/main_window.h"
#include "ui/state_rules.h"

namespace hvt {
namespace {

std::size_t changes(const ControlStates& shown, const ControlStates& states) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < kControlCount; ++i)
    count += shown[i] != states[i];
  return count;
}

constexpr Facts kFacts{.has_ports = true, .transmit_expanded = true};

void unchanged_comparison(benchmark::State& state) {
  const ControlStates shown = rules(kFacts);
  const ControlStates states = rules(kFacts);
  for (auto _ : state)
    benchmark::DoNotOptimize(changes(shown, states));
}
BENCHMARK(unchanged_comparison)->Unit(benchmark::kMicrosecond);

void unchanged_update(benchmark::State& state) {
  const ControlStates shown = rules(kFacts);
  const MenuStates shown_menus = menu_rules(kFacts);
  for (auto _ : state) {
    benchmark::DoNotOptimize(changes(shown, rules(kFacts)));
    benchmark::DoNotOptimize(shown_menus == menu_rules(kFacts));
  }
}
BENCHMARK(unchanged_update)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace hvt
