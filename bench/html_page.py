#!/usr/bin/python3
"""A 1,000,000-point scatter as an HTML page (`chartxml plot ... -o P.html`)
opened in headless Chromium: the page's bytes per point, the time from
navigation to the first paint with every point drawn, and the time a hover
over the densest part takes to show its tooltip (the pointer event handled,
the case found through the grid, the tooltip laid out). Prints each figure
beside its goal and anchor with the ratio; exits non-zero when one misses.

The anchor for size is the SVG of the same chart (compact paths, no case
values); for time, the same page of 1,000 points.

usage: bench/html_page.py [BUILD_DIR] [--runs N] [--chromium PATH]
  BUILD_DIR  the build folder holding tools/chartxml (default: build)
"""
import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.join(HERE, "..", "tests", "browser"))
from render_vs_matplotlib import make_data  # noqa: E402  the render figure's data
from page_test import Browser  # noqa: E402  the browser test's DevTools driver

ROWS = 1000000
GOAL_BYTES_PER_POINT = 20.0
GOAL_PAINT_SECONDS = 1.5
GOAL_HOVER_SECONDS = 0.05

# Navigation to the script's end and to the frame after it (the page marks
# both), in seconds.
PAINTED = """new Promise(function (done) {
  (function wait() {
    var painted = performance.getEntriesByName('chart-painted')[0];
    if (!painted) return setTimeout(wait, 10);
    done([performance.getEntriesByName('chart-drawn')[0].startTime / 1000, painted.startTime / 1000]);
  })();
})"""

# One pointer move handled, at the picture's point (x, y): its handler runs
# within dispatchEvent; offsetWidth makes the tooltip's layout count too.
HOVER = """(function (x, y) {
  var svg = document.querySelector('.plot svg'), box = svg.getBoundingClientRect();
  var start = performance.now();
  svg.dispatchEvent(new PointerEvent('pointermove', {clientX: box.left + x, clientY: box.top + y,
    bubbles: true}));
  var tip = document.getElementById('chart-tip'), width = tip.offsetWidth;
  return [(performance.now() - start) / 1000, tip.hidden ? '' : tip.textContent, width];
})(%f, %f)"""


def measure(browser, page, hovers):
    browser.open(page)
    drawn, painted = browser.evaluate(PAINTED)
    # Let the grid be built (it is, just after the first paint).
    browser.evaluate("new Promise(function (r) { setTimeout(r, 200); })")
    axes = browser.evaluate("JSON.parse(document.getElementById('chart-data').textContent).axes")
    panel = axes[0]["panel"]
    times, shown = [], 0
    for k in range(hovers):
        # Across the middle of the panel, where the points are densest.
        x = panel[0] + panel[2] * (0.3 + 0.4 * k / max(1, hovers - 1))
        y = panel[1] + panel[3] * 0.5
        seconds, text, _ = browser.evaluate(HOVER % (x, y))
        times.append(seconds)
        shown += 1 if text else 0
    return drawn, painted, statistics.median(times), max(times), shown


def check(label, value, goal, anchor, unit):
    ok = value <= goal
    ratio = value / anchor if anchor > 0 else float("nan")
    print("%-44s %9.3f %-3s goal %7.3f  anchor %9.3f  ratio %6.2f  %s" %
          (label, value, unit, goal, anchor, ratio, "ok" if ok else "MISSED"))
    return ok


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("build", nargs="?", default="build")
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--chromium", default=shutil.which("chromium") or "/usr/bin/chromium")
    args = parser.parse_args()
    tool = os.path.abspath(os.path.join(args.build, "tools", "chartxml"))
    if not os.access(tool, os.X_OK):
        sys.exit("no %s: build the tool first (cmake --build %s --target chartxml_cli)" %
                 (tool, args.build))
    work = tempfile.mkdtemp(prefix="html_bench_")
    try:
        pages = {}
        for rows in (ROWS, 1000):
            data = os.path.join(work, "data%d.csv" % rows)
            make_data(data, rows)
            for ext in ("html", "svg"):
                out = os.path.join(work, ext, "chart%d.%s" % (rows, ext))
                os.makedirs(os.path.dirname(out), exist_ok=True)
                subprocess.run([tool, "plot", data, "--type", "scatter", "--x", "x", "--y", "y",
                                "--color", "group", "-o", out], check=True,
                               stdout=subprocess.DEVNULL)
                pages[(rows, ext)] = out
        browser = Browser(args.chromium, os.path.join(work, "profile"))
        try:
            big, small = [], []
            for _ in range(args.runs):
                big.append(measure(browser, pages[(ROWS, "html")], 15))
                small.append(measure(browser, pages[(1000, "html")], 15))
        finally:
            browser.close()
        html_bytes = os.path.getsize(pages[(ROWS, "html")]) / ROWS
        svg_bytes = os.path.getsize(pages[(ROWS, "svg")]) / ROWS
    finally:
        shutil.rmtree(work, ignore_errors=True)

    def median(runs, k):
        return statistics.median(run[k] for run in runs)

    print("load average (1, 5, 15 minutes): %.2f %.2f %.2f" % os.getloadavg())
    print("a %d-point scatter coloured by 5 groups as an HTML page, %d runs (medians)" %
          (ROWS, args.runs))
    print("  script done drawing at %.3f s; hovers that found a case: %d of 15" %
          (median(big, 0), big[-1][4]))
    ok = check("page bytes per point (anchor: the SVG)", html_bytes, GOAL_BYTES_PER_POINT,
               svg_bytes, "B")
    ok &= check("first paint with every point (anchor: 1k pts)", median(big, 1),
                GOAL_PAINT_SECONDS, median(small, 1), "s")
    ok &= check("hover to tooltip, median (anchor: 1k pts)", median(big, 2), GOAL_HOVER_SECONDS,
                median(small, 2), "s")
    ok &= check("hover to tooltip, slowest (anchor: 1k pts)", median(big, 3), GOAL_HOVER_SECONDS,
                median(small, 3), "s")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
