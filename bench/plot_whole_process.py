#!/usr/bin/python3
"""Times `chartxml plot` as a whole process on a 1,000,000-row CSV (x and y
with six decimals, group 1..5): a scatter of y by x coloured by group,
written into a fresh --out folder with a PNG picture. Prints the fastest
run, the median and the peak resident memory beside their goals; exits
non-zero when one misses.

usage: bench/plot_whole_process.py [BUILD_DIR] [--runs N] [--keep DIR]
  BUILD_DIR  the build folder holding tools/chartxml (default: build)
"""
import argparse
import os
import shutil
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from render_vs_matplotlib import make_data, run  # noqa: E402  the same data as the render figure

ROWS = 1000000
GOAL_SECONDS = 0.4
GOAL_MB = 200.0


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("build", nargs="?", default="build")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--keep", help="leave the data and charts in this folder")
    args = parser.parse_args()
    tool = os.path.abspath(os.path.join(args.build, "tools", "chartxml"))
    if not os.access(tool, os.X_OK):
        sys.exit("no %s: build the tool first (cmake --build %s --target chartxml_cli)" %
                 (tool, args.build))
    work = args.keep or tempfile.mkdtemp(prefix="plot_bench_")
    os.makedirs(work, exist_ok=True)
    try:
        data = os.path.join(work, "plot1m.csv")
        make_data(data, ROWS)
        times, peaks = [], []
        for i in range(args.runs):
            # A fresh folder each run: the chart is numbered 1 and nothing is there to scan.
            out = os.path.join(work, "out%d" % i)
            shutil.rmtree(out, ignore_errors=True)
            seconds, peak = run([tool, "plot", data, "--type", "scatter", "--x", "x", "--y", "y",
                                 "--color", "group", "--out", out, "--picture", "png"])
            times.append(seconds)
            peaks.append(peak)
        size_mb = os.path.getsize(data) / 1e6
    finally:
        if not args.keep:
            shutil.rmtree(work, ignore_errors=True)

    times.sort()
    fastest, median, peak = times[0], times[len(times) // 2], max(peaks)
    print("load average (1, 5, 15 minutes) after the runs: %.2f %.2f %.2f" % os.getloadavg())
    print("chartxml plot, %d rows (%.1f MB CSV), --out DIR --picture png, %d runs" %
          (ROWS, size_mb, len(times)))
    ok_time = fastest <= GOAL_SECONDS
    ok_memory = peak <= GOAL_MB
    print("%-40s %8.3f s   (goal <= %g s) %s" % ("  fastest, whole process", fastest, GOAL_SECONDS,
                                                 "ok" if ok_time else "MISSED"))
    print("%-40s %8.3f s" % ("  median", median))
    print("%-40s %8.1f MB  (goal <= %g MB) %s" % ("  peak resident memory (largest)", peak,
                                                  GOAL_MB, "ok" if ok_memory else "MISSED"))
    print("\n%s" % ("all goals met" if ok_time and ok_memory else "some goals MISSED"))
    sys.exit(0 if ok_time and ok_memory else 1)


if __name__ == "__main__":
    main()
