#!/usr/bin/env bash
# The install tree, moved elsewhere after it was installed, still serves its
# users from where it now is: a CMake project through find_package(chartxml),
# a C program built through pkg-config, and the chartxml tool. Every one of
# them must take its texts from the moved tree's own string tables, which
# carry a mark that no other copy has.
#
# usage: install_test.sh BUILD_DIR WORK_DIR CMAKE C_COMPILER CXX_COMPILER PKG_CONFIG
# BUILD_DIR is a built tree; it is installed as it is, never rebuilt.
set -euo pipefail

if [ $# -ne 6 ]; then
  echo "usage: $0 BUILD_DIR WORK_DIR CMAKE C_COMPILER CXX_COMPILER PKG_CONFIG" >&2
  exit 2
fi
build=$1 work=$2 cmake=$3 cc=$4 cxx=$5 pkgconfig=$6

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

rm -rf "$work"
mkdir -p "$work"
work=$(cd "$work" && pwd)
staged=$work/staged
moved=$work/moved

# ---- Install, then move ------------------------------------------------------
"$cmake" --install "$build" --prefix "$staged" >"$work/install.log"
mv "$staged" "$moved"
[ ! -e "$staged" ] || fail "$staged is still there after the move"

# Nothing in the tree may still name the folder it was installed into:
# not a pkg-config file, a CMake file, nor an RPATH.
if named=$(grep -rlF "$staged" "$moved"); then
  fail "these files still name the install prefix $staged: $named"
fi

pcfile=$(find "$moved" -name chartxml.pc -print -quit)
[ -n "$pcfile" ] || fail "no chartxml.pc in the install tree"
[ -f "$(dirname "$pcfile")/chartxml-render.pc" ] || fail "no chartxml-render.pc beside chartxml.pc"
host=$(find "$moved" -name 'libchartxml_host.so.*' -print -quit)
[ -n "$host" ] || fail "no libchartxml_host.so in the install tree"
libdir=$(dirname "$host")
tool=$(find "$moved" -name chartxml -type f -perm -u+x -print -quit)
[ -n "$tool" ] || fail "no chartxml tool in the install tree"
tables=$(find "$moved" -type d -path '*/chartxml/strings' -print -quit)
[ -f "$tables/ja/global.txt" ] || fail "no Japanese string table in the install tree"

# The mark: the Japanese name of the linear fit line (the demo's Japanese
# chart title) gains " [moved]" in the moved tree's table only.
key=E60551
japanese=$(awk -F'\t' -v key="$key" '$1 == key { print $2 }' "$tables/ja/global.txt")
printf '%s' "$japanese" | LC_ALL=C grep -q '[^ -~]' ||
  fail "the Japanese table's $key is not Japanese text: '$japanese'"
title="$japanese [moved]"
awk -F'\t' -v OFS='\t' -v key="$key" '$1 == key { $2 = $2 " [moved]" } 1' \
  "$tables/ja/global.txt" >"$work/ja.txt"
mv "$work/ja.txt" "$tables/ja/global.txt"

# Nothing of the surroundings may lead a program to its libraries or tables.
unset LD_LIBRARY_PATH CHARTXML_STRINGS CHARTXML_LANG CHARTXML_OUTPUT
export CHARTXML_QUIET=1

is_png() {
  [ "$(head -c 8 "$1" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ]
}

# ---- A CMake project, through find_package -----------------------------------
# It asks for C++14: the package's targets must raise that to the C++17 that
# the public headers need.
mkdir -p "$work/cmake-project" "$work/cmake-out"
cat >"$work/cmake-project/CMakeLists.txt" <<'EOF'
cmake_minimum_required(VERSION 3.20)
project(chartxml_user LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 14)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
find_package(chartxml REQUIRED)
add_executable(user user.cc)
target_link_libraries(user PRIVATE chartxml::chartxml chartxml::host chartxml::render)
EOF
cat >"$work/cmake-project/user.cc" <<'EOF'
// The README's C++ examples, then a chart titled from the Japanese tables.
#include <cstdio>
#include <cstring>
#include <string>

#include "chartxml/ChartXml.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/render.h"

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string out = argv[1];
  const char* title = argv[2];

  cxh_set_output_dir(out.c_str());  // sent charts become out/chart-NNNN.xml
  ChartXml* cx = ChartXml::Initialize();
  const int chart = cx->CreateChart();
  const int graph = cx->AddFrame(chart, 0, cx->NStringNoTranslate("graph_1"));
  cx->AddLabel(chart, graph, cx->StyleString(17 /* title */, 1), cx->NString("Sales by region"));
  cx->EndChart(chart);  // completes and sends it
  ChartXml::Terminate();

  chartxml::ChartRenderer renderer;  // 800x600 unless told
  if (!renderer.loadFile(out + "/chart-0001.xml") || !renderer.write(out + "/chart.png")) {
    std::fprintf(stderr, "%s\n", renderer.error().c_str());
    return 1;
  }

  cxh_set_language("ja");
  cx = ChartXml::Initialize();
  const int japanese = cx->CreateChart();
  const int frame = cx->AddFrame(japanese, 0, cx->NStringNoTranslate("graph_1"));
  cx->AddLabel(japanese, frame, cx->StyleString(17, 1), cx->NString("E60551"));
  cx->EndChart(japanese);
  ChartXml::Terminate();

  int failed = 0;
  if (cxh_sent_count() != 2 || std::strstr(cxh_sent_xml(0), "Sales by region") == nullptr) {
    std::fprintf(stderr, "the README's chart was not sent as built\n");
    ++failed;
  }
  if (cxh_sent_count() < 2 || std::strstr(cxh_sent_xml(1), title) == nullptr) {
    std::fprintf(stderr, "the Japanese chart is not titled '%s':\n%s\n", title,
                 cxh_sent_count() < 2 ? "(not sent)" : cxh_sent_xml(1));
    ++failed;
  }
  for (int i = 0; i < cxh_report_count(); ++i) {
    std::fprintf(stderr, "report: %s\n", cxh_report_message(i));
    ++failed;
  }
  return failed == 0 ? 0 : 1;
}
EOF
"$cmake" -S "$work/cmake-project" -B "$work/cmake-build" -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_PREFIX_PATH="$moved" >"$work/cmake-configure.log" ||
  fail "the CMake project does not configure: $(cat "$work/cmake-configure.log")"
found=$(sed -n 's/^chartxml_DIR:PATH=//p' "$work/cmake-build/CMakeCache.txt")
case "$found" in
  "$moved"/*) ;;
  *) fail "find_package(chartxml) found '$found', not the moved tree" ;;
esac
"$cmake" --build "$work/cmake-build" >"$work/cmake-build.log" 2>&1 ||
  fail "the CMake project does not build: $(cat "$work/cmake-build.log")"
"$work/cmake-build/user" "$work/cmake-out" "$title" || fail "the CMake project's program failed"
is_png "$work/cmake-out/chart.png" || fail "the CMake project's program drew no PNG"

# ---- A C program, through pkg-config ------------------------------------------
mkdir -p "$work/c-project"
cat >"$work/c-project/user.c" <<'EOF'
/* The README's C example, then the chart again, titled from the Japanese
 * tables; both drawn through the renderer. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "chartxml/chartxml_host.h"
#include "chartxml/cx.h"
#include "chartxml/render.h"

static void scatter(VORN_FortranDictionary* data, const char* titleKey) {
  void* const all = (void*)~(uintptr_t)0; /* "the dictionary is the data source" */
  const int64_t len = 4, zero = 0, one = 1, no = 0, none = -1, point = 23, scatter = 96;
  int64_t chart, source, graph, frame, s1, a1, s2, a2, element;
  CX_INIT(all, &data, "DEMO", &len);
  CX_CREATECHARTEX(all, &data, "DEMO", &len, &chart, &source, &graph, &frame);
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &zero, &no); /* column 0 */
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &one, &no);  /* column 1 */
  if (titleKey != NULL) {
    const int64_t keyLength = (int64_t)strlen(titleKey), titleKind = 17;
    const int64_t title = CX_NSTRING(NULL, titleKey, &keyLength);
    CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);
  }
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &frame, &none, &none, &no, &no, &s1, &a1, &s2, &a2);
  CX_ADDXYELEMENTEX(&chart, &frame, &one, &point, &x, &y, &scatter, &element);
  const double xs[] = {1, 2, 3}, ys[] = {2.5, 4, 7};
  for (int i = 0; i < 3; ++i) { /* the cases, one row at a time */
    CX_ADDROW(&chart, &source);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &x, &xs[i]);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &y, &ys[i]);
  }
  CX_ENDCHART(&chart); /* completes and sends it */
  CX_TERMINATE();
}

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  VORN_FortranDictionary* data = cxh_open_csv(argv[1]); /* header x,y */
  if (data == NULL) return 1;
  scatter(data, NULL);
  cxh_set_language("ja");
  scatter(data, "E60551");
  cxh_close(data);

  int failed = 0;
  if (cxh_sent_count() != 2 || cxr_render_sent(0, argv[3], NULL) != 0) {
    fprintf(stderr, "the README's chart was not sent or not drawn: %s\n", cxr_error());
    ++failed;
  }
  if (cxh_sent_count() < 2 || strstr(cxh_sent_xml(1), argv[2]) == NULL) {
    fprintf(stderr, "the Japanese chart is not titled '%s'\n", argv[2]);
    ++failed;
  }
  for (int i = 0; i < cxh_report_count(); ++i) {
    fprintf(stderr, "report: %s\n", cxh_report_message(i));
    ++failed;
  }
  return failed == 0 ? 0 : 1;
}
EOF
printf 'x,y\n1,2.5\n2,4\n3,7\n' >"$work/c-project/scores.csv"
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$pcfile")${PKG_CONFIG_PATH:+:$PKG_CONFIG_PATH}
cflags=$("$pkgconfig" --cflags chartxml-render) || fail "pkg-config knows no chartxml-render"
libs=$("$pkgconfig" --libs chartxml-render) || fail "pkg-config knows no chartxml-render"
case "$cflags $libs" in
  *"$moved"*) ;;
  *) fail "pkg-config points elsewhere than the moved tree: $cflags $libs" ;;
