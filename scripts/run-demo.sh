#!/usr/bin/env bash
# Runs the demo host. The library logs to standard output by design; that log
# goes to a file so the transcript on the terminal stays readable.
set -euo pipefail
build="${1:-build}"
bin="$build/bin"
log="$build/demo.log"
demo="$bin/morvanta_demo"
[ -x "$demo" ] || demo="$bin/morvanta_bridge_demo"
"$demo" >"$log"
echo "  (the library's own log is in $log)"
