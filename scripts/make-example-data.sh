#!/usr/bin/env bash
# Writes the example dataset (examples/data/employees.csv) deterministically: the same bytes on
# every machine, from a fixed multiplicative congruential generator. Its dictionary is
# examples/data/employees.csv.json, kept in the repository.
set -euo pipefail
out=${1:-"$(cd "$(dirname "$0")/.." && pwd)/examples/data/employees.csv"}
awk -v cases=474 '
# The minimal standard generator of Park and Miller: every product stays below 2^53, so any awk computes it exactly.
function rand01() { seed = (seed * 16807) % 2147483647; return seed / 2147483647 }
function normal(   u, v) { u = rand01(); v = rand01(); if (u < 1e-12) u = 1e-12;
                           return sqrt(-2 * log(u)) * cos(6.283185307179586 * v) }
BEGIN {
  seed = 20261122
  print "id,gender,educ,jobcat,salary,salbegin,region,minority,jobtime,satisfaction"
  split("north south east west", regions, " ")
  for (i = 1; i <= cases; i++) {
    gender = rand01() < 0.46 ? "f" : "m"
    educ = 8 + 2 * int(rand01() * 6); if (rand01() < 0.3) educ += 4; if (educ > 21) educ = 21
    r = rand01()
    jobcat = r < 0.76 ? 1 : (r < 0.82 ? 2 : 3)
    base = (jobcat == 1 ? 24000 : (jobcat == 2 ? 30000 : 58000)) + (educ - 8) * 1400
    if (gender == "m") base += 3500
    salbegin = int(base * (0.55 + 0.05 * normal()) / 150) * 150
    salary = int(base * (1 + 0.18 * normal()) / 50) * 50
    if (salary < 15000) salary = 15000
    region = regions[1 + int(rand01() * 4)]
    minority = rand01() < 0.22 ? 1 : 0
    jobtime = 63 + int(rand01() * 36)
    satisfaction = 1 + int(rand01() * 5)
    # A few values are missing or user-missing, as real files have them.
    if (i % 97 == 0) salary = ""
    if (i % 113 == 0) satisfaction = 9
    if (i % 131 == 0) educ = ""
    printf "%d,%s,%s,%d,%s,%d,%s,%d,%d,%d\n", i, gender, educ, jobcat, salary, salbegin, region, minority, jobtime, satisfaction
  }
}' > "$out"
echo "Wrote $out"
