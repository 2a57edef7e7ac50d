#!/usr/bin/env bash
# Runs the benchmarks of a bench build and the peer comparison. Usage: bench/run.sh [BUILD_DIR]
# GGRAPH_BENCH_ROWS (default 10000000) sets the size of the generated CSV.
set -euo pipefail
build=${1:-build-bench}
here=$(cd "$(dirname "$0")" && pwd)
rows=${GGRAPH_BENCH_ROWS:-10000000}
csv=${GGRAPH_BENCH_CSV:-$build/bench_${rows}.csv}
bench=$build/bench/csv_load_bench

if [ ! -f "$csv" ]; then
  echo "Generating $csv ($rows rows)..."
  "$bench" --generate "$csv" "$rows"
fi
ours=$(mktemp)
aggregated=$(mktemp)
trap 'rm -f "$ours" "$aggregated"' EXIT
GGRAPH_BENCH_CSV=$csv "$bench" --benchmark_out="$ours" --benchmark_out_format=json
# Debian's pandas lives with the system interpreter.
/usr/bin/python3 "$here/pandas_peer.py" "$csv" "$ours"

# The aggregated pass against pandas groupby on the same cases. GGRAPH_AGG_CASES (default
# 10000000) sets their number.
agg=$build/bench/aggregation_bench
cases=$build/aggregation_${GGRAPH_AGG_CASES:-10000000}.f64
"$agg" --write-data "$cases"  # also our cells of this build, which the peer checks
"$agg" --benchmark_out="$aggregated" --benchmark_out_format=json
/usr/bin/python3 "$here/pandas_aggregation_peer.py" "$cases" "$aggregated"

# The unaggregated pass over 10 million cases.
"$build/bench/unaggregated_bench"

# Whole processes next to pandas with matplotlib: scatters of 1 and 10 million cases and a bar
# chart of means over 10 million, CSV to PNG; then the small job alone, and the PNG encoder's
# settings on the small job's picture. GGRAPH_CHART_WORKLOADS picks among
# small scatter1m bar10m scatter10m.
/usr/bin/python3 "$here/chart_peer.py" "$build/src/cli/ggraph" "$build/charts" ${GGRAPH_CHART_WORKLOADS:-}
if [ -f "$build/charts/small_out/charts/chart-001.png" ]; then
  "$build/bench/png_bench" "$build/charts/small_out/charts/chart-001.png" \
    --benchmark_filter='cairo|level[12]/(none|up)/'
fi

# The bar chart of means over 10 million cases of a three-column CSV, next to pandas + matplotlib
# and R data.table + ggplot2 (when installed), with the ingest alone.
/usr/bin/python3 "$here/bar_means_peer.py" "$build/src/cli/ggraph" "$rows" "$build/bar_means" 5
