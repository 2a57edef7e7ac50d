"""Charts from CSV, whole processes: `ggraph run` on a GGRAPH job against pandas + matplotlib
doing the same work, in the same run. Each workload runs each side as a fresh process (start-up
included) REPEAT times; the median wall time and the peak resident memory (from
/usr/bin/time -v) are printed with the ratios.

Workloads:
  scatter1m   a scatter of 1,000,000 cases, CSV to PNG of 1280x960
  scatter10m  a scatter of 10,000,000 cases, CSV to PNG of 1280x960
  bar10m      a bar chart of the means of x by group over 10,000,000 cases, CSV to PNG
  small       a job of 100 cases with one bar chart, SVG and PNG (ggraph alone)

Usage: chart_peer.py GGRAPH_BINARY WORK_DIR [WORKLOAD ...]   (default: all of them)
The environment variable GGRAPH_BENCH_REPEAT (default 3; 21 for `small`) sets the repeats. On a
shared machine GGRAPH_BENCH_FIFO=1 runs the bench and both sides under the real-time scheduler
(as root), which keeps other processes from skewing the timings; use it for short workloads.
"""
import os
import random
import sys

from process_timing import measure, realtime_if_asked

SCATTER_JOB = """GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=x y
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: x = col(source(s), name("x"))
  DATA: y = col(source(s), name("y"))
  ELEMENT: point(position(x*y))
END GPL.
"""

SCATTER_PEER = """
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

BAR_JOB = """GGRAPH
  /GRAPHDATASET NAME="g" VARIABLES=group MEAN(x)[NAME="mean"]
  /GRAPHSPEC SOURCE=INLINE.
BEGIN GPL
  SOURCE: s = userSource(id("g"))
  DATA: group = col(source(s), name("group"), unit.category())
  DATA: mean = col(source(s), name("mean"))
  ELEMENT: interval(position(group*mean))
