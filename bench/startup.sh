#!/usr/bin/env bash
# Start-up to the first shown window: median over runs of each program started from a copied
# installation under Xvfb, against an empty Qt window measured the same way in the same run.
# usage: bench/startup.sh [BUILD_DIR] [RUNS]
set -uo pipefail
src=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$src/build} runs=${2:-11}
work=$(mktemp -d)
trap 'kill ${xvfb_pid:-0} 2>/dev/null; rm -rf "$work"' EXIT
exec 3>"$work/displayfd"
Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
for _ in $(seq 50); do [ -s "$work/displayfd" ] && break; sleep 0.1; done
export DISPLAY=":$(head -1 "$work/displayfd")"
unset QT_QPA_PLATFORM
# xdotool matches the Japanese titles only in a UTF-8 locale.
export LC_ALL=C.UTF-8
cp "$src"/deploy/ja/* "$work"/
cp "$build"/bin/tavix* "$build"/bin/bench_bare_window "$work"/

# ms from launch until a visible window with the title exists.
time_window() {
  local exe=$1 title=$2 tries=${3:-3} start end pid wid
  start=$(date +%s%N)
  "$work/$exe" >/dev/null 2>&1 </dev/null &
  pid=$!
  wid=""
  while [ -z "$wid" ]; do
    wid=$(xdotool search --onlyvisible --name "^${title}\$" 2>/dev/null | head -1)
    if ! kill -0 $pid 2>/dev/null; then
      wait $pid 2>/dev/null
      # The display refused the connection now and then: try again, a few times.
      if [ "$tries" -gt 1 ]; then time_window "$exe" "$title" $((tries - 1)); else echo "-1"; fi
      return
    fi
    [ -z "$wid" ] && sleep 0.005
  done
  end=$(date +%s%N)
  kill $pid; wait $pid 2>/dev/null
  echo $(( (end - start) / 1000000 ))
}
median() { sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }

bare=$(for _ in $(seq "$runs"); do time_window bench_bare_window "bare window"; done | median)
echo "bare Qt window: median ${bare} ms"
for pair in "tavix-camera-measure:デジカメ画像表示／計測プログラム" "tavix:デジカメ画像表示プログラム" \
            "tavix-still:画像表示プログラム" "tavix-still-measure:画像表示／計測プログラム"; do
  exe=${pair%%:*} title=${pair#*:}
  ours=$(for _ in $(seq "$runs"); do time_window "$exe" "$title"; done | median)
  awk -v o="$ours" -v b="$bare" -v e="$exe" 'BEGIN {printf "%s: median %d ms to the shown window; ratio %.2f to the bare window (goal: under 300 ms)\n", e, o, o / b}'
done
