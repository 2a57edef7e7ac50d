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

case "$1" in
  start)
    "$script" stop --dir "$dir/single" >/dev/null 2>&1
    "$script" stop --dir "$dir/sharded" >/dev/null 2>&1
    rm -rf "$dir"
    mkdir -p "$dir"
    url=$("$script" start --dir "$dir/single")
    status=$?
    if [ $status -eq 3 ]; then
      echo "clickhouse-server is not installed and cannot be installed on this machine" >"$dir/skip"
      echo "SKIP: the ClickHouse tests need clickhouse-server, which cannot be installed here"
      exit 0
    fi
    [ $status -eq 0 ] || exit $status
    echo "$url" >"$dir/single.url"
    url=$("$script" start --shards 2 --dir "$dir/sharded") || exit 1
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
