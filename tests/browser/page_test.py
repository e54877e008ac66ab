#!/usr/bin/env python3
"""Chart pages in a real browser: headless Chromium driven over its DevTools
pipe (fds 3 and 4, NUL-terminated JSON), with nothing but the standard
library. Makes the demo's pages and a page of hostile texts with the tool,
then reads what a reader would see: tooltips, legend state, tick labels after
a zoom and after Escape, keyboard focus, and that no injected script ran.

usage: page_test.py --cli PATH/chartxml --chromium PATH/chromium --ticks PATH/tick_table
Exits non-zero, saying what failed, on the first broken expectation."""

import argparse
import json
import math
import os
import shutil
import subprocess
import sys
import tempfile
import time


class Browser:
    """One headless Chromium and one page in it."""

    def __init__(self, chromium, profile):
        to_child_read, self._to_child = os.pipe()
        self._from_child, from_child_write = os.pipe()

        def wire():
            # Through spare numbers first: either pipe may already be 3 or 4.
            read, write = os.dup(to_child_read), os.dup(from_child_write)
            os.dup2(read, 3)
            os.dup2(write, 4)

        args = [chromium, "--headless", "--no-sandbox", "--disable-gpu",
                "--remote-debugging-pipe", "--user-data-dir=" + profile,
                "--no-first-run", "--no-default-browser-check", "--window-size=1000,800"]
        self._process = subprocess.Popen(args, close_fds=False, preexec_fn=wire, stdout=subprocess.DEVNULL,
                                         stderr=subprocess.DEVNULL)
        os.close(to_child_read)
        os.close(from_child_write)
        self._buffer = b""
        self._next = 0
        self._session = None
        target = self.call("Target.createTarget", {"url": "about:blank"})["targetId"]
        self._session = self.call("Target.attachToTarget",
                                  {"targetId": target, "flatten": True})["sessionId"]
        self.call("Page.enable")
        self.call("Runtime.enable")

    def close(self):
        try:
            self.call("Browser.close", session=False)
        except Exception:  # the browser may already be gone
            pass
        try:
            self._process.wait(timeout=10)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        os.close(self._to_child)
        os.close(self._from_child)

    def _read_message(self):
        while b"\0" not in self._buffer:
            chunk = os.read(self._from_child, 1 << 20)
            if not chunk:
                raise RuntimeError("chromium closed its DevTools pipe")
            self._buffer += chunk
        message, self._buffer = self._buffer.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, params=None, session=True):
        self._next += 1
        message = {"id": self._next, "method": method, "params": params or {}}
        if session and self._session:
            message["sessionId"] = self._session
        os.write(self._to_child, json.dumps(message).encode() + b"\0")
        while True:
            reply = self._read_message()
            if reply.get("id") == self._next:
                if "error" in reply:
                    raise RuntimeError(method + ": " + json.dumps(reply["error"]))
                return reply.get("result", {})

    def evaluate(self, expression):
        result = self.call("Runtime.evaluate",
                           {"expression": expression, "returnByValue": True, "awaitPromise": True})
        if "exceptionDetails" in result:
            raise RuntimeError("script failed: " + json.dumps(result["exceptionDetails"]))
        return result["result"].get("value")

    def open(self, path):
        self.call("Page.navigate", {"url": "file://" + path})
        deadline = time.time() + 30
        while time.time() < deadline:
            ready = "document.documentElement && document.documentElement.getAttribute('data-ready')"
            if self.evaluate(ready) == "true":
                return
            time.sleep(0.05)
        raise RuntimeError(path + ": the page's script never finished")

    def settle(self):
        """Waits until the page has drawn what the last event asked."""
        self.evaluate("new Promise(r => requestAnimationFrame(() => requestAnimationFrame(r)))")

    def mouse(self, kind, x, y, **extra):
        params = {"type": kind, "x": x, "y": y}
        params.update(extra)
        self.call("Input.dispatchMouseEvent", params)

    def click(self, x, y):
        self.mouse("mouseMoved", x, y)
        self.mouse("mousePressed", x, y, button="left", clickCount=1)
        self.mouse("mouseReleased", x, y, button="left", clickCount=1)
        self.settle()

    def key(self, key, code, key_code):
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", {"type": kind, "key": key, "code": code,
                                                 "windowsVirtualKeyCode": key_code})
        self.settle()


