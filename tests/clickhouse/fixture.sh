#!/usr/bin/env bash
# The servers of the ClickHouse tests: `start DIR` starts one server and a cluster of two shards
# and loads the test tables into both; `stop DIR` stops them. When the package cannot be
# installed here, start leaves DIR/skip saying why, and the tests skip.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
script="$here/../../scripts/clickhouse-local.sh"
dir=$2
columns="id Int32, grp Int32, cat Nullable(Int32) COMMENT 'Category', sex String, region String,
  x Nullable(Float64), y Nullable(Float64), w Float64, d1 Nullable(Int32), d2 Nullable(Int32),
  c1 Nullable(Int32), c2 Nullable(Int32)"

# skip REASON: the tests skip, saying why; the fixture stops what it started.
skip() {
  echo "$1" >"$dir/skip.reason"
  "$script" stop --dir "$dir/single" >/dev/null 2>&1
  "$script" stop --dir "$dir/sharded" >/dev/null 2>&1
  mv "$dir/skip.reason" "$dir/skip"
  echo "SKIP: $1"
  exit 0
}

# server_error CLUSTER: what the start script and the servers' error logs said, in short.
server_error() {
  { cat "$dir/start.err"; tail -n 3 "$dir/$1"/shard*/error.log; } 2>/dev/null | tr '\n' ' ' | cut -c1-600
}

case "$1" in
  start)
    "$script" stop --dir "$dir/single" >/dev/null 2>&1
    "$script" stop --dir "$dir/sharded" >/dev/null 2>&1
    rm -rf "$dir"
    mkdir -p "$dir"
    url=$("$script" start --dir "$dir/single" 2>"$dir/start.err")
    status=$?
    if [ $status -eq 3 ]; then
      skip "clickhouse-server is not installed and cannot be installed on this machine"
    fi
    # A server that is installed but will not run here (an old build on another processor, a
    # kernel limit) is the machine's matter, not the client's: say why and skip.
    [ $status -eq 0 ] || skip "clickhouse-server did not start here: $(server_error single)"
    echo "$url" >"$dir/single.url"
    url=$("$script" start --shards 2 --dir "$dir/sharded" 2>"$dir/start.err") ||
      skip "the two-shard ClickHouse cluster did not start here: $(server_error sharded)"
    echo "$url" >"$dir/sharded.url"
    for cluster in single sharded; do
      "$script" load survey "$here/data/survey.csv" "$columns" --dir "$dir/$cluster" || exit 1
    done
    # A table with a column that cannot be read, beside ones that can.
    port=$(cat "$dir/single/shard1/http_port")
    curl -sS --fail-with-body "http://127.0.0.1:$port/" --data-binary \
      "CREATE TABLE default.odd (k Int32, tags Array(String), e Enum8('low' = 1, 'medium' = 2), v Float64 COMMENT 'Value') ENGINE = MergeTree ORDER BY tuple()" || exit 1
    curl -sS --fail-with-body "http://127.0.0.1:$port/" --data-binary \
      "INSERT INTO default.odd VALUES (1, ['a'], 'low', 2.5), (2, [], 'medium', 4), (1, ['b'], 'low', 3.5)" || exit 1
    ;;
  stop)
    "$script" stop --dir "$dir/single" >/dev/null 2>&1 &
    "$script" stop --dir "$dir/sharded" >/dev/null 2>&1 &
    wait
    rm -rf "$dir"
    ;;
esac
exit 0
