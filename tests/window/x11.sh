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
# Waits for a window of class $1 (a box before the main window) while the program runs.
wait_box() {
  wid=""
  for _ in $(seq 100); do
    wid=$(xdotool search --onlyvisible --class "$1" 2>/dev/null | head -1)
    [ -n "$wid" ] && break
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
  done
}
# Waits for the window titled $1 while the program runs; sets wid (empty when none came).
wait_window() {
  wid=""
  for _ in $(seq 300); do
    wid=$(xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | head -1)
    [ -n "$wid" ] && break
    kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
  done
  [ -n "$wid" ] && sleep 0.5
}
# A window of the program other than the main one: the modal dialog just opened.
dialog_of() {
  local d=""
  for _ in $(seq 50); do
    d=$(xdotool search --onlyvisible --class "$1" 2>/dev/null | grep -vx "$wid" | head -1)
    [ -n "$d" ] && break
    sleep 0.1
  done
  echo "$d"
}
# Types a path into the file dialog of program $2 that the click before opened; a third
# argument takes a screenshot of the dialog first.
answer_dialog() {
  local dialog
  dialog=$(dialog_of "$2")
  [ -n "$dialog" ] || { fail "$2" "no file dialog for $1"; return 1; }
  sleep 0.5
  [ -n "${3:-}" ] && import -window "$dialog" "$3" 2>/dev/null
  xdotool type --delay 20 "$1"
  xdotool key Return
  sleep 0.8
}
# Closes the window and checks that the program ends, and ends well.
close_and_wait() {
  [ -n "$wid" ] && "$xclose" "$wid"
  for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
  kill -0 $pid 2>/dev/null && { fail "$1" "still running"; import -window root "$shots/$1-stuck.png" 2>/dev/null; kill $pid; }
  wait $pid 2>/dev/null || fail "$1" "exit status $?"
}
