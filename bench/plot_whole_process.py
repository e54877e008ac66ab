#!/usr/bin/python3
"""Times `chartxml plot` as a whole process on 1,000,000-row CSVs (x and y
with six decimals, 20 MB, and in full precision, 40 MB; group 1..5): a
scatter of y by x coloured by group, written into a fresh --out folder with
a PNG picture. Prints the fastest run, the median and the peak resident
memory of each beside their goals; exits non-zero when one misses.

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
    results = []
    try:
        for name, precise in (("six decimals", False), ("full precision", True)):
            data = os.path.join(work, "plot1m-%s.csv" % ("full" if precise else "six"))
            make_data(data, ROWS, precise=precise)
            times, peaks = [], []
            for i in range(args.runs):
                # A fresh folder each run: the chart is numbered 1 and nothing is there to scan.
                out = os.path.join(work, "out%d" % i)
                shutil.rmtree(out, ignore_errors=True)
                seconds, peak = run([tool, "plot", data, "--type", "scatter", "--x", "x", "--y",
                                     "y", "--color", "group", "--out", out, "--picture", "png"])
                times.append(seconds)
                peaks.append(peak)
                shutil.rmtree(out, ignore_errors=True)
            results.append((name, os.path.getsize(data) / 1e6, sorted(times), max(peaks)))
    finally:
        if not args.keep:
            shutil.rmtree(work, ignore_errors=True)

    print("load average (1, 5, 15 minutes) after the runs: %.2f %.2f %.2f" % os.getloadavg())
    ok = True
    for name, size_mb, times, peak in results:
        fastest, median = times[0], times[len(times) // 2]
        print("chartxml plot, %d rows, %s (%.1f MB CSV), --out DIR --picture png, %d runs" %
              (ROWS, name, size_mb, len(times)))
        ok_time = fastest <= GOAL_SECONDS
        ok_memory = peak <= GOAL_MB
        ok = ok and ok_time and ok_memory
        print("%-40s %8.3f s   (goal <= %g s) %s" % ("  fastest, whole process", fastest,
                                                     GOAL_SECONDS, "ok" if ok_time else "MISSED"))
        print("%-40s %8.3f s" % ("  median", median))
        print("%-40s %8.1f MB  (goal <= %g MB) %s" % ("  peak resident memory (largest)", peak,
                                                      GOAL_MB, "ok" if ok_memory else "MISSED"))
    print("\n%s" % ("all goals met" if ok else "some goals MISSED"))
    sys.exit(0 if ok else 1)


if __name__ == "__main__":
    main()