END GPL.
"""

# The peer reads only the two columns it needs, as ggraph does.
BAR_PEER = """
import sys
import matplotlib
matplotlib.use("Agg")
import matplotlib.pyplot as plt
import pandas
frame = pandas.read_csv(sys.argv[1], usecols=["group", "x"])
means = frame.groupby("group")["x"].mean()
fig, ax = plt.subplots(figsize=(6.4, 4.8), dpi=200)
ax.bar(means.index.astype(str), means.to_numpy())
fig.savefig(sys.argv[2])
"""


def write_scatter_csv(path: str, rows: int) -> None:
    rng = random.Random(7)
    with open(path, "w") as out:
        out.write("x,y\n")
        chunk = []
        for _ in range(rows):
            x = rng.gauss(50.0, 10.0)
            chunk.append(f"{x:.3f},{0.8 * x + rng.gauss(0.0, 6.0):.3f}\n")
            if len(chunk) == 100000:
                out.write("".join(chunk))
                chunk.clear()
        out.write("".join(chunk))


def write_grouped_csv(path: str, rows: int) -> None:
    rng = random.Random(11)
    with open(path, "w") as out:
        out.write("id,group,x,y\n")
        chunk = []
        for row in range(1, rows + 1):
            chunk.append(f"{row},grp{rng.randrange(40):02d},{rng.uniform(0, 10000):.3f},"
                         f"{rng.uniform(0, 1000):.2f}\n")
            if len(chunk) == 100000:
                out.write("".join(chunk))
                chunk.clear()
        out.write("".join(chunk))


def ensure(path: str, writer, rows: int) -> str:
    if not os.path.exists(path):
        print(f"writing {path} ({rows} rows)...", file=sys.stderr)
        partial = path + ".partial"
        writer(partial, rows)
        os.replace(partial, path)
    return path


def write_text(path: str, text: str) -> str:
    with open(path, "w") as out:
        out.write(text)
    return path


def compare(name: str, ggraph_cmd: list, peer_cmd: list, repeat: int, made: str) -> None:
    ours, our_mb = measure(ggraph_cmd, repeat)
    if not os.path.exists(made):
        raise SystemExit(f"ggraph made no chart: {made} is missing")
    theirs, their_mb = measure(peer_cmd, repeat)
    print(f"{name} (median of {repeat}, whole processes)")
    print(f"  {'ggraph run':<24}{ours:>8.2f} s {our_mb:>8.0f} MB peak")
    print(f"  {'pandas + matplotlib':<24}{theirs:>8.2f} s {their_mb:>8.0f} MB peak")
    print(f"  time: peer / ggraph = {theirs / ours:.2f}x; "
          f"memory: ggraph / peer = {our_mb / their_mb:.2f}")


def scatter(ggraph: str, work: str, rows: int, repeat: int) -> None:
    csv = ensure(os.path.join(work, f"scatter_{rows}.csv"), write_scatter_csv, rows)
    job = write_text(os.path.join(work, "scatter.sps"), SCATTER_JOB)
    peer = write_text(os.path.join(work, "scatter_peer.py"), SCATTER_PEER)
    out = os.path.join(work, f"scatter_{rows}_out")
    compare(f"scatter of {rows:,} cases, CSV to PNG 1280x960",
            [ggraph, "run", job, "--data", csv, "--out", out, "--format", "png", "-q"],
            ["/usr/bin/python3", peer, csv, os.path.join(work, "peer_scatter.png")],
            repeat, os.path.join(out, "charts", "chart-001.png"))
    size = os.path.getsize(os.path.join(out, "output.json"))
    print(f"  output.json: {size / 1e6:.3f} MB")


def bar(ggraph: str, work: str, rows: int, repeat: int) -> None:
    csv = ensure(os.path.join(work, f"grouped_{rows}.csv"), write_grouped_csv, rows)
    job = write_text(os.path.join(work, "bar.sps"), BAR_JOB)
    peer = write_text(os.path.join(work, "bar_peer.py"), BAR_PEER)
    out = os.path.join(work, f"bar_{rows}_out")
    compare(f"bar chart of means over {rows:,} cases, CSV to PNG 1280x960",
            [ggraph, "run", job, "--data", csv, "--out", out, "--format", "png", "-q"],
            ["/usr/bin/python3", peer, csv, os.path.join(work, "peer_bar.png")],
            repeat, os.path.join(out, "charts", "chart-001.png"))


def small(ggraph: str, work: str, repeat: int) -> None:
    csv = ensure(os.path.join(work, "grouped_100.csv"), write_grouped_csv, 100)
    job = write_text(os.path.join(work, "bar.sps"), BAR_JOB)
    out = os.path.join(work, "small_out")
    took, peak = measure([ggraph, "run", job, "--data", csv, "--out", out, "-q"], repeat)
    print(f"job of 100 cases, one bar chart, SVG + PNG (median of {repeat}, whole process)")
    print(f"  {'ggraph run':<24}{took * 1000:>8.1f} ms {peak:>8.0f} MB peak")


def main() -> int:
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        return 2
    ggraph, work = sys.argv[1], sys.argv[2]
    wanted = sys.argv[3:] or ["small", "scatter1m", "bar10m", "scatter10m"]
    os.makedirs(work, exist_ok=True)
    realtime_if_asked()
    repeat = int(os.environ.get("GGRAPH_BENCH_REPEAT", "3"))
    for name in wanted:
        if name == "scatter1m":
            scatter(ggraph, work, 1_000_000, repeat)
        elif name == "scatter10m":
            scatter(ggraph, work, 10_000_000, repeat)
        elif name == "bar10m":
            bar(ggraph, work, 10_000_000, repeat)
        elif name == "small":
            small(ggraph, work, int(os.environ.get("GGRAPH_BENCH_REPEAT", "21")))
        else:
            print(f"unknown workload {name}", file=sys.stderr)
            return 2
    return 0


if __name__ == "__main__":
    sys.exit(main())
