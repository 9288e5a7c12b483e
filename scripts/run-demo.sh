#!/usr/bin/env bash
# Runs the demo host from its own folder, where the sandbox index.js lies.
set -euo pipefail
build="$(cd "${1:-build}" && pwd)"
cd "$build/bin"
./morvanta-demo
