#!/usr/bin/env bash
# Builds every fuzzer and runs them all at the same time, one process each.
#   ./fuzz.sh [SECONDS]       60 unless told
# Inputs that reach new code collect in build/fuzz/corpus; one that breaks something stays as
# build/fuzz/NAME-crash-..., which the fuzzer takes as its argument to show it again.
set -euo pipefail
cd "$(dirname "$0")"
seconds=${1:-60}
tools/packages.sh fuzz
cmake --preset fuzz >/dev/null
cmake --build build/fuzz --target fuzz_targets

start() {  # NAME
  local found=build/fuzz/corpus/$1
  mkdir -p "$found"
  exec nice -n 19 "build/fuzz/fuzz/fuzz_$1" -max_total_time="$seconds" -max_len=65536 -timeout=10 \
    -rss_limit_mb=2048 -dict=fuzz/json.dict -print_final_stats=1 -artifact_prefix="build/fuzz/$1-" \
    "$found" "fuzz/corpus/$1" >"build/fuzz/$1.log" 2>&1
}

names=()
jobs=()
for source in fuzz/*_fuzz.cpp; do
  name=$(basename "$source" _fuzz.cpp)
  names+=("$name")
  start "$name" &
  jobs+=($!)
done

broken=0
for i in "${!names[@]}"; do
  log=build/fuzz/${names[i]}.log
  if ! wait "${jobs[i]}"; then
    broken=1
    tail -40 "$log"
  fi
  stat() { sed -n "s/^stat::$1: *//p" "$log"; }
  coverage=$(grep -oE 'cov: [0-9]+ ft: [0-9]+' "$log" | tail -1 || true)
  echo "${names[i]}: $(stat number_of_executed_units) executions, $coverage, $(stat peak_rss_mb) MB at the most"
done
exit "$broken"
