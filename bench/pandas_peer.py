"""The peer of the CSV load benchmark: pandas.read_csv on the same file, best of three, then the
ratio against our loader's figures (read from its Google Benchmark JSON)."""
import json
import os
import sys
import time

import pandas


def main() -> int:
    csv_path, ours_path = sys.argv[1], sys.argv[2]
    size = os.path.getsize(csv_path)
    cpu = wall = None
    rows = 0
    for _ in range(3):
        start_wall, start_cpu = time.perf_counter(), time.process_time()
        frame = pandas.read_csv(csv_path)
        elapsed_cpu = time.process_time() - start_cpu
        elapsed_wall = time.perf_counter() - start_wall
        rows = len(frame)
        del frame
        cpu = elapsed_cpu if cpu is None else min(cpu, elapsed_cpu)
        wall = elapsed_wall if wall is None else min(wall, elapsed_wall)
    with open(ours_path) as f:
        ours = json.load(f)["benchmarks"][0]
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[ours.get("time_unit", "ns")]
    ours_cpu = ours["cpu_time"] * scale
    ours_wall = ours["real_time"] * scale
    mb = size / 1e6
    print(f"file: {csv_path}  {mb:.0f} MB, {rows} rows (best of 3; our figure: mean of 3)")
    print(f"{'loader':<22}{'MB/s cpu':>10}{'rows/s cpu':>13}{'MB/s wall':>11}{'rows/s wall':>13}")
    for name, c, w in (("ggraph (case store)", ours_cpu, ours_wall), ("pandas.read_csv", cpu, wall)):
        print(f"{name:<22}{mb / c:>10.0f}{rows / c:>13.3g}{mb / w:>11.0f}{rows / w:>13.3g}")
    print(f"ratio ggraph / pandas: {cpu / ours_cpu:.2f}x (cpu), {wall / ours_wall:.2f}x (wall)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
