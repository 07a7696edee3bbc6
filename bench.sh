#!/usr/bin/env bash
# Builds and runs the benchmarks, prints their table and leaves build/bench.json.
set -euo pipefail
cd "$(dirname "$0")"
tools/packages.sh bench
cmake --preset linux -DHVT_BENCHMARKS=ON -DBUILD_TESTING=OFF -B build/bench >/dev/null
cmake --build build/bench --target hvt_bench
build/bench/bench/hvt_bench --benchmark_out=build/bench.json --benchmark_out_format=json "$@"
