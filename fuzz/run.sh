#!/usr/bin/env bash
# Runs fuzz targets built in BUILD (make fuzz builds them), each for SECONDS:
#   fuzz/run.sh BUILD SECONDS [TARGET...]     targets: cx csv check xml (default all)
#
# Each target starts from its seeds (fuzz/corpus/TARGET, copied into
# BUILD/corpus/TARGET, where what it finds to keep grows from run to run; the
# repository's corpus is never written). A crash, leak, sanitizer report,
# timeout or broken promise is written to BUILD/findings/TARGET-KIND-HASH with
# the run's log beside it as BUILD/findings/TARGET.log; reproduce it with
#   BUILD/fuzz/fuzz_TARGET BUILD/findings/TARGET-KIND-HASH
# Exit status: 0 when no target found anything, 1 otherwise.
set -uo pipefail

if [ $# -lt 2 ]; then
  echo "usage: fuzz/run.sh BUILD SECONDS [TARGET...]" >&2
  exit 2
fi
build=$(cd "$1" && pwd)
seconds=$2
shift 2
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(cx csv check xml)
root=$(cd "$(dirname "$0")/.." && pwd)

# Sanitizer reports end the run with a stack; the suppressions are the test
# suites' (libraries of the system that keep memory on purpose).
export ASAN_OPTIONS=detect_leaks=1:${ASAN_OPTIONS:-}
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1:${UBSAN_OPTIONS:-}
export LSAN_OPTIONS=suppressions=$root/tests/lsan.supp:print_suppressions=0:${LSAN_OPTIONS:-}

status=0
for target in "${targets[@]}"; do
  program=$build/fuzz/fuzz_$target
  seeds=$root/fuzz/corpus/$target
  corpus=$build/corpus/$target
  findings=$build/findings
  if [ ! -x "$program" ] || [ ! -d "$seeds" ]; then
    echo "fuzz: no target $target (no $program or no $seeds)" >&2
    status=1
    continue
  fi
  mkdir -p "$corpus" "$findings"
  for seed in "$seeds"/*; do
    [ -e "$corpus/$(basename "$seed")" ] || cp "$seed" "$corpus/"
  done

  # Tokens for the mutations to insert: the XML parser is a system library,
  # not instrumented, so coverage alone would not lead the fuzzer to them.
  dictionary=()
  [ -f "$root/fuzz/$target.dict" ] && dictionary=(-dict="$root/fuzz/$target.dict")

  log=$findings/$target.log
  echo "fuzz: $target for ${seconds}s over $(ls "$corpus" | wc -l) inputs (log: $log)"
  "$program" -max_total_time="$seconds" -timeout=30 -print_final_stats=1 "${dictionary[@]}" \
    -artifact_prefix="$findings/$target-" "$corpus" >"$log" 2>&1
  result=$?
  # libFuzzer's last status line: coverage, features, corpus, executions a second.
  grep -E '^#[0-9]+' "$log" | tail -n 1 | sed "s/^/fuzz: $target: /"
  grep -E '^stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)' "$log" |
    sed "s/^/fuzz: $target: /"
  if [ $result -ne 0 ]; then
    echo "fuzz: $target FOUND SOMETHING (exit $result); the end of its log:" >&2
    tail -n 80 "$log" >&2
    ls "$findings"/"$target"-* 2>/dev/null | sed 's/^/fuzz: reproducer: /' >&2
    status=1
  fi
done
exit $status
