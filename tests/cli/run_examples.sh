#!/usr/bin/env bash
# The ggraph program end to end: the examples run with the documented exit statuses and leave
# both outputs; usage errors and unreadable jobs give status 2.
set -u
ggraph=$1; root=$2
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
failures=0
check() {  # name, expected status, command...
  local name=$1 expected=$2; shift 2
  "$@" >"$out/stdout" 2>"$out/stderr"
  local status=$?
  if [ "$status" -ne "$expected" ]; then
    echo "FAIL $name: exit status $status, expected $expected"; cat "$out/stderr"; failures=$((failures + 1))
  else
    echo "ok   $name"
  fi
}
check "version" 0 "$ggraph" --version
grep -q '^ggraph ' "$out/stdout" || { echo "FAIL version text"; failures=$((failures + 1)); }
check "help" 0 "$ggraph" --help
check "no command" 2 "$ggraph"
check "unknown option" 2 "$ggraph" run --no-such-option x.sps
check "missing job" 2 "$ggraph" run "$out/none.sps" --out "$out/none"
grep -q 'none.sps' "$out/stderr" || { echo "FAIL missing job names the file"; failures=$((failures + 1)); }
# The demo holds one deliberate mistake.
check "demo" 1 "$ggraph" run "$root/examples/demo.sps" --data "$root/examples/data/employees.csv" --out "$out/demo"
# Its template has no graph data set to draw from, which is an error.
check "all subcommands" 1 "$ggraph" run "$root/examples/all_subcommands.sps" --context DM --out "$out/all"
grep -q 'The template \\"Bar\\" has no data to draw' "$out/all/output.json" ||
  { echo "FAIL the template without data is reported"; failures=$((failures + 1)); }
for f in demo/report.html demo/output.json all/report.html all/output.json; do
  [ -s "$out/$f" ] || { echo "FAIL $f was not written"; failures=$((failures + 1)); }
done
grep -q '"format": "ggraph-output/1"' "$out/demo/output.json" ||
  { echo "FAIL output.json format tag"; failures=$((failures + 1)); }
# Fourteen charts from the employees, the fifth once per region and the eighth once per gender:
# eighteen PNG files, and no warning on the way (the charts of the stores and countries data sets
# are not drawn without them).
[ "$(ls "$out/demo/charts/"*.png 2>/dev/null | wc -l)" -eq 18 ] ||
  { echo "FAIL the demo draws eighteen charts"; failures=$((failures + 1)); }
grep -q '"level": 2' "$out/demo/output.json" &&
  { echo "FAIL the demo reports a warning"; failures=$((failures + 1)); }
grep -q 'Unknown token STYLE' "$out/demo/report.html" ||
  { echo "FAIL report shows the demo's mistake"; failures=$((failures + 1)); }
grep -q 'Description: RFM Scatterplots' "$out/all/output.json" ||
  { echo "FAIL description table in the RFM flavour"; failures=$((failures + 1)); }
check "describe" 0 "$ggraph" describe --data "$root/tests/data/dictionary/employees.csv" --json
grep -q '"cases": 6' "$out/stdout" || { echo "FAIL describe --json counts the cases"; failures=$((failures + 1)); }
check "describe missing file" 1 "$ggraph" describe --data "$out/none.csv"
printf 'ELEMENT: point(position(x*y))\n' > "$out/bad.gpl"
check "gpl2xml refuses undeclared variables" 1 "$ggraph" gpl2xml "$out/bad.gpl"
check "bad chart format" 2 "$ggraph" run "$root/examples/demo.sps" --format gif --out "$out/gif"
[ "$failures" -eq 0 ]