failures = []


def expect(condition, what):
    if not condition:
        failures.append(what)
        print("FAILED: " + what, file=sys.stderr)


# Page coordinates of a data point, from the axes the page embeds (not from
# the marks, whose placement is what is tested).
WHERE = """(function (x, y) {
  var data = JSON.parse(document.getElementById('chart-data').textContent);
  var box = document.querySelector('.plot svg').getBoundingClientRect();
  var px, py;
  data.axes.forEach(function (a) {
    var share = ((a.vertical ? y : x) - a.lo) / (a.hi - a.lo);
    if (a.vertical) py = a.start - share * a.length; else px = a.start + share * a.length;
  });
  return [box.left + px, box.top + py];
})(%s, %s)"""

VISIBLE_MARKS = """Array.prototype.filter.call(
  document.querySelectorAll('g.mark.point [data-i]'),
  function (n) { return getComputedStyle(n).display !== 'none'; }).length"""

TICK_LABELS = """Array.prototype.filter.call(document.querySelectorAll('.tick-label.x'),
  function (n) { return getComputedStyle(n).display !== 'none'; })
  .map(function (n) { return n.textContent; }).join('|')"""


def centre_of(browser, selector_script):
    return browser.evaluate("(function () { var n = %s; var r = n.getBoundingClientRect();"
                            " return [r.left + r.width / 2, r.top + r.height / 2]; })()"
                            % selector_script)


def scatter_page(browser, page):
    browser.open(page)
    # Anscombe's quartet: set III holds the case x 13, y 12.74, alone at the top.
    x, y = browser.evaluate(WHERE % (13, 12.74))
    browser.mouse("mouseMoved", x, y)
    browser.settle()
    tip = browser.evaluate("document.getElementById('chart-tip').hidden ? '' :"
                           " document.getElementById('chart-tip').textContent")
    expect("12.74" in tip and "13" in tip and "III" in tip,
           "hovering the case (13, 12.74) shows its values and set, got %r" % tip)
    expect(browser.evaluate(VISIBLE_MARKS) == 44, "all 44 cases are drawn")

    # Hiding set III leaves the other 33 cases, and the entry says it is off.
    entry = "Array.prototype.find.call(document.querySelectorAll('text.legend-entry'),"\
            " function (n) { return n.textContent === 'III'; })"
    browser.click(*centre_of(browser, entry))
    expect(browser.evaluate(VISIBLE_MARKS) == 33, "clicking legend entry III hides its 11 cases")
    expect(browser.evaluate(entry + ".classList.contains('off')"),
           "the legend shows entry III as hidden")
    browser.click(*centre_of(browser, entry))
    expect(browser.evaluate(VISIBLE_MARKS) == 44, "a second click shows set III again")

    # The wheel zooms in on x: new ticks; Escape brings the pictures' back.
    before = browser.evaluate(TICK_LABELS)
    x, y = browser.evaluate(WHERE % (10, 7))
    browser.mouse("mouseWheel", x, y, deltaX=0, deltaY=-600)
    browser.settle()
    zoomed = browser.evaluate(TICK_LABELS)
    expect(zoomed != before and zoomed != "",
           "zooming changes the x tick labels (%r, then %r)" % (before, zoomed))
    browser.mouse("mouseMoved", 5, 5)
    browser.key("Escape", "Escape", 27)
    expect(browser.evaluate(TICK_LABELS) == before, "Escape restores the x tick labels")

    # Tab reaches the marks (each tells its values) and then the legend;
    # from a fresh page, as a click moves where Tab starts.
    browser.open(page)
    reached = set()
    for _ in range(80):
        browser.key("Tab", "Tab", 9)
        role = browser.evaluate("(document.activeElement.getAttribute('class') || '') +"
                                " (document.activeElement.hasAttribute('data-i') ? ' case' : '')")
        reached.add(role)
        if "legend-entry" in role:
            break
    expect(any("case" in r for r in reached), "Tab reaches the marks")
    expect(any("legend-entry" in r for r in reached), "Tab reaches a legend entry")
    browser.key("Enter", "Enter", 13)
    expect(browser.evaluate(VISIBLE_MARKS) == 33, "Enter on a legend entry hides its group")