esac
# shellcheck disable=SC2086  # the flags are words
"$cc" -std=c11 -Wall -Wextra -Werror -o "$work/c-project/user" "$work/c-project/user.c" \
  $cflags $libs || fail "the C program does not build through pkg-config"

# Once from the library folder itself, once through symbolic links to the
# libraries in a folder of their own: the tables are found from where the
# library really is.
mkdir -p "$work/links"
ln -s "$libdir"/libchartxml*.so* "$work/links/"
for path in "$libdir" "$work/links"; do
  rm -f "$work/c-project/chart.png"
  LD_LIBRARY_PATH=$path "$work/c-project/user" "$work/c-project/scores.csv" "$title" \
    "$work/c-project/chart.png" || fail "the C program failed with its libraries in $path"
  is_png "$work/c-project/chart.png" || fail "the C program drew no PNG with its libraries in $path"
done

# ---- The chartxml tool -------------------------------------------------------
# Run from elsewhere than the tree, so that nothing is found by chance.
(cd / && "$tool" demo --out "$work/demo" >"$work/demo.log" 2>&1) ||
  fail "chartxml demo failed: $(cat "$work/demo.log")"
document=$(grep -lF "$title" "$work"/demo/chart-*.xml | head -n 1) ||
  fail "no chart of the demo is titled '$title' from the moved tree's tables"
