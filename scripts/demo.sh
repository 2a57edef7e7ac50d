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
  --dataset stores="$root/examples/data/stores.csv" --dataset countries="$root/examples/data/countries.csv" \
  --out "$out" || status=$?
# The demo job holds one deliberate mistake, so an exit status of 1 is expected here.
if [ "$status" -gt 1 ]; then
  echo "The demo job could not be run (exit status $status)." >&2
  exit "$status"
fi
# The chart gallery: each form of examples/gallery drawn from its own rows.
ggraph="$root/$build/src/cli/ggraph"
for gpl in "$root"/examples/gallery/*.gpl; do
  name=$(basename "$gpl" .gpl)
  mkdir -p "$out/gallery/$name"
  "$ggraph" gpl2xml "$gpl" > "$out/gallery/$name/chart.xml"
  "$ggraph" render "$out/gallery/$name/chart.xml" --data "${gpl%.gpl}.json" --out "$out/gallery/$name" >/dev/null
done
echo
echo "Report:       $out/report.html"
echo "Gallery:      $out/gallery/"
echo "Charts:       $out/charts/"
echo "JSON output:  $out/output.json"
