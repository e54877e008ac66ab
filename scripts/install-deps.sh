#!/usr/bin/env bash
# Installs every build and test dependency from Debian packages.
# Does nothing (and needs no network) when they are all present. Chromium
# is for the test that opens the demo's gallery page in a real browser; clang,
# its runtime libraries (libFuzzer, the sanitizers) and llvm's symbolizer are
# for `make fuzz` and `make test-clang`; clang-format for `make format-check`;
# pugixml is the document printer benchmark's anchor; doxygen builds the API
# reference (`make docs`, and the test that it builds without a warning);
# dpkg-dev (dpkg-shlibdeps) and file are what cpack needs to make the Debian
# packages (the packages_deb test).
set -euo pipefail

packages=(
  build-essential cmake pkg-config
  libxerces-c-dev libicu-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev libbenchmark-dev libpugixml-dev
  gfortran
  libcairo2-dev libpango1.0-dev zlib1g-dev fonts-dejavu-core fonts-noto-cjk
  chromium
  clang libclang-rt-14-dev llvm clang-format
  doxygen
  dpkg-dev file
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}" >&2
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
