"""A bar chart of means over 10,000,000 cases, from a CSV of three columns to a PNG: `ggraph run`
against pandas + matplotlib and against R with data.table + ggplot2, each a fresh process
(start-up included), the median of several wall times and the peak resident memory, in the same
run. The job uses two of the three columns. Also times the CSV ingest alone: `ggraph run` of a job
that only reads the data (no chart), so that the whole-job time splits into reading and the rest,
and beside it bench/csv_ceiling, a bare parse of the same two columns that checks nothing: what
this machine allows any reader that builds the columns.
Those runs parse the CSV every time (--no-cache), as the peers do; the job is then timed once more
over the parse kept in a cache folder by an earlier run (the second and later runs of a job over
an unchanged file).

Usage: bar_means_peer.py GGRAPH_BINARY [ROWS] [WORK_DIR] [RUNS]
ROWS defaults to 10000000 (a file of about 111 MB), RUNS to 5. GGRAPH_BENCH_FIFO=1 runs the
bench and every side under the real-time scheduler (as root), for a machine busy with other work.
"""
import os
import random
import shutil
import subprocess
import sys
import time

from process_timing import measure, realtime_if_asked

JOB = """GGRAPH
  /GRAPHDATASET NAME="b" VARIABLES=g MEAN(y)[NAME="mean"]
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("b"))
  DATA: g = col(source(s), name("g"), unit.category())
  DATA: mean = col(source(s), name("mean"))
  ELEMENT: interval(position(g*mean))
END GPL.
"""

# A job whose only use of the data is a split by two of its columns: it loads g and y, groups
# the cases and draws nothing, so its time is the ingest plus start-up.
INGEST_JOB = """SPLIT FILE BY g y.
"""

PANDAS = """
import sys
import matplotlib
matplotlib.use("Agg")
import matplotlib.pyplot as plt
import pandas
frame = pandas.read_csv(sys.argv[1], usecols=["g", "y"])
means = frame.groupby("g", sort=True)["y"].mean()
fig, ax = plt.subplots(figsize=(6.4, 4.8), dpi=100)
ax.bar(means.index.astype(str), means.values)
fig.savefig(sys.argv[2])
"""

R = """
suppressPackageStartupMessages({library(data.table); library(ggplot2)})
args <- commandArgs(trailingOnly = TRUE)
frame <- fread(args[1], select = c("g", "y"))
means <- frame[, .(mean = mean(y, na.rm = TRUE)), by = g]
plot <- ggplot(means, aes(x = g, y = mean)) + geom_col()
ggsave(args[2], plot, width = 6.4, height = 4.8, dpi = 100)
"""


def generate(path: str, rows: int) -> None:
    """g: ten categories A..J; y: a decimal; z: a small count (not used by the chart)."""
    rng = random.Random(11)
    letters = "ABCDEFGHIJ"
    with open(path, "w") as out:
        out.write("g,y,z\n")
        block = 100_000
        for start in range(0, rows, block):
            lines = []
            for _ in range(min(block, rows - start)):
                k = rng.randrange(10)
                lines.append(f"{letters[k]},{rng.uniform(0, 100) + 10 * k:.1f},{rng.randrange(100)}\n")
            out.write("".join(lines))


def main() -> int:
    ggraph = sys.argv[1]
    rows = int(sys.argv[2]) if len(sys.argv) > 2 else 10_000_000
    work = sys.argv[3] if len(sys.argv) > 3 else "build-bench/bar_means"
    runs = int(sys.argv[4]) if len(sys.argv) > 4 else 5
    os.makedirs(work, exist_ok=True)
    realtime_if_asked()
    csv = os.path.join(work, f"bar_means_{rows}.csv")
    if not os.path.exists(csv):
        print(f"Generating {csv} ({rows} rows)...", flush=True)
        generate(csv, rows)
    size_mb = os.path.getsize(csv) / 1e6
    files = {"bar.sps": JOB, "ingest.sps": INGEST_JOB, "peer.py": PANDAS, "peer.R": R}
    for name, text in files.items():
        with open(os.path.join(work, name), "w") as out:
            out.write(text)
    j = lambda name: os.path.join(work, name)

    results = []
    bar = [ggraph, "run", j("bar.sps"), "--data", csv, "--out", j("out"), "--format", "png", "-q"]
    ours = measure(bar + ["--no-cache"], runs)
    if not os.path.exists(j("out/charts/chart-001.png")):
        print("ggraph made no chart", file=sys.stderr)
        return 1
    results.append(("ggraph run", ours))
    ingest = measure([ggraph, "run", j("ingest.sps"), "--data", csv, "--out", j("ingest_out"),
                        "-q", "--no-cache"], runs)
    results.append(("ggraph, ingest only", ingest))
    # The yardstick for the ingest figure: a bare parse of the same two columns, no checks.
    ceiling_binary = os.path.join(os.path.dirname(os.path.abspath(ggraph)), "..", "..", "bench",
                                  "csv_ceiling")
    ceiling = measure([ceiling_binary, csv], runs) if os.path.exists(ceiling_binary) else None
    # The cache entry is written in the background by the first run; wait for it.
    cache = j("cache")
    shutil.rmtree(cache, ignore_errors=True)
    subprocess.run(bar + ["--cache-dir", cache], check=True)
    for _ in range(600):
        if any(name.endswith(".csvcache") for name in os.listdir(cache)):
            break
        time.sleep(0.1)
    warm = measure(bar + ["--cache-dir", cache], runs)
    # Debian's pandas and matplotlib live with the system interpreter.
    results.append(("pandas + matplotlib",
                    measure(["/usr/bin/python3", j("peer.py"), csv, j("pandas.png")], runs)))
    if shutil.which("Rscript"):
        results.append(("R data.table + ggplot2",
                        measure(["Rscript", j("peer.R"), csv, j("r.png")], runs)))
    else:
        print("Rscript is not installed (scripts/install-deps.sh --bench): R is left out")

    print(f"bar chart of means, {rows} cases, CSV ({size_mb:.0f} MB, 2 of 3 columns used) to PNG;"
          f" median wall time of {runs}, process start-up included; peak resident memory")
    for name, (wall, peak) in results:
        print(f"{name:<28}{wall:>8.2f} s{peak:>9.0f} MB")
    print(f"{'ggraph run, cache warm':<28}{warm[0]:>8.2f} s{warm[1]:>9.0f} MB")
    print(f"ingest: {size_mb / ingest[0]:.0f} MB/s of CSV (whole process); the whole job over the "
          f"cache: {size_mb / warm[0]:.0f} MB/s of CSV")
    if ceiling:
        print(f"bare two-column parse without checks (bench/csv_ceiling): {ceiling[0]:.2f} s, "
              f"{size_mb / ceiling[0]:.0f} MB/s; ggraph's ingest is {ceiling[0] / ingest[0]:.0%} "
              f"of that speed")
    for name, (wall, _) in results[2:]:
        print(f"ratio {name} / ggraph: {wall / ours[0]:.1f}x (cache warm: {wall / warm[0]:.1f}x)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
