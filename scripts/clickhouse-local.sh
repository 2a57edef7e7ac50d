#!/usr/bin/env bash
# A ClickHouse server (or a cluster of shards) on loopback ports, for the tests and for trying
# ggraph against a database. Installs the Debian package when it is missing.
#
#   scripts/clickhouse-local.sh start [--shards N] [--dir DIR]
#       starts N servers (1 unless given) in DIR (a new temporary folder unless given) and prints
#       the address of the first one as clickhouse://127.0.0.1:PORT on a line of its own. With
#       more than one shard, the servers form the cluster "ggraph".
#   scripts/clickhouse-local.sh load TABLE FILE.csv "COLUMNS" [--dir DIR]
#       creates default.TABLE with the columns (as in CREATE TABLE: "id Int32, x Nullable(Float64)")
#       and loads the CSV (its header line skipped; an empty field is NULL; no quoted fields).
#       Over several shards each holds every Nth row in default.TABLE_shard, and default.TABLE on
#       the first server is a Distributed table over them.
#   scripts/clickhouse-local.sh stop [--dir DIR]
#       stops the servers started in DIR, by their pid files, and removes DIR.
#
# Without --dir, the folder of the last start is remembered in $TMPDIR/ggraph-clickhouse-UID.
# Exit status 3 means the package is missing and cannot be installed here.
set -euo pipefail

command=${1:-}
shift || true
shards=1
dir=""
positional=()
while [ $# -gt 0 ]; do
  case "$1" in
    --shards) shards=$2; shift 2 ;;
    --dir) dir=$2; shift 2 ;;
    *) positional+=("$1"); shift ;;
  esac
done
marker="${TMPDIR:-/tmp}/ggraph-clickhouse-$(id -u)"
server=/usr/sbin/clickhouse-server

die() { echo "clickhouse-local: $*" >&2; exit "${2:-1}"; }

install_package() {
  [ -x "$server" ] && command -v curl >/dev/null && return 0
  local sudo=""
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null && sudo -n true 2>/dev/null || return 1
    sudo="sudo -n"
  fi
  echo "clickhouse-local: installing clickhouse-server" >&2
  export DEBIAN_FRONTEND=noninteractive
  { $sudo apt-get update -qq && $sudo apt-get install -y -qq --no-install-recommends clickhouse-server clickhouse-client curl; } >&2 || return 1
  [ -x "$server" ]
}

