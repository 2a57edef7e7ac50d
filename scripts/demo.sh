#!/usr/bin/env bash
# Makes the example data, runs the example job over it and says where its report is.
set -euo pipefail
build=${1:-build}
root=$(cd "$(dirname "$0")/.." && pwd)
out="$root/out/demo"
rm -rf "$out"
bash "$root/scripts/make-example-data.sh" >/dev/null
status=0
"$root/$build/src/cli/ggraph" run "$root/examples/demo.sps" --data "$root/examples/data/employees.csv" \
  --out "$out" || status=$?
# The demo job holds one deliberate mistake, so an exit status of 1 is expected here.
if [ "$status" -gt 1 ]; then
  echo "The demo job could not be run (exit status $status)." >&2
  exit "$status"
fi
echo
echo "Report:       $out/report.html"
echo "Charts:       $out/charts/"
echo "JSON output:  $out/output.json"
