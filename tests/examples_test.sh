#!/usr/bin/env bash
# The examples, as the install tree holds them (share/doc/chartxml/examples),
# build against that install tree alone and send their charts: the C one
# through pkg-config, the C++ one through find_package(chartxml), the Fortran
# one through pkg-config and the installed include files (skipped, saying so,
# without a Fortran compiler). Each must write the documents and data files
# of its two charts, documents the installed tool finds valid, one data row
# for each row of the CSV, and a PNG of each chart; each must fail, naming
# the file, on a CSV that does not exist.
#
# usage: examples_test.sh BUILD_DIR WORK_DIR CMAKE C_COMPILER CXX_COMPILER PKG_CONFIG [FORTRAN_COMPILER]
# BUILD_DIR is a built tree; it is installed as it is, never rebuilt.
set -euo pipefail

if [ $# -lt 6 ] || [ $# -gt 7 ]; then
  echo "usage: $0 BUILD_DIR WORK_DIR CMAKE C_COMPILER CXX_COMPILER PKG_CONFIG [FORTRAN_COMPILER]" >&2
  exit 2
fi
build=$1 work=$2 cmake=$3 cc=$4 cxx=$5 pkgconfig=$6 fc=${7:-}

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

command -v make >/dev/null || fail "no make on PATH: the C and Fortran examples build with it"

rm -rf "$work"
mkdir -p "$work"
work=$(cd "$work" && pwd)
prefix=$work/prefix
"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log"

installed=$(find "$prefix" -type d -path '*/doc/chartxml/examples' -print -quit)
[ -n "$installed" ] || fail "the install tree holds no examples (share/doc/chartxml/examples)"
for file in data/cars.csv data/cars.csv.dict.json c/cars.c c/Makefile cxx/cars.cc \
  cxx/CMakeLists.txt fortran/cars.F90 fortran/Makefile; do
  [ -f "$installed/$file" ] || fail "the installed examples lack $file"
done
# Built from a copy, as a user would: the install tree stays as installed.
cp -R "$installed" "$work/examples"
examples=$work/examples
pcdir=$(dirname "$(find "$prefix" -name chartxml.pc -print -quit)")
tool=$prefix/bin/chartxml
[ -x "$tool" ] || fail "no chartxml tool in the install tree"

# Nothing of the surroundings may lead a program to its libraries or tables.
unset LD_LIBRARY_PATH CHARTXML_STRINGS CHARTXML_LANG CHARTXML_OUTPUT CHARTXML_VALIDATE
export CHARTXML_QUIET=1

csv=$examples/data/cars.csv
rows=$(($(wc -l <"$csv") - 1))
[ "$rows" -gt 0 ] || fail "$csv has no rows"

is_png() {
  [ "$(head -c 8 "$1" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ]
}

# Runs the example PROGRAM (named NAME in messages) into a folder of its own
# and checks what it wrote.
run_example() {
  local name=$1 program=$2 out=$work/out-$1
  (cd / && "$program" "$csv" "$out") >"$work/$name.run.log" 2>&1 ||
    fail "the $name example failed: $(cat "$work/$name.run.log")"
  local chart
  for chart in 0001 0002; do
    local document=$out/chart-$chart.xml data=$out/chart-$chart.source0.csv
    [ -s "$document" ] || fail "the $name example wrote no $document"
    [ -s "$data" ] || fail "the $name example wrote no $data"
    local written=$(($(wc -l <"$data") - 1))
    [ "$written" -eq "$rows" ] ||
      fail "$data holds $written rows, the CSV $rows"
  done
  [ ! -e "$out/chart-0003.xml" ] || fail "the $name example sent more than two charts"
  (cd / && "$tool" check "$out"/chart-000[12].xml) >"$work/$name.check.log" 2>&1 ||
    fail "the $name example's documents are not valid: $(cat "$work/$name.check.log")"
  # The scatter's rows carry the cars' numbers and texts as the CSV has them.
  grep -q '^2\.62,21,manual$' "$out/chart-0001.source0.csv" ||
    fail "the $name example's first chart lacks the first car's row: $(head -n 3 "$out/chart-0001.source0.csv")"
  grep -q 'type="point"' "$out/chart-0001.xml" || fail "the $name example's first chart has no points"
  grep -q 'type="interval"' "$out/chart-0002.xml" || fail "the $name example's second chart has no bars"
  is_png "$out/cars-1.png" || fail "the $name example drew no PNG of its first chart"
  is_png "$out/cars-2.png" || fail "the $name example drew no PNG of its second chart"
  # A missing file is refused and named.
  if (cd / && "$program" "$work/missing.csv" "$work/out-missing") >"$work/$name.missing.log" 2>&1; then
    fail "the $name example succeeded without its CSV"
  fi
  grep -qF "$work/missing.csv" "$work/$name.missing.log" ||
    fail "the $name example does not name the missing CSV: $(cat "$work/$name.missing.log")"
}

# ---- C, through pkg-config ---------------------------------------------------
make -C "$examples/c" CC="$cc" PKG_CONFIG="$pkgconfig" PKG_CONFIG_PATH="$pcdir" \
  CFLAGS="-O1 -Werror" >"$work/c.build.log" 2>&1 ||
  fail "the C example does not build: $(cat "$work/c.build.log")"
run_example c "$examples/c/cars"

# ---- C++, through find_package ----------------------------------------------
"$cmake" -S "$examples/cxx" -B "$work/build-cxx" -DCMAKE_CXX_COMPILER="$cxx" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS=-Werror >"$work/cxx.configure.log" 2>&1 ||
  fail "the C++ example does not configure: $(cat "$work/cxx.configure.log")"
found=$(sed -n 's/^chartxml_DIR:PATH=//p' "$work/build-cxx/CMakeCache.txt")
case "$found" in
  "$prefix"/*) ;;
  *) fail "the C++ example found chartxml in '$found', not in the install tree" ;;
esac
"$cmake" --build "$work/build-cxx" >"$work/cxx.build.log" 2>&1 ||
  fail "the C++ example does not build: $(cat "$work/cxx.build.log")"
run_example cxx "$work/build-cxx/cars"

# ---- Fortran, through the installed include files ------------------------------
if [ -z "$fc" ] || ! command -v "$fc" >/dev/null; then
  echo "examples test: no Fortran compiler, the Fortran example is skipped"
else
  make -C "$examples/fortran" FC="$fc" PKG_CONFIG="$pkgconfig" PKG_CONFIG_PATH="$pcdir" \
    FFLAGS="-O1 -Werror" >"$work/fortran.build.log" 2>&1 ||
    fail "the Fortran example does not build: $(cat "$work/fortran.build.log")"
  run_example fortran "$examples/fortran/cars"
  # The same calls through the Fortran interfaces as through C: the same charts.
  for chart in 0001 0002; do
    cmp -s "$work/out-c/chart-$chart.xml" "$work/out-fortran/chart-$chart.xml" ||
      fail "the Fortran example's chart $chart differs from the C example's"
  done
fi

echo "examples test: the installed examples built and sent their charts"