port_free() { ! (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

pick_port() {
  local port
  for _ in $(seq 1 200); do
    port=$((20000 + RANDOM % 30000))
    if port_free "$port" && ! grep -qx "$port" "$dir/ports" 2>/dev/null; then
      echo "$port" >>"$dir/ports"
      echo "$port"
      return 0
    fi
  done
  die "no free port found"
}

query() {  # query PORT SQL
  curl -sS --fail-with-body --max-time 60 "http://127.0.0.1:$1/" --data-binary "$2"
}

write_config() {  # write_config SHARD_DIR HTTP TCP CLUSTER_XML
  mkdir -p "$1/data" "$1/tmp" "$1/user_files" "$1/format_schemas"
  cat >"$1/config.xml" <<XML
<?xml version="1.0"?>
<yandex>
  <logger><level>warning</level><log>$1/server.log</log><errorlog>$1/error.log</errorlog><size>10M</size><count>1</count></logger>
  <http_port>$2</http_port>
  <tcp_port>$3</tcp_port>
  <listen_host>127.0.0.1</listen_host>
  <path>$1/data/</path>
  <tmp_path>$1/tmp/</tmp_path>
  <user_files_path>$1/user_files/</user_files_path>
  <format_schema_path>$1/format_schemas/</format_schema_path>
  <mark_cache_size>67108864</mark_cache_size>
  <max_concurrent_queries>50</max_concurrent_queries>
  <users_config>$1/users.xml</users_config>
  <default_profile>default</default_profile>
  <default_database>default</default_database>
  <timezone>UTC</timezone>
  <remote_servers>$4</remote_servers>
</yandex>
XML
  cat >"$1/users.xml" <<XML
<?xml version="1.0"?>
<yandex>
  <profiles><default><max_memory_usage>8000000000</max_memory_usage></default></profiles>
  <users><default><password></password><networks><ip>127.0.0.1</ip><ip>::1</ip></networks>
    <profile>default</profile><quota>default</quota></default></users>
  <quotas><default></default></quotas>
</yandex>
XML
}

start() {
  install_package || die "clickhouse-server is not installed and cannot be installed here (no root, no sudo, or no package source)" 3
  if [ -z "$dir" ]; then dir=$(mktemp -d "${TMPDIR:-/tmp}/ggraph-clickhouse.XXXXXX"); fi
  mkdir -p "$dir"
  dir=$(cd "$dir" && pwd)
  [ -e "$dir/shards" ] && die "servers were already started in $dir; stop them first"
  local http=() tcp=() cluster="<ggraph>"
  for i in $(seq 1 "$shards"); do
    http+=("$(pick_port)")
    tcp+=("$(pick_port)")
    cluster+="<shard><replica><host>127.0.0.1</host><port>${tcp[$((i - 1))]}</port></replica></shard>"
  done
  cluster+="</ggraph>"
  echo "$shards" >"$dir/shards"
  echo "$dir" >"$marker"
  for i in $(seq 1 "$shards"); do
    local shard="$dir/shard$i"
    write_config "$shard" "${http[$((i - 1))]}" "${tcp[$((i - 1))]}" "$cluster"
    echo "${http[$((i - 1))]}" >"$shard/http_port"
    "$server" --config-file="$shard/config.xml" --pid-file="$shard/pid" --daemon >/dev/null 2>&1 ||
      die "the server of shard $i did not start; see $shard/error.log"
  done
  for i in $(seq 1 "$shards"); do
    local ok=""
    # A loaded machine (a test suite beside it) can take a while to bring a server up.
    for _ in $(seq 1 600); do
      if curl -s --max-time 1 "http://127.0.0.1:${http[$((i - 1))]}/ping" >/dev/null 2>&1; then ok=1; break; fi
      sleep 0.1
    done
    [ -n "$ok" ] || { stop_servers; die "the server of shard $i does not answer; see $dir/shard$i/error.log"; }
  done
  echo "clickhouse://127.0.0.1:${http[0]}"
}

state_dir() {
  if [ -z "$dir" ] && [ -f "$marker" ]; then dir=$(cat "$marker"); fi
  [ -n "$dir" ] && [ -f "$dir/shards" ] || die "no servers started (give --dir DIR)"
}

load() {
  state_dir
  [ ${#positional[@]} -eq 3 ] || die "load takes TABLE FILE.csv \"COLUMNS\""
  local table=${positional[0]} file=${positional[1]} columns=${positional[2]}
  local count
  count=$(cat "$dir/shards")
  local first
  first=$(cat "$dir/shard1/http_port")
  local target=$table
  [ "$count" -gt 1 ] && target="${table}_shard"
  for i in $(seq 1 "$count"); do
    local port
    port=$(cat "$dir/shard$i/http_port")
    query "$port" "DROP TABLE IF EXISTS default.$target" >/dev/null
    query "$port" "CREATE TABLE default.$target ($columns) ENGINE = MergeTree ORDER BY tuple()" >/dev/null
    tail -n +2 "$file" | tr -d '\r' |
      awk -F, -v OFS='\t' -v n="$count" -v k="$i" '(NR - 1) % n == k - 1 { for (f = 1; f <= NF; f++) if ($f == "") $f = "\\N"; $1 = $1; print }' |
      curl -sS --fail-with-body --max-time 300 "http://127.0.0.1:$port/?query=INSERT%20INTO%20default.$target%20FORMAT%20TabSeparated" --data-binary @- >/dev/null
  done
  if [ "$count" -gt 1 ]; then
    query "$first" "DROP TABLE IF EXISTS default.$table" >/dev/null
    query "$first" "CREATE TABLE default.$table AS default.$target ENGINE = Distributed(ggraph, default, $target)" >/dev/null
  fi
}

stop_servers() {
  local pids=()
  for pidfile in "$dir"/shard*/pid; do
    [ -f "$pidfile" ] || continue
    local pid
    pid=$(cat "$pidfile")
    # Only a server of ours: its command line names this folder's config.
    if [ -r "/proc/$pid/cmdline" ] && tr '\0' ' ' <"/proc/$pid/cmdline" | grep -q -- "$dir/"; then
      kill "$pid" 2>/dev/null || true
      pids+=("$pid")
    fi
    rm -f "$pidfile"
  done
  for pid in "${pids[@]}"; do
    for _ in $(seq 1 100); do kill -0 "$pid" 2>/dev/null || break; sleep 0.1; done
    kill -9 "$pid" 2>/dev/null || true
  done
}

stop() {
  state_dir
  stop_servers
  rm -rf "$dir"
  if [ -f "$marker" ] && [ "$(cat "$marker")" = "$dir" ]; then rm -f "$marker"; fi
}

case "$command" in
  start) start ;;
  load) load ;;
  stop) stop ;;
  *) die "usage: $0 start [--shards N] [--dir DIR] | load TABLE FILE.csv COLUMNS [--dir DIR] | stop [--dir DIR]" ;;
esac
