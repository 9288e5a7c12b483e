#!/usr/bin/env bash
# Runs every benchmark executable of a build (make bench builds them first).
# The library logs to standard output by design; that log goes to
# $BUILD/bench.log, while the report (written to standard error) stays on the
# terminal and is kept with the JSON results under bench-results/.
#
#   scripts/run-bench.sh [build-dir] [extra Google Benchmark flags...]
#   e.g. scripts/run-bench.sh build --benchmark_filter=RoundTrip
#
# A full run logs a few hundred megabytes; BENCH_LOG=/dev/null drops the log.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${1:-build}"
shift || true
case "$build" in /*) ;; *) build="$root/$build" ;; esac
bin="$build/bin"
log="${BENCH_LOG:-$build/bench.log}"
results="$root/bench-results"

if [ ! -f "$bin/index.js" ]; then
  echo "run-bench: $bin/index.js is missing; build first (make bench)" >&2
  exit 1
fi
shopt -s nullglob
benches=("$bin"/bench_*)
if [ ${#benches[@]} -eq 0 ]; then
  echo "run-bench: no bench_* executables in $bin (is Google Benchmark installed?)" >&2
  exit 1
fi

mkdir -p "$results"
stamp="$(date +%Y%m%d-%H%M%S)"
[ -f "$log" ] && : >"$log"
status=0
for exe in "${benches[@]}"; do
  [ -x "$exe" ] || continue
  name="$(basename "$exe")"
  json="$results/$name-$stamp.json"
  text="$results/$name-$stamp.txt"
  echo "== $name ($(nproc) cores; library log in $log)" >&2
  # Run from bin/ so that the SDK beside the executable is found. The report
  # on standard error is copied into the text file as it goes.
  if ! (cd "$bin" && "./$name" --benchmark_out="$json" --benchmark_out_format=json "$@" \
          2>&1 >>"$log") | tee "$text" >&2; then
    echo "run-bench: $name failed (see $log)" >&2
    status=1
  fi
  echo "   results: $json" >&2
  echo "            $text" >&2
done
# The Python package (bindings/python), on Debian's interpreter.
if [ -x /usr/bin/python3 ]; then
  text="$results/bench_python-$stamp.txt"
  echo "== bench_python ($(nproc) cores)" >&2
  if ! MORVANTA_LIBRARY="$bin/libmorvanta.so" MORVANTA_SDK_PATH="$bin/index.js" \
       /usr/bin/python3 "$root/bench/bench_python.py" --runs 3 2>>"$log" | tee "$text" >&2; then
    echo "run-bench: bench_python failed (see $log)" >&2
    status=1
  fi
  echo "   results: $text" >&2
fi
exit $status