if grep -q "$key" "$document"; then fail "$document shows the raw key $key"; fi
pictures=0
for picture in "$work"/demo/chart-*.png; do
  is_png "$picture" || fail "$picture is no PNG"
  pictures=$((pictures + 1))
done
[ "$pictures" -ge 9 ] || fail "chartxml demo drew $pictures pictures, not 9"

# The tool checks documents against the schema installed beside the tables:
# the demo's are valid, and once the moved tree's schema no longer knows
# points, a chart of points is refused by it.
schema=$(find "$moved" -path '*/chartxml/schema/chart.xsd' -print -quit)
[ -n "$schema" ] || fail "no chart schema in the install tree"
(cd / && "$tool" check "$work"/demo/chart-*.xml >"$work/check.log" 2>&1) ||
  fail "the demo's charts are not valid: $(cat "$work/check.log")"
sed -i '/<xs:enumeration value="point"\/>/d' "$schema"
points=$(grep -l 'type="point"' "$work"/demo/chart-*.xml | head -n 1)
if (cd / && "$tool" check "$points" >"$work/check.log" 2>&1); then
  fail "chartxml check did not use the moved tree's schema"
fi
grep -qF "'point'" "$work/check.log" || fail "the refusal does not name the point: $(cat "$work/check.log")"

# With its tables gone, the tool says where it looked rather than showing keys.
mkdir -p "$work/no-tables"
CHARTXML_QUIET=0 CHARTXML_STRINGS=$work/no-tables "$tool" demo --out "$work/demo-without" \
  >"$work/demo-without.log" 2>&1 || true
grep -qF "no string tables in $work/no-tables" "$work/demo-without.log" ||
  fail "chartxml demo without tables does not say so: $(cat "$work/demo-without.log")"

echo "install test: the moved tree served CMake, pkg-config, chartxml demo and check"
