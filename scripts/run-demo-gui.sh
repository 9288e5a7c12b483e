#!/usr/bin/env bash
# Runs the desktop meeting client from the build's bin/ folder (where the
# sandbox index.js lies) with the lively scenario: members arrive, talk,
# chat, raise hands and knock at the waiting room, over and over.
# Needs a display. Without one (a server, CI) it still runs offscreen:
#   QT_QPA_PLATFORM=offscreen DEMO_GUI_SECONDS=20 make demo-gui
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$(cd "${1:-build}" && pwd)"
export MORVANTA_SANDBOX_SCENARIO="${MORVANTA_SANDBOX_SCENARIO:-$root/examples/qt/scenarios/lively.json}"
cd "$build/bin"
if [[ ! -x ./morvanta-meeting ]]; then
  echo "morvanta-meeting was not built (is Qt 6 installed? see scripts/setup.sh)" >&2
  exit 1
fi
echo "Sign in as alice / alice-password, then start a meeting."
if [[ -n "${DEMO_GUI_SECONDS:-}" ]]; then
  # A time limit ends the run with status 124: that is the expected end here.
  timeout "$DEMO_GUI_SECONDS" ./morvanta-meeting || [[ $? -eq 124 ]]
else
  exec ./morvanta-meeting
fi
