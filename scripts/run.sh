#!/usr/bin/env bash
# Installs what is needed, builds the program it starts (not the tests), and starts the
# fullest variant on the shipped deployment.
# Without a display it starts a virtual one (Xvfb) and says so.
set -euo pipefail
cd "$(dirname "$0")/.."
program=${1:-tavix-camera-measure}
case "$program" in
  tavix|tavix-camera-measure|tavix-still|tavix-still-measure) ;;
  *) echo "run: no program '$program' (tavix, tavix-camera-measure, tavix-still, tavix-still-measure)" >&2; exit 2 ;;
esac
scripts/install-deps.sh
scripts/build.sh "$program"
if [ -z "${DISPLAY:-}" ]; then
  # A free display number, so a virtual display already running elsewhere is never reused.
  fdfile=$(mktemp)
  exec 3>"$fdfile"
  Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp >/dev/null 2>&1 &
  xvfb_pid=$!
  exec 3>&-
  trap 'kill $xvfb_pid 2>/dev/null || true; rm -f "$fdfile"' EXIT
  for _ in $(seq 50); do [ -s "$fdfile" ] && break; sleep 0.1; done
  [ -s "$fdfile" ] || { echo "run: the virtual display did not start" >&2; exit 1; }
  export DISPLAY=":$(head -1 "$fdfile")"
  echo "run: no DISPLAY set; started a virtual display $DISPLAY (Xvfb). Connect a real display to see the window."
fi
exec_status=0
build/bin/"$program" || exec_status=$?
exit $exec_status
