#!/usr/bin/python3
"""Times `chartxml render` as a whole process on a 1,000,000-point scatter in
five colour groups and on a 50-point one, and the same 1M chart drawn by
matplotlib (Agg, `ax.plot(x, y, "o")` per group, 800x600 PNG) when it is
installed. Prints each figure with its goal and its ratio to matplotlib.

usage: bench/render_vs_matplotlib.py [BUILD_DIR] [--runs N] [--keep DIR]
  BUILD_DIR  the build folder holding tools/chartxml (default: build)
"""
import argparse
import io
import os
import shutil
import subprocess
import sys
import tempfile
import time

GROUPS = 5
# matplotlib's time for the 1M chart as a process where the goals were set.
MPL_ANCHOR_SECONDS = 1.5


def make_data(path, points, seed=42, precise=False):
    """Five round clouds of normal points, point i in group i % 5 + 1; x and
    y with six decimals, as a data export writes them, or `precise`: in
    full (17 significant digits), twice the bytes."""
    import random

    try:
        import numpy as np
    except ImportError:
        np = None
    if np is not None:
        rng = np.random.default_rng(seed)
        group = np.arange(points) % GROUPS
        x = group * 2.0 + rng.standard_normal(points)
        y = (group % 2) * 3.0 + rng.standard_normal(points)
        with open(path, "w") as out:
            out.write("x,y,group\n")
            digits = "%.17g" if precise else "%.6f"
            np.savetxt(out, np.column_stack([x, y, group + 1]), fmt=[digits, digits, "%d"],
                       delimiter=",")
        return
    rnd = random.Random(seed)
    with open(path, "w") as out:
        out.write("x,y,group\n")
        for i in range(points):
            g = i % GROUPS
            line = "%.17g,%.17g,%d\n" if precise else "%.6f,%.6f,%d\n"
            out.write(line % (g * 2.0 + rnd.gauss(0, 1), (g % 2) * 3.0 + rnd.gauss(0, 1), g + 1))


