#!/usr/bin/env bash
# Runs each libFuzzer target of a fuzz build (make fuzz builds them first) for
# a set time and prints one summary line per target: executions, coverage
# (edges and features), corpus size and findings.
#
#   scripts/run-fuzz.sh [build-dir] [seconds-per-target] [target...]
#   e.g. scripts/run-fuzz.sh build-fuzz 60 answers
#
# The committed inputs under tests/fuzz/corpus/<target> are only read; inputs the
# run finds go to <build-dir>/fuzz-corpus/<target>, findings (crash-*,
# leak-*, timeout-*, oom-*) to <build-dir>/fuzz-findings/, the fuzzer's own
# output to <build-dir>/fuzz-<target>.log. A finding ends that target's run
# and makes the script fail once every target has run: turn it into a
# regression test in the normal suite and commit the input beside the others.
set -uo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${1:-build-fuzz}"
seconds="${2:-600}"
shift 2 2>/dev/null || shift $#
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(answers events call_args)
case "$build" in /*) ;; *) build="$root/$build" ;; esac

findings="$build/fuzz-findings"
mkdir -p "$findings"
status=0
for target in "${targets[@]}"; do
  exe="$build/bin/fuzz_$target"
  if [ ! -x "$exe" ]; then
    echo "run-fuzz: $exe is missing; build first (make fuzz)" >&2
    exit 1
  fi
  corpus="$build/fuzz-corpus/$target"
  mkdir -p "$corpus"
  log="$build/fuzz-$target.log"
  before=$(find "$findings" -name "$target-*" | wc -l)
  started=$SECONDS
  # The targets that run the SDK keep its runtime for the whole run. V8
  # keeps malloc'd blocks that only its own heap (outside malloc, which
  # LeakSanitizer does not scan) points to, so leak checks would report V8
  # itself there; the native-only target keeps them.
  leaks=1
  [ "$target" = answers ] || leaks=0
  ( cd "$build/bin" &&
    ASAN_OPTIONS="detect_leaks=$leaks:abort_on_error=0:allocator_may_return_null=1" \
    LSAN_OPTIONS="suppressions=$root/tests/lsan.supp:print_suppressions=0" \
    UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:suppressions=$root/tests/ubsan.supp" \
    "$exe" "$corpus" "$root/tests/fuzz/corpus/$target" \
      -dict="$root/tests/fuzz/$target.dict" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 \
      -detect_leaks=$leaks \
      -max_len=4096 -print_final_stats=1 -artifact_prefix="$findings/$target-" ) >"$log" 2>&1
  code=$?
  elapsed=$((SECONDS - started))
  after=$(find "$findings" -name "$target-*" | wc -l)
  found=$((after - before))
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  speed=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  last=$(grep -E '^#[0-9]+' "$log" | tail -1)
  cov=$(sed -n 's/.* cov: \([0-9]*\).*/\1/p' <<<"$last")
  ft=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' <<<"$last")
  corp=$(sed -n 's/.* corp: \([0-9]*\/[^ ]*\).*/\1/p' <<<"$last")
  printf 'fuzz_%-10s %4ss  execs %-9s (%s/s)  cov %-6s ft %-6s corpus %-12s findings %s\n' \
    "$target" "$elapsed" "${execs:-?}" "${speed:-?}" "${cov:-?}" "${ft:-?}" "${corp:-?}" "$found"
  if [ "$code" -ne 0 ] || [ "$found" -ne 0 ]; then
    status=1
    echo "  see $log and $findings/$target-*" >&2
    grep -m3 -E 'ERROR: |property broken|SUMMARY' "$log" | sed 's/^/  /' >&2
  fi
done
exit $status
