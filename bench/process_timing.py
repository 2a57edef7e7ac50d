"""Whole-process timing for the peer benches: each command runs as a fresh process, start-up
included; the median wall time and the highest peak resident memory over the runs."""
import os
import statistics
import subprocess
import tempfile
import time


def measure(command: list, repeat: int) -> tuple:
    """Median wall seconds and the highest peak RSS in MB over `repeat` runs of `command`."""
    times, peaks = [], []
    with tempfile.NamedTemporaryFile("r", suffix=".time") as report:
        for _ in range(repeat):
            start = time.perf_counter()
            subprocess.run(["/usr/bin/time", "-f", "%M", "-o", report.name] + command, check=True,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            times.append(time.perf_counter() - start)
            report.seek(0)
            peaks.append(int(report.read().split()[-1]) / 1024.0)
    return statistics.median(times), max(peaks)


def realtime_if_asked() -> None:
    """With GGRAPH_BENCH_FIFO=1, this process and every one it starts run under the real-time
    scheduler (as root), so that other work on a shared machine does not skew the timings."""
    if os.environ.get("GGRAPH_BENCH_FIFO") == "1":
        os.sched_setscheduler(0, os.SCHED_FIFO, os.sched_param(50))