def run(argv):
    """Runs a process to its end: (wall seconds, peak resident MB)."""
    start = time.perf_counter()
    child = subprocess.Popen(argv, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    # Read before waiting: a child with more to say than a pipe holds would
    # otherwise wait for us as we wait for it.
    err = child.stderr.read().decode(errors="replace")
    _, status, usage = os.wait4(child.pid, 0)
    seconds = time.perf_counter() - start
    child.stderr.close()
    if status != 0:
        sys.exit("failed: %s\n%s" % (" ".join(argv), err))
    return seconds, usage.ru_maxrss / 1024.0


def best(argv, runs):
    """The fastest of `runs` runs, the largest peak memory of them, and the
    median time (others share the machine: the median tells how steady)."""
    times, peaks = [], []
    for _ in range(runs):
        seconds, peak = run(argv)
        times.append(seconds)
        peaks.append(peak)
    times.sort()
    return times[0], max(peaks), times[len(times) // 2]


MPL_SCRIPT = r"""
import io, sys, time
import numpy as np
import matplotlib
matplotlib.use("Agg")
import matplotlib.pyplot as plt
data = np.loadtxt(sys.argv[1], delimiter=",", skiprows=1)
def draw():
    fig, ax = plt.subplots(figsize=(8, 6), dpi=100)
    for g in range(1, 6):
        rows = data[:, 2] == g
        ax.plot(data[rows, 0], data[rows, 1], "o")
    out = io.BytesIO()
    fig.savefig(out, format="png")
    plt.close(fig)
    return out.getvalue()
if len(sys.argv) > 2:
    draw()  # warm: fonts, caches
    times = []
    for _ in range(int(sys.argv[2])):
        start = time.perf_counter()
        draw()
        times.append(time.perf_counter() - start)
    print(min(times))
else:
    open(sys.argv[1] + ".mpl.png", "wb").write(draw())
"""


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("build", nargs="?", default="build")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--keep", help="leave the data and pictures in this folder")
    args = parser.parse_args()
    tool = os.path.abspath(os.path.join(args.build, "tools", "chartxml"))
    if not os.access(tool, os.X_OK):
        sys.exit("no %s: build the tool first (cmake --build %s --target chartxml_cli)" %
                 (tool, args.build))
    work = args.keep or tempfile.mkdtemp(prefix="render_bench_")
    os.makedirs(work, exist_ok=True)
    try:
        figures = measure(tool, work, args.runs)
    finally:
        if not args.keep:
            shutil.rmtree(work, ignore_errors=True)
    report(figures)


def measure(tool, work, runs):
    figures = {}
    for name, points in (("scatter1m", 1000000), ("scatter50", 50)):
        data = os.path.join(work, name + ".csv")
        make_data(data, points)
        # The chart as a procedure sends it: its document and data files.
        subprocess.run([tool, "plot", data, "--type", "scatter", "--x", "x", "--y", "y",
                        "--color", "group", "--output", os.path.join(work, name + ".png"),
                        "--force"], check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        document = os.path.join(work, name + ".xml")
        out = os.path.join(work, name + ".render.png")
        figures[name] = best([tool, "render", document, "-o", out], runs)
        if name == "scatter1m":
            svg = os.path.join(work, name + ".svg")
            run([tool, "render", document, "-o", svg])
            figures["svg_bytes_per_point"] = os.path.getsize(svg) / points
            csv_path = data

    python = "/usr/bin/python3"
    have_mpl = subprocess.run([python, "-c", "import matplotlib, numpy"],
                              stderr=subprocess.DEVNULL).returncode == 0
    if have_mpl:
        script = os.path.join(work, "mpl_scatter.py")
        with open(script, "w") as out:
            out.write(MPL_SCRIPT)
        in_memory = subprocess.run([python, script, csv_path, str(runs)], check=True,
                                   capture_output=True, text=True).stdout
        figures["mpl_in_memory"] = float(in_memory.strip())
        figures["mpl_process"] = best([python, script, csv_path], max(1, runs // 2))
    return figures


def report(figures):
    mpl = figures.get("mpl_process")
    rows = []

    def line(what, value, unit, goal, anchor=None):
        ok = value <= goal
        ratio = "" if anchor is None else "  %.2fx matplotlib's %.3g %s" % (value / anchor, anchor,
                                                                           unit)
        rows.append(ok)
        print("%-46s %9.3f %-3s (goal <= %g) %s%s" % (what, value, unit, goal,
                                                      "ok" if ok else "MISSED", ratio))

    print("load average (1, 5, 15 minutes) after the runs: %.2f %.2f %.2f" % os.getloadavg())
    seconds, peak, median = figures["scatter1m"]
    line("chartxml render, 1M points, whole process", seconds, "s", 0.25,
         mpl[0] if mpl else None)
    print("%-46s %9.3f s" % ("  median of the runs", median))
    print("%-46s %9.1f MB%s" % ("  its peak resident memory", peak,
                                "  (matplotlib: %.1f MB)" % mpl[1] if mpl else ""))
    seconds, peak, median = figures["scatter50"]
    line("chartxml render, 50 points, whole process", seconds * 1000, "ms", 30)
    print("%-46s %9.1f ms" % ("  median of the runs", median * 1000))
    if mpl:
        # The goals were set on a machine where matplotlib drew the 1M chart
        # as a process in 1.5 s; this one's speed varies by a third.
        print("%-46s %9.1f ms  (this machine's matplotlib: %.2f s, the anchor's: %.1f s)" %
              ("  at the anchor machine's speed", seconds * 1000 * MPL_ANCHOR_SECONDS / mpl[0],
               mpl[0], MPL_ANCHOR_SECONDS))
    line("SVG of 1M points, bytes per point", figures["svg_bytes_per_point"], "B", 16)
    if "mpl_in_memory" in figures:
        print("%-46s %9.3f s   (its fastest marker path, from data in memory)" %
              ("matplotlib Agg, 1M points to PNG in memory", figures["mpl_in_memory"]))
    else:
        print("matplotlib is not installed (/usr/bin/python3 with python3-matplotlib): "
              "no ratios")
    print("\n%s" % ("all goals met" if all(rows) else "some goals MISSED"))


if __name__ == "__main__":
    main()
