#!/usr/bin/env bash
# The Debian packages that cpack makes of the build tree: three of them
# (chartxml, chartxml-dev, chartxml-doc), each file in the package its kind
# belongs to, the runtime depending on the package of every library its
# programs and libraries load, the development package on the runtime of the
# same version and on the packages that provide what its pkg-config files
# require. Unpacked into a folder, what they hold builds and runs the C
# example, whose charts the unpacked tool finds valid.
#
# usage: packages_test.sh BUILD_DIR WORK_DIR CPACK C_COMPILER PKG_CONFIG VERSION
# BUILD_DIR is a built tree; cpack installs it into its own staging folder.
set -euo pipefail

if [ $# -ne 6 ]; then
  echo "usage: $0 BUILD_DIR WORK_DIR CPACK C_COMPILER PKG_CONFIG VERSION" >&2
  exit 2
fi
build=$1 work=$2 cpack=$3 cc=$4 pkgconfig=$5 version=$6

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

for tool in dpkg dpkg-deb make; do
  command -v "$tool" >/dev/null || fail "no $tool on PATH (scripts/install-deps.sh installs it)"
done

rm -rf "$work"
mkdir -p "$work"
work=$(cd "$work" && pwd)

# ---- Making them ---------------------------------------------------------------
"$cpack" --config "$build/CPackConfig.cmake" -G DEB -B "$work/cpack" >"$work/cpack.log" 2>&1 ||
  fail "cpack failed: $(tail -n 30 "$work/cpack.log")"
arch=$(dpkg --print-architecture)
runtime=$work/cpack/chartxml_${version}_${arch}.deb
dev=$work/cpack/chartxml-dev_${version}_${arch}.deb
doc=$work/cpack/chartxml-doc_${version}_all.deb
for deb in "$runtime" "$dev" "$doc"; do
  [ -f "$deb" ] || fail "cpack made no $(basename "$deb"): $(ls "$work/cpack")"
done
made=$(find "$work/cpack" -maxdepth 1 -name '*.deb' | wc -l)
[ "$made" -eq 3 ] || fail "cpack made $made packages, not 3: $(ls "$work/cpack"/*.deb)"

# ---- What each holds -----------------------------------------------------------
# The package a file belongs to, by its path; "" for a file no package
# should hold.
owner_of() {
  case "$1" in
    */include/chartxml/*) echo chartxml-dev ;;
    */lib/cmake/chartxml/* | */lib/*/cmake/chartxml/*) echo chartxml-dev ;;
    */pkgconfig/chartxml.pc | */pkgconfig/chartxml-render.pc) echo chartxml-dev ;;
    */libchartxml.so | */libchartxml_host.so | */libchartxml_render.so) echo chartxml-dev ;;
    */share/doc/chartxml/*) echo chartxml-doc ;;
    ./usr/bin/chartxml) echo chartxml ;;
    */libchartxml*.so.[0-9]* | */libchartxml_commands.so) echo chartxml ;;
    ./usr/share/chartxml/strings/* | ./usr/share/chartxml/schema/*) echo chartxml ;;
    ./usr/share/man/man1/chartxml.1*) echo chartxml ;;
    *) echo "" ;;
  esac
}

# The files (not folders) of a package, one path a line, "./usr/..." as
# dpkg-deb -c shows them; a link as its own path.
files_of() {
  dpkg-deb -c "$1" | awk '$1 !~ /^d/ { print $6 }'
}

for deb in "$runtime" "$dev" "$doc"; do
  package=$(dpkg-deb -f "$deb" Package)
  files_of "$deb" >"$work/$package.files"
  while IFS= read -r file; do
    owner=$(owner_of "$file")
    [ -n "$owner" ] || fail "$package holds $file, which no package should"
    [ "$owner" = "$package" ] || fail "$package holds $file, which belongs in $owner"
  done <"$work/$package.files"
done

# Sets of what must be there, as patterns of grep -x over the file lists.
must_hold() {
  local package=$1 pattern
  shift
  for pattern in "$@"; do
    grep -qx "$pattern" "$work/$package.files" || fail "$package lacks $pattern"
  done
}
must_hold chartxml './usr/bin/chartxml' \
  '\./usr/lib/\(.*/\)\?libchartxml\.so\.[0-9]*' '\./usr/lib/\(.*/\)\?libchartxml_host\.so\.[0-9]*' \
  '\./usr/lib/\(.*/\)\?libchartxml_render\.so\.[0-9]*' '\./usr/lib/\(.*/\)\?libchartxml_commands\.so' \
  './usr/share/chartxml/strings/en/global\.txt' './usr/share/chartxml/strings/ja/global\.txt' \
  './usr/share/chartxml/schema/chart\.xsd' './usr/share/man/man1/chartxml\.1.*'
