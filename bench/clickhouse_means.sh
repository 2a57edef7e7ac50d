#!/usr/bin/env bash
# A bar chart of means over 100 million rows in a table of a local ClickHouse server, end to end:
# the rows are made inside the server, then `ggraph run` draws the chart, and its time is split
# into the server's queries (from GGRAPH_CLICKHOUSE_TRACE) and the rest (starting, drawing,
# writing the report). Then the same with the string width declared, and with medians. Beside it, the same job over a CSV of the first 10 million rows,
# read in-process, for scale.
# Usage: bench/clickhouse_means.sh [BUILD_DIR]   (GGRAPH_CH_ROWS sets the rows, 100000000)
set -euo pipefail
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
ggraph="$build/src/cli/ggraph"
rows=${GGRAPH_CH_ROWS:-100000000}
csv_rows=$((rows < 10000000 ? rows : 10000000))
work=$(mktemp -d "${TMPDIR:-/tmp}/ggraph-ch-bench.XXXXXX")
trap '"$root/scripts/clickhouse-local.sh" stop --dir "$work/server" >/dev/null 2>&1 || true; rm -rf "$work"' EXIT

url=$("$root/scripts/clickhouse-local.sh" start --dir "$work/server")
port=${url##*:}
sql() { curl -sS --fail-with-body "http://127.0.0.1:$port/" --data-binary "$1"; }
now() { date +%s.%N; }

sql "CREATE TABLE default.sales (region UInt8, channel String, amount Float64) ENGINE = MergeTree ORDER BY tuple()"
start=$(now)
sql "INSERT INTO default.sales SELECT number % 12, ['web', 'shop', 'phone'][number % 3 + 1],
       (cityHash64(number) % 100000) / 100.0 + (number % 12) * 10 FROM numbers($rows)"
made=$(echo "$(now) - $start" | bc)

cat >"$work/means.sps" <<'JOB'
GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=region MEAN(amount)
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: region = col(source(s), name("region"), unit.category())
  DATA: amount = col(source(s), name("MEAN_amount"))
  GUIDE: axis(dim(2), label("Mean amount"))
  ELEMENT: interval(position(region*amount))
END GPL.
JOB

# Runs the job and prints "total query" seconds.
measure() {
  local start end total query
  start=$(now)
  GGRAPH_CLICKHOUSE_TRACE=1 "$ggraph" run "$work/means.sps" "$@" --out "$work/out" -q 2>"$work/trace"
  end=$(now)
  total=$(echo "$end - $start" | bc)
  query=$(awk '/^clickhouse query:/ { s += $3 } END { printf "%.3f", s + 0 }' "$work/trace")
  echo "$total $query"
}

echo "rows: $rows (made in the server in ${made} s)"
for run in 1 2 3; do
  read -r total query < <(measure --data "$url/default.sales")
  printf "run %d: total %.3f s = server queries %.3f s + the rest %.3f s (start, dictionary, drawing, report)\n" \
    "$run" "$total" "$query" "$(echo "$total - $query" | bc)"
done
# A dictionary that declares the string column's width spares the scan that measures it.
echo '{"fields": [{"name": "channel", "type": "string", "width": 5}]}' >"$work/sales.json"
read -r total query < <(measure --data "$url/default.sales" --dict "$work/sales.json")
printf "with --dict declaring the width: total %.3f s = server queries %.3f s + the rest %.3f s\n" \
  "$total" "$query" "$(echo "$total - $query" | bc)"
# An order statistic needs each group's distinct values, which the server counts.
sed 's/MEAN(amount)/MEDIAN(amount)/; s/MEAN_amount/MEDIAN_amount/; s/Mean amount/Median amount/' \
  "$work/means.sps" >"$work/medians.sps"
start=$(now)
GGRAPH_CLICKHOUSE_TRACE=1 "$ggraph" run "$work/medians.sps" --data "$url/default.sales" \
  --dict "$work/sales.json" --out "$work/out-median" -q 2>"$work/trace-median"
total=$(echo "$(now) - $start" | bc)
query=$(awk '/^clickhouse query:/ { s += $3 } END { printf "%.3f", s + 0 }' "$work/trace-median")
bytes=$(awk '/^clickhouse query:/ { b += $5 } END { print b + 0 }' "$work/trace-median")
printf "medians instead: total %.3f s = server queries %.3f s (%d bytes of answers) + the rest %.3f s\n" \
  "$total" "$query" "$bytes" "$(echo "$total - $query" | bc)"
sed 's/^clickhouse query: \([0-9.]*\) s.*bytes: \(.\{0,90\}\).*/  \1 s  \2.../' "$work/trace"

# The peer: the server's own shortest query for the same cells.
start=$(now)
sql "SELECT region, avg(amount) FROM default.sales GROUP BY region FORMAT Null"
printf "the server alone, SELECT region, avg(amount) ... GROUP BY region: %.3f s\n" "$(echo "$(now) - $start" | bc)"

sql "SELECT region, channel, amount FROM default.sales LIMIT $csv_rows FORMAT CSVWithNames" >"$work/sales.csv"
read -r total _ < <(measure --data "$work/sales.csv")
printf "in-process over a CSV of %d rows: total %.3f s\n" "$csv_rows" "$total"