def bar_page(browser, page):
    browser.open(page)
    x, y = centre_of(browser, "document.querySelector('path.mark.bar')")
    browser.mouse("mouseMoved", x, y)
    browser.settle()
    tip = browser.evaluate("document.getElementById('chart-tip').textContent")
    expected = browser.evaluate("document.querySelector('path.mark.bar').getAttribute('data-tip')")
    expect(tip and tip == expected.replace("\n", ""), "a bar's tooltip shows %r, got %r"
           % (expected, tip))


def hover_tip(browser, page, node):
    """The tooltip shown while the pointer is on `node` of `page`."""
    browser.open(page)
    browser.mouse("mouseMoved", *centre_of(browser, node))
    browser.settle()
    return browser.evaluate("document.getElementById('chart-tip').hidden ? '' :"
                            " document.getElementById('chart-tip').textContent")


def point_tips(browser, demo):
    """A line's points and a 3-D chart's markers tell their cases too."""
    # The annual mean CO2 of 1990 (the 32nd year from 1959) was 354.45 ppm.
    tip = hover_tip(browser, demo + "/chart-0003.html", "document.querySelectorAll('[data-i]')[31]")
    expect("01-Jan-1990" in tip and "354.45" in tip,
           "a point of the line shows its date and value, got %r" % tip)
    tip = hover_tip(browser, demo + "/chart-0008.html", "document.querySelector('[data-i]')")
    expect(tip.count(": ") == 3 and "Growth of CO2" in tip,
           "a 3-D marker shows its x, y and z, got %r" % tip)


def date_page(browser, page):
    """A line over dates zooms too: calendar ticks, labelled finer as they
    close in, and back to the picture's on Escape."""
    browser.open(page)
    before = browser.evaluate(TICK_LABELS)
    # On the line, half way along: the zoom keeps that point under the pointer.
    x, y = browser.evaluate("""(function () {
      var line = document.querySelector('path.mark.line');
      var p = line.getPointAtLength(line.getTotalLength() / 2).matrixTransform(line.getScreenCTM());
      return [p.x, p.y]; })()""")
    for _ in range(6):
        browser.mouse("mouseWheel", x, y, deltaX=0, deltaY=-600)
        browser.settle()
    labels = browser.evaluate(TICK_LABELS).split("|")
    expect(len(labels) >= 2 and len(set(labels)) == len(labels) and labels != before.split("|"),
           "a zoomed date axis shows distinct new calendar ticks (%r, then %r)" % (before, labels))
    browser.mouse("mouseMoved", 5, 5)
    browser.key("Escape", "Escape", 27)
    expect(browser.evaluate(TICK_LABELS) == before, "Escape restores the date axis's ticks")


def pie_page(browser, page):
    """A slice tells its value and share; its legend entry hides it."""
    browser.open(page)
    slice_ = "document.querySelector('path.mark.slice')"
    expected = browser.evaluate(slice_ + ".getAttribute('data-tip')")
    browser.mouse("mouseMoved", *centre_of(browser, slice_))
    browser.settle()
    tip = browser.evaluate("document.getElementById('chart-tip').textContent")
    expect(expected and "Share: " in expected and tip == expected.replace("\n", ""),
           "a slice's tooltip shows %r, got %r" % (expected, tip))
    group = browser.evaluate(slice_ + ".getAttribute('data-group')")
    entry = "document.querySelector('.legend-entry[data-group=\"%s\"]')" % group
    browser.click(*centre_of(browser, entry))
    expect(browser.evaluate("getComputedStyle(%s).display" % slice_) == "none",
           "clicking a slice's legend entry hides it")


