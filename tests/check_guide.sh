#!/usr/bin/env bash
# Checks the built user's guide: every kind of chart has its page in the HTML
# output, each page shows its pictures (real PNG files of a plausible size)
# and the documents its example sent, and every example ran without a report.
#
#   check_guide.sh HTML_DIR GUIDE_OUT PAGE:CHART[,CHART...] ...
#
# HTML_DIR is Doxygen's HTML output, GUIDE_OUT the folder the examples wrote
# into; each PAGE (its page is guide_PAGE.html) lists the charts it shows.
set -u

if [ $# -lt 3 ]; then
  echo "usage: $0 HTML_DIR GUIDE_OUT PAGE:CHART[,CHART...] ..." >&2
  exit 2
fi
html=$1
out=$2
shift 2
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

# The bytes of FILE from OFFSET on, COUNT of them, as one hex string.
hex_at() {
  od -An -tx1 -j "$2" -N "$3" "$1" | tr -d ' \n'
}

# A PNG file: its signature, a picture at least 400 by 300 pixels, and more
# than 8 KB of it (an empty or failed picture compresses to far less).
check_png() {
  local file=$1
  if [ ! -f "$file" ]; then
    fail "$file: no picture"
    return
  fi
  if [ "$(hex_at "$file" 0 8)" != "89504e470d0a1a0a" ]; then
    fail "$file: not a PNG file"
    return
  fi
  local width=$((16#$(hex_at "$file" 16 4))) height=$((16#$(hex_at "$file" 20 4)))
  if [ "$width" -lt 400 ] || [ "$height" -lt 300 ]; then
    fail "$file: a picture of ${width}x${height} pixels is too small to show a chart"
  fi
  local size
  size=$(stat -c %s "$file")
  if [ "$size" -lt 8192 ]; then
    fail "$file: $size bytes are too few for a drawn chart"
  fi
}

# The reference's main page leads to the guide, and the guide to every kind.
for page in concepts examples; do
  if ! grep -q "href=\"guide_$page.html\"" "$html/index.html" 2>/dev/null; then
    fail "the main page $html/index.html has no link to guide_$page.html"
  fi
done

for entry in "$@"; do
  page=${entry%%:*}
  charts=${entry#*:}
  file="$html/guide_$page.html"
  if [ ! -f "$file" ]; then
    fail "$page: no page $file"
    continue
  fi
  if ! grep -q "href=\"guide_$page.html\"" "$html/guide_examples.html" 2>/dev/null; then
    fail "$page: the page of examples has no link to it"
  fi
  IFS=, read -r -a names <<<"$charts"
  for chart in "${names[@]}"; do
    if ! grep -q "<img src=\"$chart.png\"" "$file"; then
      fail "$page: the page shows no picture $chart.png"
    fi
    check_png "$html/$chart.png"
    # The page holds the document whole: each of its lines is on the page,
    # as Doxygen writes a verbatim block (<, > and & escaped); a shortened or
    # stale copy lacks some.
    document="$out/$chart.xml"
    if [ ! -s "$document" ]; then
      fail "$page: $document is missing or empty"
    else
      lacking=$(awk -v page="$file" '
        BEGIN { while ((getline l < page) > 0) html = html l "\n" }
        /^[ \t]*$/ { next }
        {
          line = $0
          gsub(/&/, "\\&amp;", line); gsub(/</, "\\&lt;", line); gsub(/>/, "\\&gt;", line)
          if (index(html, line) == 0) { print $0; exit }
        }' "$document")
      [ -n "$lacking" ] && fail "$page: the page lacks the line of $chart.xml: $lacking"
    fi
    # Written by the example even when it failed; empty when nothing was
    # reported and the renderer drew the chart whole.
    reports="$out/$chart.reports.txt"
    if [ ! -f "$reports" ]; then
      fail "$page: the example left no $reports"
    elif [ -s "$reports" ]; then
      fail "$page: the example of $chart reported: $(head -n 3 "$reports")"
    fi
  done
done

if [ "$failures" -gt 0 ]; then
  echo "$failures problems with the guide"
  exit 1
fi
echo "the guide shows $# kinds of chart, each with its pictures and documents"
