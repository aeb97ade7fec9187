#!/usr/bin/env bash
# Installs what is needed, builds, and starts the fullest variant on the shipped deployment.
# Without a display it starts a virtual one (Xvfb) and says so.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh
program=${1:-tavix-camera-measure}
if [ -z "${DISPLAY:-}" ]; then
  echo "run: no DISPLAY set; starting a virtual display :99 (Xvfb). Connect a real display to see the window."
  Xvfb :99 -screen 0 1600x1000x24 >/dev/null 2>&1 &
  xvfb_pid=$!
  trap 'kill $xvfb_pid 2>/dev/null || true' EXIT
  export DISPLAY=:99
  sleep 1
fi
exec_status=0
build/bin/"$program" || exec_status=$?
exit $exec_status