# Per panel (by its clip group): the visible tick labels beside its zoomable
# axes, whether one is labelled, and where its marks (paths and point nodes)
# stand.
PANELS = """(function () {
  var data = JSON.parse(document.getElementById('chart-data').textContent);
  var svg = document.querySelector('.plot svg'), box = svg.getBoundingClientRect();
  var groups = Array.prototype.filter.call(svg.children, function (n) { return n.matches('g[clip-path]'); });
  var out = {};
  data.axes.forEach(function (a) {
    var p = a.panel, labels = [];
    Array.prototype.forEach.call(document.querySelectorAll(a.vertical ? '.tick-label.y' : '.tick-label.x'), function (n) {
      if (getComputedStyle(n).display === 'none') return;
      var r = n.getBoundingClientRect(), cx = (r.left + r.right) / 2 - box.left, cy = (r.top + r.bottom) / 2 - box.top;
      var along = a.vertical ? cy : cx, first = a.vertical ? p[1] : p[0], size = a.vertical ? p[3] : p[2];
      var beyond = a.vertical ? p[0] - cx : cy - p[1] - p[3];
      if (along >= first - 1 && along <= first + size + 1 && beyond > 0 && beyond < 60) labels.push(n.textContent);
    });
    var seen = out[a.clipGroup];
    if (seen) {
      seen.labels += (seen.labels && labels.length ? '|' : '') + labels.join('|');
      seen.labelled = seen.labelled || a.labelled;
      return;
    }
    var marks = [];
    Array.prototype.forEach.call(groups[a.clipGroup].querySelectorAll('path'), function (n) {
      var r = n.getBoundingClientRect();
      marks.push([r.left, r.top, r.width, r.height].map(Math.round).join(' '));
    });
    data.batches.forEach(function (b, k) {
      if (b.clipGroup !== a.clipGroup) return;
      Array.prototype.forEach.call(document.querySelectorAll('g[data-batch="' + k + '"] [data-i]'), function (n) {
        var r = n.getBoundingClientRect();
        marks.push([r.left, r.top].map(Math.round).join(' '));
      });
    });
    out[a.clipGroup] = { labels: labels.join('|'), labelled: a.labelled, marks: marks.join(';'),
                         centre: [box.left + p[0] + p[2] / 2, box.top + p[1] + p[3] / 2] };
  });
  return out;
})()"""


def panels_page(browser, page):
    """Several panels zoom one at a time: the wheel over a panel changes its
    ticks and moves its marks, no other panel's; Escape restores them all."""
    browser.open(page)
    before = browser.evaluate(PANELS)
    labelled = [k for k, p in sorted(before.items()) if p["labelled"] and p["labels"]]
    expect(len(before) >= 2 and labelled, "%s: several panels zoom, one with tick labels" % page)
    if len(before) < 2 or not labelled:
        return
    one = labelled[0]
    browser.mouse("mouseWheel", *before[one]["centre"], deltaX=0, deltaY=-600)
    browser.settle()
    after = browser.evaluate(PANELS)
    expect(after[one]["labels"] not in ("", before[one]["labels"]),
           "zooming a panel changes its tick labels (%r, then %r)"
           % (before[one]["labels"], after[one]["labels"]))
    expect(after[one]["marks"] != before[one]["marks"], "zooming a panel moves its marks")
    for k, p in before.items():
        if k == one:
            continue
        expect(after[k]["labels"] == p["labels"] and after[k]["marks"] == p["marks"],
               "zooming panel %s leaves panel %s's ticks and marks as drawn" % (one, k))
    # A panel without tick labels of its own stays without them when zoomed.
    inner = [k for k, p in sorted(before.items()) if not p["labelled"]]
    if inner:
        zoomed_one = after[one]["labels"]
        zoomed = "document.querySelectorAll('.zoom-axis %s').length"
        labels_before, ticks_before = browser.evaluate(zoomed % ".tick-label"), browser.evaluate(zoomed % "path")
        browser.mouse("mouseWheel", *before[inner[0]]["centre"], deltaX=0, deltaY=-600)
        browser.settle()
        after = browser.evaluate(PANELS)
        expect(after[inner[0]]["marks"] != before[inner[0]]["marks"]
               and after[one]["labels"] == zoomed_one,
               "an inner panel zooms alone")
        expect(browser.evaluate(zoomed % "path") > ticks_before
               and browser.evaluate(zoomed % ".tick-label") == labels_before,
               "an unlabelled panel's zoomed ticks get no labels")
    browser.mouse("mouseMoved", 5, 5)
    browser.key("Escape", "Escape", 27)
    restored = browser.evaluate(PANELS)
    expect(restored == before, "Escape restores every panel's ticks and marks")


