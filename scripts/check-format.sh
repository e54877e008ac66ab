#!/usr/bin/env bash
# Checks that every tracked C and C++ file of ours is as clang-format (with the
# tree's .clang-format) writes it; with --fix, rewrites those that are not.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(--dry-run --Werror)
if [ "${1:-}" = "--fix" ]; then mode=(-i); fi
folders=(src include host render tools tests fuzz bench)
patterns=()
for f in "${folders[@]}"; do patterns+=("$f/*.cc" "$f/*.h" "$f/*.c"); done
files=()
while IFS= read -r -d '' f; do
  # A tracked file removed from the working tree is not ours to check.
  [ -f "$f" ] && files+=("$f")
done < <(git ls-files -z -- "${patterns[@]}")
if [ ${#files[@]} -eq 0 ]; then
  echo "check-format: no tracked sources found" >&2
  exit 1
fi
clang-format "${mode[@]}" "${files[@]}"