must_hold chartxml-dev \
  './usr/include/chartxml/ChartXml\.h' './usr/include/chartxml/cx\.h' \
  './usr/include/chartxml/codes\.h' './usr/include/chartxml/chartxml_host\.h' \
  './usr/include/chartxml/render\.h' './usr/include/chartxml/cx_codes\.fi' \
  './usr/include/chartxml/cx_interfaces\.fi' \
  '\./usr/lib/\(.*/\)\?cmake/chartxml/chartxmlConfig\.cmake' \
  '\./usr/lib/\(.*/\)\?cmake/chartxml/chartxmlConfigVersion\.cmake' \
  '\./usr/lib/\(.*/\)\?cmake/chartxml/chartxmlTargets\.cmake' \
  '\./usr/lib/\(.*/\)\?pkgconfig/chartxml\.pc' '\./usr/lib/\(.*/\)\?pkgconfig/chartxml-render\.pc' \
  '\./usr/lib/\(.*/\)\?libchartxml\.so' '\./usr/lib/\(.*/\)\?libchartxml_host\.so' \
  '\./usr/lib/\(.*/\)\?libchartxml_render\.so'
must_hold chartxml-doc \
  './usr/share/doc/chartxml/README\.md' './usr/share/doc/chartxml/CHANGELOG\.md' \
  './usr/share/doc/chartxml/examples/data/cars\.csv' './usr/share/doc/chartxml/examples/c/cars\.c' \
  './usr/share/doc/chartxml/examples/c/Makefile' './usr/share/doc/chartxml/examples/cxx/cars\.cc' \
  './usr/share/doc/chartxml/examples/cxx/CMakeLists\.txt' \
  './usr/share/doc/chartxml/examples/fortran/cars\.F90'
# The API reference goes with it when the build tree made it.
if [ -f "$build/docs/api/html/index.html" ]; then
  must_hold chartxml-doc './usr/share/doc/chartxml/api/html/index\.html'
fi

# ---- What each depends on ----------------------------------------------------
field() { dpkg-deb -f "$1" "$2"; }
# The installed packages that hold a file matching the glob PATTERN, one a
# line ("pkg1:arch, pkg2: /path" as dpkg -S writes them); fails when none does.
providers_of() {
  dpkg -S "$1" 2>/dev/null | grep -v '^diversion' | sed 's/: \/.*//; s/, /\n/g' |
    sed 's/:.*//' | sort -u
}
# Whether the comma-separated list of dependencies names PACKAGE.
names() {
  printf '%s\n' "$1" | tr ',|' '\n\n' | sed 's/^ *//; s/[ (].*//' | grep -qx "$2"
}

[ "$(field "$doc" Architecture)" = all ] || fail "chartxml-doc is not Architecture: all"
[ "$(field "$runtime" Version)" = "$version" ] || fail "chartxml is not version $version"
devDepends=$(field "$dev" Depends)
printf '%s\n' "$devDepends" | tr ',' '\n' | grep -qx " *chartxml (= $version)" ||
  fail "chartxml-dev does not depend on chartxml (= $version): $devDepends"

# Every library the runtime's programs and libraries load, other than its
# own, comes from a package it depends on.
depends=$(field "$runtime" Depends)
mkdir -p "$work/runtime"
dpkg-deb -x "$runtime" "$work/runtime"
binaries=$(find "$work/runtime" -type f \( -name '*.so*' -o -path '*/bin/*' \))
[ -n "$binaries" ] || fail "the runtime package holds no binaries"
needed=$(for binary in $binaries; do
  objdump -p "$binary" | awk '$1 == "NEEDED" { print $2 }'
done | sort -u | grep -v '^libchartxml')
for soname in $needed; do
  providers=$(providers_of "*/$soname") ||
    fail "no installed package provides $soname, which the runtime loads"
  found=""
  for provider in $providers; do
    if names "$depends" "$provider"; then found=$provider; fi
  done
  [ -n "$found" ] || fail "chartxml loads $soname (from $providers) without depending on it: $depends"