def log_page(browser, page):
    """A log axis zooms in log space: its labels come from the log rule."""
    browser.open(page)
    before = browser.evaluate(TICK_LABELS)
    x, y = browser.evaluate(PANELS)["0"]["centre"]
    # Six decades to about two: still log ticks (inside one decade the
    # rule would give plain nice ticks).
    browser.mouse("mouseWheel", x, y, deltaX=0, deltaY=-600)
    browser.settle()
    labels = browser.evaluate(TICK_LABELS).split("|")
    shown = browser.evaluate("""(function () {
      var data = JSON.parse(document.getElementById('chart-data').textContent);
      var a = data.axes.filter(function (a) { return !a.vertical; })[0];
      var box = document.querySelector('.plot svg').getBoundingClientRect();
      var shares = Array.prototype.map.call(document.querySelectorAll('.zoom-axis.x .tick-label'), function (n) {
        var r = n.getBoundingClientRect();
        return (r.left + r.width / 2 - box.left - a.start) / a.length;
      });
      return { log: a.log, lo: a.lo, hi: a.hi, shares: shares };
    })()""")
    expect(shown["log"], "the page notes its x axis as a log axis")
    numbers = [float(text.replace(",", "")) for text in labels if text]
    expect(len(numbers) >= 2 and labels != before.split("|"),
           "zooming a log axis changes its labels (%r, then %r)" % (before, labels))
    # The wheel at the middle shows exp(-1.2) of the decades about it: about
    # two decades, where the log rule labels every power of ten, or every
    # 1, 2, 5 or 1..9 times one, inside the view (nice ticks would not).
    middle = (math.log10(shown["lo"]) + math.log10(shown["hi"])) / 2
    half = (math.log10(shown["hi"]) - math.log10(shown["lo"])) / 2 * math.exp(-1.2)
    low, high = middle - half, middle + half

    def clear_of_edges(values):
        return [round(v, 9) for v in values if low + 0.01 < math.log10(v) < high - 0.01]

    expected = [clear_of_edges([m * 10.0 ** e for e in range(math.floor(low) - 1, math.ceil(high) + 1)
                                for m in multiples])
                for multiples in ([1], [1, 2, 5], range(1, 10))]
    expect(all(v > 0 for v in numbers) and clear_of_edges(numbers) in expected,
           "a zoomed log axis is labelled by the log rule over [%g, %g], got %r"
           % (10 ** low, 10 ** high, labels))
    shares = shown["shares"]
    if len(numbers) >= 2 and len(shares) == len(numbers):
        # Positions follow log10 of the labels (equal ratios, equal steps).
        scale = (shares[-1] - shares[0]) / (math.log10(numbers[-1]) - math.log10(numbers[0]))
        expect(all(abs(shares[0] + scale * (math.log10(v) - math.log10(numbers[0])) - s) < 0.01
                   for v, s in zip(numbers, shares)),
               "zoomed log labels stand at their log positions (%r at %r)" % (numbers, shares))
    browser.mouse("mouseMoved", 5, 5)
    browser.key("Escape", "Escape", 27)
    expect(browser.evaluate(TICK_LABELS) == before, "Escape restores the log axis's ticks")


def tick_rules(browser, table):
    """The page's tick rules give the pictures' ticks, range for range."""
    for row in table:
        got = browser.evaluate("window.chartxmlTicks.%s(%r, %r, %d)"
                               % (row["kind"], row["lo"], row["hi"], row["target"]))
        values = got["values"]
        same = len(values) == len(row["values"]) and all(
            abs(a - b) <= 1e-9 * max(1.0, abs(b)) for a, b in zip(values, row["values"]))
        if row["kind"] != "date":
            same = same and got["fractionDigits"] == row["digits"]
        expect(same, "%s ticks of [%r, %r] for %d: the page gives %r, the pictures %r"
               % (row["kind"], row["lo"], row["hi"], row["target"], got, row))


