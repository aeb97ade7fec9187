# What the real-window tests share, sourced by them. The sourcing script sets work (a scratch
# folder), xclose and shots, and defines start PROGRAM (runs it in the background writing its
# output to $out and setting pid).

failures=0
fail() { echo "FAIL $1: $2"; failures=$((failures + 1)); }

# A virtual display of our own unless a real one is there.
start_display() {
  if [ -z "${DISPLAY:-}" ] || [ "${QT_QPA_PLATFORM:-}" = offscreen ]; then
    exec 3>"$work/displayfd"
    Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
    xvfb_pid=$!
    for _ in $(seq 50); do [ -s "$work/displayfd" ] && break; sleep 0.1; done
    export DISPLAY=":$(head -1 "$work/displayfd")"
  fi
  unset QT_QPA_PLATFORM
}

# Starts $1 and waits for its window titled $2; sets pid and wid (empty when none came).
launch() { launch_until "$1" wait_window "$2"; }
# Starts $1 and runs the rest until it sets wid. Xvfb now and then refuses a connection under
# load (Qt then aborts at once); that try does not count.
launch_until() {
  local program=$1
  shift
  for _ in 1 2 3; do
    start "$program"
    "$@"
    [ -n "$wid" ] && return
    grep -q "could not connect to display" "$out" || { cat "$out"; return; }
    wait $pid 2>/dev/null
  done
}
# Prints the first shown window that xdotool search $2... finds other than $wid, looking every
# 0.1 s at most $1 times while the program runs.
find_window() {
  local tries=$1 w=""
  shift
  for _ in $(seq "$tries"); do
    w=$(xdotool search --onlyvisible "$@" 2>/dev/null | grep -vx "$wid" | head -1)
    [ -n "$w" ] && break
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
  done
  echo "$w"
}
# A box of class $1 before the main window; a main window titled $1; both set wid.
wait_box() { wid="" && wid=$(find_window 100 --class "$1"); }
wait_window() { wid="" && wid=$(find_window 300 --name "^$1\$") && [ -n "$wid" ] && sleep 0.5; }
# A window of program $1 other than the main one: the modal dialog just opened.
dialog_of() { find_window 50 --class "$1"; }
# Types a path into the file dialog of program $2 that the click before opened; a third
# argument takes a screenshot of the dialog first.
answer_dialog() {
  local dialog
  dialog=$(dialog_of "$2")
  [ -n "$dialog" ] || { fail "$2" "no file dialog for $1"; return 1; }
  sleep 0.5
  [ -n "${3:-}" ] && import -window "$dialog" "$3" 2>/dev/null
  xdotool type --delay 20 "$1"; xdotool key Return; sleep 0.8
}
# Closes the window and checks that the program ends, and ends with status $2 (0 unless given).
close_and_wait() {
  [ -n "$wid" ] && "$xclose" "$wid"
  for _ in $(seq 100); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
  kill -0 $pid 2>/dev/null && { fail "$1" "still running"; import -window root "$shots/$1-stuck.png" 2>/dev/null; kill $pid; }
  wait $pid 2>/dev/null
  local status=$?
  [ $status -eq "${2:-0}" ] || fail "$1" "exit status $status"
}
