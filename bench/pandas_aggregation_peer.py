"""The peer of the aggregation benchmark: pandas groupby over the same cases (written by
`aggregation_bench --write-data`), COUNT and MEAN, then with MEDIAN, best of three CPU times. Checks
that both give the same cells, then prints cases per second and the ratio against our figures (read
from the benchmark's Google Benchmark JSON)."""
import json
import math
import os
import sys
import time

import numpy
import pandas


def best_cpu(frame, functions):
    best, result = None, None
    for _ in range(3):
        start = time.process_time()
        result = frame.groupby(["a", "b"])["x"].agg(functions)
        elapsed = time.process_time() - start
        best = elapsed if best is None else min(best, elapsed)
    return best, result


def check_cells(cells_path, result):
    ours = pandas.read_csv(cells_path).set_index(["a", "b"]).sort_index()
    theirs = result.sort_index()
    if list(ours.index) != list(theirs.index):
        return "the cells differ"
    if not (ours["count"].to_numpy() == theirs["count"].to_numpy()).all():
        return "counts differ"
    # Sums are taken in other orders and the median between two values is interpolated
    # another way: both agree to rounding.
    for column in ("mean", "median"):
        for mine, peer in zip(ours[column], theirs[column]):
            if not math.isclose(mine, peer, rel_tol=1e-12):
                return f"{column}s differ: {mine!r} against {peer!r}"
    return None


def main() -> int:
    data_path, ours_path = sys.argv[1], sys.argv[2]
    cases = os.path.getsize(data_path) // (3 * 8)
    columns = numpy.fromfile(data_path, dtype="<f8").reshape(3, cases)
    frame = pandas.DataFrame({"a": columns[0], "b": columns[1], "x": columns[2]})

    peer_mean, _ = best_cpu(frame, ["count", "mean"])
    peer_median, result = best_cpu(frame, ["count", "mean", "median"])
    problem = check_cells(data_path + ".cells", result)
    if problem:
        print(f"aggregation peer: {problem}", file=sys.stderr)
        return 1

    with open(ours_path) as f:
        benchmarks = {b["name"].split("/")[0]: b for b in json.load(f)["benchmarks"]}
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}

    def our_cpu(name):
        entry = benchmarks[name]
        return entry["cpu_time"] * scale[entry.get("time_unit", "ns")]

    print(f"aggregation: {cases} cases, 2 break variables (10 x 5 cells); same cells as pandas "
          f"(CPU, pandas best of 3, ours mean of 3)")
    print(f"{'statistics':<22}{'ggraph cases/s':>16}{'pandas cases/s':>16}{'ratio':>8}")
    for label, name, peer in (("COUNT MEAN", "CountMean", peer_mean),
                              ("COUNT MEAN MEDIAN", "CountMeanMedian", peer_median)):
        ours = our_cpu(name)
        print(f"{label:<22}{cases / ours:>16.3g}{cases / peer:>16.3g}{peer / ours:>7.2f}x")
    return 0


if __name__ == "__main__":
    sys.exit(main())