def hostile_page(browser, page):
    browser.open(page)
    expect(browser.evaluate("window.injected === undefined"), "no injected script ran")
    labels = browser.evaluate("Array.prototype.map.call(document.querySelectorAll("
                              "'text.legend-entry'), function (n) { return n.textContent; })")
    expect("</script><script>window.injected=1</script>" in labels,
           "the hostile category is shown as text, got %r" % labels)
    x, y = browser.evaluate(WHERE % (1, 2))
    browser.mouse("mouseMoved", x, y)
    browser.settle()
    tip = browser.evaluate("document.getElementById('chart-tip').textContent")
    expect("</script><script>window.injected=1</script>" in tip,
           "the tooltip shows the hostile category as text, got %r" % tip)
    expect(browser.evaluate("window.injected === undefined"), "hovering ran no injected script")


LOG_DOCUMENT = """<?xml version="1.0" encoding="UTF-8"?>
<visualization><source id="source0"/>
<variable id="vx" label="Dose" source="source0" sourceName="X" categorical="false"/>
<variable id="vy" label="Response" source="source0" sourceName="Y" categorical="false"/>
<frame id="frame_graph_1"><frame id="frame_data_1">
<dimension role="x"><scale method="log"/><axis id="axis_x"><majorTicks/></axis></dimension>
<dimension role="y"><axis id="axis_y"><majorTicks/></axis></dimension>
<element id="e" type="point"><x variable="vx"/><y variable="vy"/></element>
</frame></frame></visualization>
"""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--cli", required=True)
    parser.add_argument("--chromium", required=True)
    parser.add_argument("--ticks", required=True)
    options = parser.parse_args()
    table = json.loads(subprocess.run([options.ticks], check=True, capture_output=True,
                                      text=True).stdout)
    work = tempfile.mkdtemp(prefix="chartxml-pages-")
    try:
        subprocess.run([options.cli, "demo", "--out", work + "/demo"], check=True,
                       stdout=subprocess.DEVNULL)
        with open(work + "/hostile.csv", "w", encoding="utf-8") as out:
            out.write('a,b,group\n1,2,"</script><script>window.injected=1</script>"\n'
                      '2,3,"<img src=x onerror=window.injected=2>"\n3,1,plain\n')
        # A log x axis: no plot option makes one, so a document of our own.
        with open(work + "/log.source0.csv", "w", encoding="utf-8") as out:
            out.write("X,Y\n" + "".join("%g,%d\n" % (10 ** (k / 4), k % 7) for k in range(25)))
        with open(work + "/log.xml", "w", encoding="utf-8") as out:
            out.write(LOG_DOCUMENT)
        subprocess.run([options.cli, "render", work + "/log.xml", "-o", work + "/log.html"],
                       check=True, stdout=subprocess.DEVNULL)
        subprocess.run([options.cli, "plot", work + "/hostile.csv", "--type", "scatter", "--x", "a",
                        "--y", "b", "--color", "group", "-o", work + "/hostile.html"], check=True,
                       stdout=subprocess.DEVNULL)
        browser = Browser(options.chromium, work + "/profile")
        try:
            scatter_page(browser, work + "/demo/chart-0001.html")
            bar_page(browser, work + "/demo/chart-0002.html")
            date_page(browser, work + "/demo/chart-0003.html")
            point_tips(browser, work + "/demo")
            pie_page(browser, work + "/demo/chart-0006.html")
            panels_page(browser, work + "/demo/chart-0007.html")
            panels_page(browser, work + "/demo/chart-0002.html")
            log_page(browser, work + "/log.html")
            tick_rules(browser, table)
            hostile_page(browser, work + "/hostile.html")
        finally:
            browser.close()
    finally:
        shutil.rmtree(work, ignore_errors=True)
    if failures:
        print("%d expectation(s) failed" % len(failures), file=sys.stderr)
        return 1
    print("the pages behave in the browser")
    return 0


if __name__ == "__main__":
    sys.exit(main())
