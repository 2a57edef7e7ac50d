"""A scatter of the cases from CSV to PNG: `ggraph run` on a GGRAPH job against pandas.read_csv
with matplotlib's scatter and savefig, each as a fresh process (start-up included), best of
three wall times, in the same run.

Usage: scatter_peer.py GGRAPH_BINARY [ROWS] [WORK_DIR]   (ROWS defaults to 1000000)
"""
import os
import random
import subprocess
import sys
import time

JOB = """GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=x y
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: x = col(source(s), name("x"))
  DATA: y = col(source(s), name("y"))
  ELEMENT: point(position(x*y))
END GPL.
"""

PEER = """
import sys
import matplotlib
matplotlib.use("Agg")
import matplotlib.pyplot as plt
import pandas
frame = pandas.read_csv(sys.argv[1])
fig, ax = plt.subplots(figsize=(6.4, 4.8), dpi=200)
ax.scatter(frame["x"], frame["y"], s=4)
fig.savefig(sys.argv[2])
"""


def generate(path: str, rows: int) -> None:
    rng = random.Random(7)
    with open(path, "w") as out:
        out.write("x,y\n")
        for _ in range(rows):
            x = rng.gauss(50.0, 10.0)
            out.write(f"{x:.3f},{0.8 * x + rng.gauss(0.0, 6.0):.3f}\n")


def best_of_three(command: list) -> float:
    best = None
    for _ in range(3):
        start = time.perf_counter()
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    return best


def main() -> int:
    ggraph = sys.argv[1]
    rows = int(sys.argv[2]) if len(sys.argv) > 2 else 1_000_000
    work = sys.argv[3] if len(sys.argv) > 3 else "build-bench/scatter"
    os.makedirs(work, exist_ok=True)
    csv = os.path.join(work, f"scatter_{rows}.csv")
    if not os.path.exists(csv):
        generate(csv, rows)
    job = os.path.join(work, "scatter.sps")
    with open(job, "w") as out:
        out.write(JOB)
    peer = os.path.join(work, "peer.py")
    with open(peer, "w") as out:
        out.write(PEER)

    ours = best_of_three([ggraph, "run", job, "--data", csv, "--out", os.path.join(work, "out")])
    png = os.path.join(work, "out", "charts", "chart-001.png")
    if not os.path.exists(png):
        print(f"ggraph made no chart: {png} is missing", file=sys.stderr)
        return 1
    # Debian's pandas and matplotlib live with the system interpreter.
    theirs = best_of_three(["/usr/bin/python3", peer, csv, os.path.join(work, "peer.png")])
    print(f"scatter of {rows} cases, CSV to PNG, wall time, best of 3 (process start-up included)")
    print(f"{'ggraph run':<28}{ours:>8.2f} s")
    print(f"{'pandas + matplotlib':<28}{theirs:>8.2f} s")
    print(f"ratio pandas+matplotlib / ggraph: {theirs / ours:.2f}x")
    return 0


if __name__ == "__main__":
    sys.exit(main())
