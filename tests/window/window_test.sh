#!/usr/bin/env bash
# Starts each program from a copied installation in a real X window, takes a screenshot,
# closes it through the close box, and checks the log and the settings written back.
# usage: window_test.sh BIN_DIR SOURCE_DIR XCLOSE SHOT_DIR AVICHECK
set -uo pipefail
# Its own mount namespace, where it may be, so a small RAM disk can be filled without root's
# mounts being touched.
if [ -z "${TAVIX_WINDOW_NS:-}" ] && unshare -m --propagation private true 2>/dev/null; then
  TAVIX_WINDOW_NS=1 exec unshare -m --propagation private "$0" "$@"
fi
bin=$1 src=$2 xclose=$3 shots=$4 avicheck=$5
mkdir -p "$shots"
# On a disk, not in RAM: a movie is refused on a RAM disk.
work=$(mktemp -d /var/tmp/tavix-window.XXXXXX)
trap 'kill ${xvfb_pid:-0} 2>/dev/null; rm -rf "$work"' EXIT

out=$work/out.txt
start() { "$inst/$1" >"$out" 2>&1 & pid=$!; }
source "$(dirname "$0")/x11.sh"
start_display
# xdotool matches the Japanese titles only in a UTF-8 locale.
export LC_ALL=C.UTF-8

declare -A titles=(
  [tavix-camera-measure]="デジカメ画像表示／計測プログラム"
  [tavix]="デジカメ画像表示プログラム"
  [tavix-still]="画像表示プログラム"
  [tavix-still-measure]="画像表示／計測プログラム"
)
pixel() { convert "$1" -format "%[pixel:p{$2,$3}]" info:; }
red=$(convert xc:red -format '%[pixel:p{0,0}]' info:)

