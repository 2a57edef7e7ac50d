#!/usr/bin/env bash
# Builds the fuzz targets with clang into build-fuzz/ and runs each for a time budget, with its
# corpus kept in fuzz/corpus/<target>/. New inputs that add coverage go to a scratch folder, so
# the kept corpus grows only when someone merges them in (--merge).
#
# Usage: scripts/fuzz.sh [--time SECONDS] [--runs N] [--target NAME] [--max-len BYTES] [--merge]
#                        [--build-only]
#   --time     seconds per target (default 60)
#   --runs     stop each target after N executions instead (the time budget still caps it
#              when given as well)
#   --target   run one target only (fuzz_gpl, fuzz_chart_xml, fuzz_job_syntax, fuzz_csv_dictionary)
#   --max-len  the longest input tried (default 65536; 4096 runs two to three times as many
#              inputs a second, for volume)
#   --merge    minimise the scratch finds into fuzz/corpus/<target>/ after the run
# A crash leaves its input as build-fuzz/findings/<target>/crash-*; turn it into a test of the
# suite before fixing it.
set -euo pipefail
cd "$(dirname "$0")/.."

budget=60
runs=-1
budget_given=0
only=""
merge=0
max_len=65536
build_only=0
while [ $# -gt 0 ]; do
  case "$1" in
    --time) budget="$2"; budget_given=1; shift 2 ;;
    --runs) runs="$2"; shift 2 ;;
    --target) only="$2"; shift 2 ;;
    --max-len) max_len="$2"; shift 2 ;;
    --merge) merge=1; shift ;;
    --build-only) build_only=1; shift ;;
    *) echo "unknown option $1" >&2; exit 2 ;;
  esac
done

targets=(fuzz_gpl fuzz_chart_xml fuzz_job_syntax fuzz_csv_dictionary)
[ -n "$only" ] && targets=("$only")

if ! command -v clang++ >/dev/null; then
  bash scripts/install-deps.sh --fuzz
fi
if [ ! -f build-fuzz/build.ninja ]; then
  CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DGGRAPH_FUZZ=ON -DGGRAPH_TESTS=OFF >/dev/null
fi
cmake --build build-fuzz -j "$(nproc)" --target "${targets[@]}"
[ "$build_only" = 1 ] && exit 0

# With --runs alone the count decides when a target stops.
[ "$runs" != -1 ] && [ "$budget_given" = 0 ] && budget=0

status=0
for t in "${targets[@]}"; do
  corpus="fuzz/corpus/$t"
  scratch="build-fuzz/scratch/$t"
  findings="build-fuzz/findings/$t"
  mkdir -p "$corpus" "$scratch" "$findings"
  if [ "$runs" != -1 ]; then echo "== $t: $runs runs"; else echo "== $t: ${budget}s"; fi
  # Inputs of up to 64 KB by default; deeper or longer ones are what the size and depth limits
  # are for.
  if ! "build-fuzz/fuzz/$t" -max_total_time="$budget" -runs="$runs" -max_len="$max_len" -timeout=10 \
      -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings/" \
      "$scratch" "$corpus" 2>"build-fuzz/$t.log"; then
    echo "$t: a finding, see $findings/ and build-fuzz/$t.log" >&2
    status=1
  fi
  grep -E '^stat::number_of_executed_units|^Done' "build-fuzz/$t.log" || tail -n 3 "build-fuzz/$t.log"
  if [ "$merge" = 1 ]; then
    "build-fuzz/fuzz/$t" -merge=1 -max_len=65536 "$corpus" "$scratch" 2>/dev/null
  fi
done
exit "$status"