done
# Other packages may depend on the libraries through its shlibs file.
dpkg-deb -e "$runtime" "$work/runtime-control"
for library in libchartxml libchartxml_host libchartxml_render; do
  grep -q "^$library 0 chartxml " "$work/runtime-control/shlibs" ||
    fail "chartxml's shlibs does not name $library: $(cat "$work/runtime-control/shlibs")"
done
# Binaries are stripped: no debug information in the package.
for binary in $binaries; do
  if objdump -h "$binary" | grep -q '\.debug_info'; then fail "$binary is not stripped"; fi
done
for library in 'libxerces-c.*' 'libicu.*' 'libcairo2' 'libpango-1\.0-0'; do
  names "$depends" "$library" || fail "chartxml does not depend on $library: $depends"
done

# Each module the pkg-config files require comes from a package chartxml-dev
# depends on.
mkdir -p "$work/dev"
dpkg-deb -x "$dev" "$work/dev"
pcfiles=$(find "$work/dev" -name '*.pc')
[ -n "$pcfiles" ] || fail "chartxml-dev holds no pkg-config files"
# The module names only: no version conditions, none of ours.
# shellcheck disable=SC2086  # the paths are words
modules=$(sed -n 's/^Requires\(\.private\)\?: *//p' $pcfiles | tr ', ' '\n\n' |
  grep '^[A-Za-z]' | grep -v '^chartxml' | sort -u || true)
[ -n "$modules" ] || fail "the pkg-config files of chartxml-dev require nothing: xerces-c at least"
for module in $modules; do
  providers=$(providers_of "*/pkgconfig/$module.pc") ||
    fail "no installed package provides $module.pc"
  found=""
  for provider in $providers; do
    if names "$devDepends" "$provider"; then found=$provider; fi
  done
  [ -n "$found" ] || fail "chartxml-dev requires $module.pc ($providers) without depending on it: $devDepends"
done

# ---- What they hold, unpacked, builds and runs the C example -----------------
root=$work/root
for deb in "$runtime" "$dev" "$doc"; do
  dpkg-deb -x "$deb" "$root"
done
pcdir=$(dirname "$(find "$root" -name chartxml.pc -print -quit)")
cp -R "$root/usr/share/doc/chartxml/examples" "$work/examples"
unset LD_LIBRARY_PATH CHARTXML_STRINGS CHARTXML_LANG CHARTXML_OUTPUT CHARTXML_VALIDATE
export CHARTXML_QUIET=1
make -C "$work/examples/c" CC="$cc" PKG_CONFIG="$pkgconfig" PKG_CONFIG_PATH="$pcdir" \
  >"$work/c.build.log" 2>&1 || fail "the C example does not build from the packages: $(cat "$work/c.build.log")"
# Linked against the unpacked libraries, not any installed elsewhere.
linked=$(ldd "$work/examples/c/cars" | awk '$1 ~ /^libchartxml/ { print $3 }')
[ -n "$linked" ] || fail "the C example loads no chartxml library"
for library in $linked; do
  case "$library" in
    "$root"/*) ;;
    *) fail "the C example loads $library, not the unpacked one" ;;
  esac
done
out=$work/out
(cd / && "$work/examples/c/cars" "$work/examples/data/cars.csv" "$out") >"$work/c.run.log" 2>&1 ||
  fail "the C example failed on the packages: $(cat "$work/c.run.log")"
rows=$(($(wc -l <"$work/examples/data/cars.csv") - 1))
for chart in 0001 0002; do
  [ -s "$out/chart-$chart.xml" ] || fail "the C example wrote no chart-$chart.xml"
  written=$(($(wc -l <"$out/chart-$chart.source0.csv") - 1))
  [ "$written" -eq "$rows" ] || fail "chart-$chart.source0.csv holds $written rows, the CSV $rows"
done
(cd / && "$root/usr/bin/chartxml" check "$out"/chart-000[12].xml) >"$work/check.log" 2>&1 ||
  fail "the unpacked tool finds the example's charts invalid: $(cat "$work/check.log")"
for picture in "$out/cars-1.png" "$out/cars-2.png"; do
  [ "$(head -c 8 "$picture" | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] ||
    fail "the C example drew no PNG $picture"
done

echo "packages test: chartxml, chartxml-dev and chartxml-doc hold, need and build what they should"