# A copy of the deployment with one program in $work/$1; sets inst.
install() { inst="$work/$1"; mkdir -p "$inst"; cp "$src"/deploy/ja/* "$inst"/; cp "$bin/$2" "$inst"/; }

for program in tavix-camera-measure tavix tavix-still tavix-still-measure; do
  install "$program" "$program"
  ini_before=$(md5sum < "$inst/Tavix.Ini")
  title=${titles[$program]}
  launch "$program" "$title"
  if [ -z "$wid" ]; then
    fail "$program" "no window titled $title"; cat "$out"; kill $pid 2>/dev/null; continue
  fi
  import -window "$wid" "$shots/$program.png" 2>/dev/null || fail "$program" "no screenshot"
  if [ "$program" = tavix ]; then
    # Live frames move; cmdPlayStop (top left) freezes one, which then stands still.
    differing() { compare -metric AE "$1" "$2" null: 2>&1 | cut -d' ' -f1; }
    sleep 0.6
    import -window "$wid" "$work/live2.png" 2>/dev/null
    [ "$(differing "$shots/$program.png" "$work/live2.png")" != 0 ] || fail "$program" "live picture does not move"
    xdotool mousemove --window "$wid" 34 34 click 1
    sleep 0.6
    import -window "$wid" "$shots/tavix-frozen.png" 2>/dev/null
    sleep 0.6
    import -window "$wid" "$work/frozen2.png" 2>/dev/null
    [ "$(differing "$shots/tavix-frozen.png" "$work/frozen2.png")" = 0 ] || fail "$program" "frozen still moves"
    [ "$(differing "$work/live2.png" "$shots/tavix-frozen.png")" != 0 ] || fail "$program" "nothing changed on freezing"
  fi
  "$xclose" "$wid"
  for _ in $(seq 100); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
  if kill -0 $pid 2>/dev/null; then fail "$program" "still running after the close box"; kill $pid; fi
  wait $pid; status=$?
  [ $status -eq 0 ] || fail "$program" "exit status $status"
  log=$(sed 's/\r$//' "$inst/Error.Log")
  echo "$log" | head -1 | grep -q "^[0-9/]\{10\} [0-9:]\{8\} ${title} Start\.$" || fail "$program" "no start line: $log"
  echo "$log" | tail -1 | grep -q "^[0-9/]\{10\} [0-9:]\{8\} ${title} End$" || fail "$program" "no end line: $log"
  for key in JPEGQTY DEFAULTSCALE MEASURELINECOLOR1 MEASURELINECOLOR2 MEASURELINECOLOR3 \
             MEASUREVALUECOLOR1 MEASUREVALUECOLOR2 CROSSLINENUM CROSSLINECOLOR SCALECOLOR SCALEX SCALEY \
             SCALETYPE SCALEPOSITION CURRENTPROOFNO NUMBEROFDECIMALS MEASUREFONTSIZE ANGLECOMMANDMODE \
             2POINTCOMMANDMODE; do
    grep -q "^${key}=-\?[0-9][0-9.]*"$'\r'"\?\$" "$inst/Tavix.Ini" || fail "$program" "key $key not decimal"
  done
  echo "ok $program: window $wid, screenshot $shots/$program.png"
done
# Opening a picture through the real file dialog with a typed path.
install open tavix-still
convert -size 200x150 xc:red \( -size 200x150 xc:lime \) +append \
  \( -size 200x150 xc:blue -size 200x150 xc:white +append \) -append "BMP3:$inst/quarters.bmp"
printf 'Sample 12\r\nStained\r\n' >"$inst/quarters.txt"
launch tavix-still "画像表示プログラム"
if [ -z "$wid" ]; then
  fail open "no window"
else
  xdotool mousemove --window "$wid" 34 34 click 1
  if answer_dialog "$inst/quarters.bmp" tavix-still "$shots/open-dialog.png"; then
    import -window "$wid" "$shots/tavix-still-open.png" 2>/dev/null
    # The picture stands centred in the view area below the 69-pixel strip.
    read -r w h < <(identify -format '%w %h' "$shots/tavix-still-open.png")
    cx=$((w / 2)) cy=$(((h - 69) / 2 + 69))
    for probe in "-100 -75 red" "100 -75 lime" "-100 75 blue" "100 75 white" "-215 0 black"; do
      set -- $probe
      got=$(convert "$shots/tavix-still-open.png" -format "%[pixel:p{$((cx + $1)),$((cy + $2))}]" info:)
      want=$(convert xc:"$3" -format '%[pixel:p{0,0}]' info:)
      [ "$got" = "$want" ] || fail open "at $1,$2 $got, not $3"
    done
  fi
fi
close_and_wait open
[ $failures -eq 0 ] && echo "ok open: picture shown through the file dialog"

# A measuring session with the real mouse: open, measure a distance and a circle, save the list.
install measure tavix-still-measure
convert -size 400x300 xc:gray40 "BMP3:$inst/plain.bmp"
launch tavix-still-measure "画像表示／計測プログラム"
click() { xdotool mousemove --window "$wid" "$1" "$2" click "${3:-1}"; sleep 0.25; }
if [ -z "$wid" ]; then
  fail measure "no window"
else
  click 34 34                      # open
  answer_dialog "$inst/plain.bmp" tavix-still-measure
  # The view area starts right of the 213-pixel panel and below the 69-pixel strip.
  read -r ww wh < <(xwininfo -id "$wid" | awk '/Width:/{w=$2} /Height:/{h=$2} END{print w, h}')
  cx=$(((ww - 213) / 2 + 213)) cy=$(((wh - 69) / 2 + 69))
  click 36 131                     # distance
  click $((cx - 100)) "$cy"
  xdotool mousemove --window "$wid" $((cx + 40)) $((cy + 60)); sleep 0.3
  import -window "$wid" "$shots/measure-rubber-line.png" 2>/dev/null
  click $((cx + 100)) "$cy"
  click 104 131                    # circle
  click $((cx - 50)) $((cy + 50))
  click $((cx + 50)) $((cy + 50))
  click "$cx" "$cy"
  import -window "$wid" "$shots/tavix-still-measure-results.png" 2>/dev/null
  click 36 403                     # save the results
  answer_dialog "$inst/results.txt" tavix-still-measure
  decimals=$(sed -n 's/^NUMBEROFDECIMALS=\([0-9]*\).*/\1/p' "$inst/Tavix.Ini")
  zeros=$(printf '%*s' "$decimals" '' | tr ' ' 0)
  unit=$(sed -n '1s/^"[^"]*",[^,]*,"\([^"]*\)".*/\1/p' "$inst/Proof.txt")
  distance=$(sed -n 's/^11132,//p' "$inst/StringTable.txt" | tr -d '\r')
  circle=$(sed -n 's/^11133,//p' "$inst/StringTable.txt" | tr -d '\r')
  expected() { printf '1,%s,200.%s,%s\r\n2,%s,100.%s,%s\r\n' "$distance" "$zeros" "$unit" "$circle" "$zeros" "$unit"; }
  if [ ! -f "$inst/results.txt" ]; then
    fail measure "no result file"
  elif [ "$(od -c <"$inst/results.txt")" != "$(expected | od -c)" ]; then
    fail measure "result file: $(cat -A "$inst/results.txt")"
  fi
fi
close_and_wait measure
[ $failures -eq 0 ] && echo "ok measure: distance and circle measured with the mouse and saved"

# A still larger than the view: dragged with the middle button, zoomed with Ctrl+wheel, and
# a measure ended with Escape, after which the open button works again.
install pan tavix-still-measure
convert -size 1500x1000 xc:red \( -size 1500x1000 xc:lime \) +append \
  \( -size 1500x1000 xc:blue -size 1500x1000 xc:white +append \) -append "BMP3:$inst/big.bmp"
launch tavix-still-measure "画像表示／計測プログラム"
if [ -z "$wid" ]; then
  fail pan "no window"
else
  click 34 34                      # open
  answer_dialog "$inst/big.bmp" tavix-still-measure
  read -r ww wh < <(xwininfo -id "$wid" | awk '/Width:/{w=$2} /Height:/{h=$2} END{print w, h}')
  cx=$(((ww - 213) / 2 + 213)) cy=$(((wh - 69) / 2 + 69))
  xdotool mousemove --window "$wid" "$cx" "$cy" mousedown 2 mousemove --window "$wid" $((cx + 300)) $((cy + 300)) \
    mouseup 2; sleep 0.5
  import -window "$wid" "$shots/pan-dragged.png" 2>/dev/null
  [ "$(pixel "$shots/pan-dragged.png" $((cx + 150)) $((cy + 150)))" = "$red" ] ||
    fail pan "the drag did not bring the top left quarter under the pointer"
  xdotool mousemove --window "$wid" "$cx" "$cy" keydown ctrl click 4 keyup ctrl; sleep 0.5
  click 36 131                     # distance
  click "$cx" "$cy"
  xdotool key Escape Escape; sleep 0.3
  click 34 34                      # open: works again once the command has ended
  if [ -n "$(dialog_of tavix-still-measure)" ]; then xdotool key Escape; sleep 0.5; else fail pan "Escape did not end the measure"; fi
fi
close_and_wait pan
grep -q "^DEFAULTSCALE=6"$'\r'"\?\$" "$inst/Tavix.Ini" || fail pan "Ctrl+wheel did not step to x 1.1: $(grep DEFAULTSCALE "$inst/Tavix.Ini")"
[ $failures -eq 0 ] && echo "ok pan: dragged, zoomed with Ctrl+wheel, a measure ended with Escape"

# Movies with the real buttons: save as AVI arms, the play button records 3 s and stops. A
# second recording is cut off by kill -9: the next start repairs it and says so once.
install record tavix
launch tavix "デジカメ画像表示プログラム"
movie_seconds() { # file least most: the movie plays for that long, and ffmpeg decodes it without a word
  read -r container width height seconds < <("$avicheck" "$1")
  [ "$container $width $height" = "video/x-msvideo 640 480" ] || fail record "$1: $container $width $height"
  awk -v s="${seconds:-0}" -v a="$2" -v b="$3" 'BEGIN { exit !(s >= a && s <= b) }' || fail record "$1: ${seconds:-?} s"
  said=$(ffmpeg -nostdin -v error -i "$1" -f null - 2>&1) && [ -z "$said" ] || fail record "$1: ffmpeg says: $said"
}
record_3s() {
  click 154 34                     # save
  answer_dialog "$inst/$1" tavix
  import -window "$wid" "$shots/tavix-armed.png" 2>/dev/null
  click 34 34                      # record
  sleep 3
  import -window "$wid" "$shots/tavix-recording.png" 2>/dev/null
}
if [ -z "$wid" ]; then
  fail record "no window"
else
  record_3s movie.avi
  click 34 34                      # stop
  sleep 1
  movie_seconds "$inst/movie.avi" 2.5 4.5
  [ "$(grep -c . "$inst/Error.Log")" = 1 ] || fail record "log: $(cat "$inst/Error.Log")"
  record_3s crash.avi
  kill -9 $pid; wait $pid 2>/dev/null
  launch_until tavix wait_box tavix
  if [ -z "$wid" ]; then fail record "no box at the start after kill -9"; else
    sleep 0.3
    import -window "$wid" "$shots/repaired-movie-box.png" 2>/dev/null
    xdotool key --window "$wid" Return
  fi
  wait_window "デジカメ画像表示プログラム"
  movie_seconds "$inst/crash.avi" 2.0 4.5  # at most the last second lost
  grep -q "Unfinished Movie Repaired" "$inst/Error.Log" || fail record "log: $(cat "$inst/Error.Log")"
  [ -e "$inst/Tavix.recording" ] && fail record "the note of the recording is still there"
fi
close_and_wait record
[ $failures -eq 0 ] && echo "ok record: 3 s recorded with the real buttons; a movie cut off by kill -9 repaired"

# Scale bar, cross lines and a setting with the real mouse and keys in tavix-camera-measure.
install overlay tavix-camera-measure
launch tavix-camera-measure "デジカメ画像表示／計測プログラム"
if [ -z "$wid" ]; then
  fail overlay "no window"
else
  decimals_before=$(sed -n 's/^NUMBEROFDECIMALS=\([0-9]*\).*/\1/p' "$inst/Tavix.Ini")
  click 106 257                    # scale: the dialog, OK as it stands
  d=$(dialog_of tavix-camera-measure)
  if [ -z "$d" ]; then fail overlay "no scale dialog"; else
    import -window "$d" "$shots/scale-dialog.png" 2>/dev/null
    xdotool key Return; sleep 0.6
    import -window "$wid" "$shots/scale-live.png" 2>/dev/null
    reds=$(convert "$shots/scale-live.png" -fuzz 10% -fill black +opaque red -fill white -opaque red \
      -format '%[fx:round(mean*w*h)]' info:)
    [ "${reds:-0}" -gt 40 ] || fail overlay "no scale bar on the live picture ($reds red pixels)"
  fi
  click 174 257                    # cross lines: point on the frozen frame
  click 400 300
  sleep 0.6
  import -window "$wid" "$shots/cross-lines.png" 2>/dev/null
  for probe in "400 100" "400 560" "260 300" "900 300"; do
    set -- $probe
    [ "$(pixel "$shots/cross-lines.png" "$1" "$2")" = "$red" ] || fail overlay "no cross line at $1,$2"
  done
  click 174 89                     # settings: one more decimal through the keyboard
  d=$(dialog_of tavix-camera-measure)
  if [ -z "$d" ]; then fail overlay "no settings dialog"; else
    import -window "$d" "$shots/measure-config.png" 2>/dev/null
    xdotool key Tab Down Return; sleep 0.5
  fi
fi
close_and_wait overlay
decimals=$(sed -n 's/^NUMBEROFDECIMALS=\([0-9]*\).*/\1/p' "$inst/Tavix.Ini")
[ "$decimals" = $((decimals_before + 1)) ] || fail overlay "decimals $decimals_before became $decimals"
[ $failures -eq 0 ] && echo "ok overlay: scale bar live, cross lines placed, a setting changed and kept"

# A broken deployment file: the critical box, then the end, with the settings untouched.
install broken tavix-still
printf 'abc,text\r\n' >"$inst/StringTable.txt"
ini_before=$(md5sum < "$inst/Tavix.Ini")
launch_until tavix-still wait_box tavix-still
box=$wid
if [ -z "$box" ]; then
  fail broken "no message box"
else
  sleep 0.3
  import -window "$box" "$shots/broken-string-table.png" 2>/dev/null
  xdotool key --window "$box" Return 2>/dev/null
fi
for _ in $(seq 50); do kill -0 $pid 2>/dev/null || break; sleep 0.1; done
if kill -0 $pid 2>/dev/null; then fail broken "still running after the box"; kill $pid; fi
wait $pid; status=$?
[ $status -eq 1 ] || fail broken "exit status $status, not 1"
log=$(sed 's/\r$//' "$inst/Error.Log" | cut -c21-)
[ "$log" = "画像表示プログラム Start.
ReadStringTableData Error.(13)
StringTable File Read Error." ] || fail broken "log: $log"
[ "$(md5sum < "$inst/Tavix.Ini")" = "$ini_before" ] || fail broken "settings file changed"
[ $failures -eq 0 ] && echo "ok broken string table: box, end, settings untouched"

# A full disk: the installation on a small RAM disk filled to the last byte. Saving over a
# picture is refused with a box and the old picture stays; the settings written at exit find
# no room and the file stays whole, so the next start works.
mkdir -p "$work/full"
if [ -n "${TAVIX_WINDOW_NS:-}" ] && mount -t tmpfs -o size=64m tmpfs "$work/full" 2>/dev/null; then
  inst="$work/full"; cp "$src"/deploy/ja/* "$inst"/; cp "$bin/tavix-still" "$inst"/
  # Read as 85 and written back as "85" at exit: a change that needs room.
  sed -i 's/^JPEGQTY=.*/JPEGQTY=085\r/' "$inst/Tavix.Ini"
  convert -size 200x150 xc:orange "BMP3:$work/orange.bmp"
  printf 'old picture' >"$inst/p.bmp"
  ini_before=$(md5sum <"$inst/Tavix.Ini")
  launch tavix-still "画像表示プログラム"
  if [ -z "$wid" ]; then
    fail full "no window: $(cat "$out")"
  else
    click 34 34                    # open
    answer_dialog "$work/orange.bmp" tavix-still
    cat /dev/zero >"$inst/filler" 2>/dev/null
    click 94 34                    # save over the old picture
    answer_dialog "$inst/p.bmp" tavix-still
    xdotool key alt+y; sleep 0.7     # yes, replace it
    box=$(dialog_of tavix-still)
    if [ -z "$box" ]; then fail full "no box for the failed save"; else
      import -window "$box" "$shots/full-disk-box.png" 2>/dev/null
      xdotool key --window "$box" Return; sleep 0.5
    fi
  fi
  close_and_wait full
  [ "$(cat "$inst/p.bmp")" = "old picture" ] || fail full "the old picture was replaced"
  [ "$(md5sum <"$inst/Tavix.Ini")" = "$ini_before" ] || fail full "the settings file changed: $(wc -c <"$inst/Tavix.Ini") bytes"
  stray=$(find "$inst" -name '.*.tavix-*')
  [ -z "$stray" ] || fail full "temporary files left: $stray"
  rm -f "$inst/filler"
  launch tavix-still "画像表示プログラム"
  [ -n "$wid" ] || fail full "no window at the next start: $(cat "$out")"
  close_and_wait full
  grep -q "JPEGQTY=85" "$inst/Tavix.Ini" || fail full "settings not written once there was room"
  umount "$work/full"
  [ $failures -eq 0 ] && echo "ok full disk: the save refused with a box, old files whole, next start fine"
else
  echo "skip full disk: no RAM disk can be mounted here (needs a mount namespace of its own)"
fi

echo "$failures failure(s)"
[ $failures -eq 0 ]
