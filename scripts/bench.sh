#!/bin/sh
# bench.sh - runs the benchmarks of a tree configured with the preset "bench"
set -eu
cd "$(dirname "$0")/.."
bin=build/bench/bin
bench/convert.sh "$bin"
"$bin/bench_decoders" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true
"$bin/bench_truetype"
bench/render.sh "$bin/pdf_to_ps" examples
