#!/usr/bin/env bash
# Runs the example job and says where its report is.
set -euo pipefail
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
out="$root/out/demo"
rm -rf "$out"
status=0
"$root/$build/src/cli/ggraph" run "$root/examples/demo.sps" --out "$out" || status=$?
# The demo job holds one deliberate mistake, so an exit status of 1 is expected here.
if [ "$status" -gt 1 ]; then
  echo "The demo job could not be run (exit status $status)." >&2
  exit "$status"
fi
echo
echo "Report:       $out/report.html"
echo "JSON output:  $out/output.json"
