#!/usr/bin/env bash
# Starts each program from a copied installation in a real X window, takes a screenshot,
# closes it through the close box, and checks the log and the settings written back.
# usage: window_test.sh BIN_DIR SOURCE_DIR XCLOSE SHOT_DIR
set -uo pipefail
# Its own mount namespace, where it may be, so a small RAM disk can be filled without root's
# mounts being touched.
if [ -z "${TAVIX_WINDOW_NS:-}" ] && unshare -m --propagation private true 2>/dev/null; then
  TAVIX_WINDOW_NS=1 exec unshare -m --propagation private "$0" "$@"
fi
bin=$1 src=$2 xclose=$3 shots=$4
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

declare -A titles=([tavix-camera-measure]="デジカメ画像表示／計測プログラム" [tavix]="デジカメ画像表示プログラム"
  [tavix-still]="画像表示プログラム" [tavix-still-measure]="画像表示／計測プログラム")
# A copy of the deployment with program $2 in $work/$1 (or in $3) for the case named $1.
install() { name=$1 app=$2 inst=${3:-$work/$1}; mkdir -p "$inst"; cp "$src"/deploy/ja/* "$bin/$2" "$inst"/; }
# Starts the program and waits for its main window; false, as a failure, when none came.
up() { launch "$app" "${titles[$app]}"; [ -n "$wid" ] || { fail "$name" "no window titled ${titles[$app]}"; false; }; }
ok() { [ $failures -eq 0 ] && echo "ok $name: $1"; }
# A screenshot of the main window (or of window $2) as $shots/$1.png.
shot() { import -window "${2:-$wid}" "$shots/$1.png" 2>/dev/null; }
# Left clicks at each x y pair in the main window.
click() { while [ $# -ge 2 ]; do xdotool mousemove --window "$wid" "$1" "$2" click 1; sleep 0.25; shift 2; done; }
# Prints the colour at $2,$3 of screenshot $1 when it is not colour $4.
colour() {
  local got
  got=$(convert "$1" -format "%[pixel:p{$2,$3}]" info:)
  [ "$got" = "$(convert xc:"$4" -format '%[pixel:p{0,0}]' info:)" ] || { echo "$got"; false; }
}
# The centre of the view area, right of a panel $1 pixels wide and below the 69-pixel strip.
centre() {
  read -r ww wh < <(xwininfo -id "$wid" | awk '/Width:/{w=$2} /Height:/{h=$2} END{print w, h}')
  cx=$(((ww - $1) / 2 + $1)) cy=$(((wh - 69) / 2 + 69))
}
# The open button (top left), then the path $1 typed into the dialog, of which $2 is a screenshot.
open_picture() { click 34 34; answer_dialog "$1" "$app" "${2:-}"; }
setting() { sed -n "s/^$1=\([0-9]*\)\r\?$/\1/p" "$inst/Tavix.Ini"; }
# The dialog just opened: its screenshot $shots/$2.png, then keys $3...; false, as a failure,
# when none came.
answer() {
  local d
  d=$(dialog_of "$app")
  [ -n "$d" ] || { fail "$name" "no $1"; return 1; }
  shot "$2" "$d"; shift 2; xdotool key "$@"; sleep 0.6
}
# Starts the program for a box before its main window: its screenshot $shots/$1.png, then Return.
box() {
  launch_until "$app" wait_box "$app"
  [ -n "$wid" ] || { fail "$name" "no box $2"; return 1; }
  sleep 0.3; shot "$1"; xdotool key --window "$wid" Return 2>/dev/null
}

for program in tavix-camera-measure tavix tavix-still tavix-still-measure; do
  install "$program" "$program"
  if up; then
    shot "$program" || fail "$program" "no screenshot"
    if [ "$program" = tavix ]; then
      # Live frames move; cmdPlayStop (top left) freezes one, which then stands still.
      differing() { compare -metric AE "$1" "$2" null: 2>&1 | cut -d' ' -f1; }
      sleep 0.6; import -window "$wid" "$work/live2.png" 2>/dev/null
      [ "$(differing "$shots/$program.png" "$work/live2.png")" != 0 ] || fail "$program" "live picture does not move"
      click 34 34; sleep 0.35; shot tavix-frozen
      sleep 0.6; import -window "$wid" "$work/frozen2.png" 2>/dev/null
      [ "$(differing "$shots/tavix-frozen.png" "$work/frozen2.png")" = 0 ] || fail "$program" "frozen still moves"
      [ "$(differing "$work/live2.png" "$shots/tavix-frozen.png")" != 0 ] || fail "$program" "nothing changed on freezing"
    fi
  fi
  close_and_wait "$program"
  log=$(sed 's/\r$//' "$inst/Error.Log") title=${titles[$program]}
  echo "$log" | head -1 | grep -q "^[0-9/]\{10\} [0-9:]\{8\} ${title} Start\.$" || fail "$program" "no start line: $log"
  echo "$log" | tail -1 | grep -q "^[0-9/]\{10\} [0-9:]\{8\} ${title} End$" || fail "$program" "no end line: $log"
  for key in JPEGQTY DEFAULTSCALE MEASURELINECOLOR{1,2,3} MEASUREVALUECOLOR{1,2} CROSSLINENUM CROSSLINECOLOR \
    SCALE{COLOR,X,Y,TYPE,POSITION} CURRENTPROOFNO NUMBEROFDECIMALS MEASUREFONTSIZE {ANGLE,2POINT}COMMANDMODE; do
    grep -q "^${key}=-\?[0-9][0-9.]*"$'\r'"\?\$" "$inst/Tavix.Ini" || fail "$program" "key $key not decimal"
  done
  echo "ok $program: window $wid, screenshot $shots/$program.png"
done

# Opening a picture through the real file dialog with a typed path.
install open tavix-still
convert -size 200x150 xc:red \( -size 200x150 xc:lime \) +append \
  \( -size 200x150 xc:blue -size 200x150 xc:white +append \) -append "BMP3:$inst/quarters.bmp"
printf 'Sample 12\r\nStained\r\n' >"$inst/quarters.txt"
if up; then
  if open_picture "$inst/quarters.bmp" "$shots/open-dialog.png"; then
    shot tavix-still-open
    centre 0 # the picture stands centred in the view area
    for probe in "-100 -75 red" "100 -75 lime" "-100 75 blue" "100 75 white" "-215 0 black"; do
      set -- $probe
      got=$(colour "$shots/tavix-still-open.png" $((cx + $1)) $((cy + $2)) "$3") || fail open "at $1,$2 $got, not $3"
    done
  fi
fi
close_and_wait open
ok "picture shown through the file dialog"

# A measuring session with the real mouse: open, measure a distance and a circle, save the list.
install measure tavix-still-measure
convert -size 400x300 xc:gray40 "BMP3:$inst/plain.bmp"
if up; then
  open_picture "$inst/plain.bmp"
  centre 213
  click 36 131 $((cx - 100)) "$cy" # distance, from its first point
  xdotool mousemove --window "$wid" $((cx + 40)) $((cy + 60)); sleep 0.3
  shot measure-rubber-line
  click $((cx + 100)) "$cy"
  click 104 131 $((cx - 50)) $((cy + 50)) $((cx + 50)) $((cy + 50)) "$cx" "$cy" # circle through three points
  shot tavix-still-measure-results
  click 36 403 # save the results
  answer_dialog "$inst/results.txt" tavix-still-measure
  zeros=$(printf '%*s' "$(setting NUMBEROFDECIMALS)" '' | tr ' ' 0)
  unit=$(sed -n '1s/^"[^"]*",[^,]*,"\([^"]*\)".*/\1/p' "$inst/Proof.txt")
  text() { sed -n "s/^$1,//p" "$inst/StringTable.txt" | tr -d '\r'; }
  cmp -s "$inst/results.txt" <(printf '1,%s,200.%s,%s\r\n2,%s,100.%s,%s\r\n' "$(text 11132)" "$zeros" "$unit" \
    "$(text 11133)" "$zeros" "$unit") || fail measure "result file: $(cat -A "$inst/results.txt" 2>&1)"
fi
close_and_wait measure
ok "distance and circle measured with the mouse and saved"

# A still larger than the view: dragged with the middle button, zoomed with Ctrl+wheel, and
# a measure ended with Escape, after which the open button works again.
install pan tavix-still-measure
convert -size 1500x1000 xc:red \( -size 1500x1000 xc:lime \) +append \
  \( -size 1500x1000 xc:blue -size 1500x1000 xc:white +append \) -append "BMP3:$inst/big.bmp"
if up; then
  open_picture "$inst/big.bmp"
  centre 213
  xdotool mousemove --window "$wid" "$cx" "$cy" mousedown 2 mousemove --window "$wid" $((cx + 300)) $((cy + 300)) \
    mouseup 2; sleep 0.5
  shot pan-dragged
  colour "$shots/pan-dragged.png" $((cx + 150)) $((cy + 150)) red >/dev/null ||
    fail pan "the drag did not bring the top left quarter under the pointer"
  xdotool mousemove --window "$wid" "$cx" "$cy" keydown ctrl click 4 keyup ctrl; sleep 0.5
  click 36 131 "$cx" "$cy" # distance, from its first point
  xdotool key Escape Escape; sleep 0.3
  click 34 34 # open: works again once the command has ended
  if [ -n "$(dialog_of tavix-still-measure)" ]; then xdotool key Escape; sleep 0.5; else fail pan "Escape did not end the measure"; fi
fi
close_and_wait pan
[ "$(setting DEFAULTSCALE)" = 6 ] || fail pan "Ctrl+wheel did not step to x 1.1: $(grep DEFAULTSCALE "$inst/Tavix.Ini")"
ok "dragged, zoomed with Ctrl+wheel, a measure ended with Escape"

# Movies with the real buttons: save as AVI arms, the play button records 3 s and stops. A
# second recording is cut off by kill -9: the next start repairs it and says so once.
install record tavix
movie_seconds() { # file least most: the movie plays for that long, and ffmpeg decodes it without a word
  read -r width height container seconds < <(ffprobe -v error -select_streams v:0 -of default=nw=1:nk=1 \
    -show_entries stream=width,height:format=format_name,duration "$1" | tr '\n' ' ')
  [ "$container $width $height" = "avi 640 480" ] || fail record "$1: $container $width $height"
  awk -v s="${seconds:-0}" -v a="$2" -v b="$3" 'BEGIN { exit !(s >= a && s <= b) }' || fail record "$1: ${seconds:-?} s"
  said=$(ffmpeg -nostdin -v error -i "$1" -f null - 2>&1) && [ -z "$said" ] || fail record "$1: ffmpeg says: $said"
}
record_3s() {
  click 154 34 # save
  answer_dialog "$inst/$1" tavix
  shot tavix-armed
  click 34 34; sleep 3 # record
  shot tavix-recording
}
if up; then
  record_3s movie.avi
  click 34 34; sleep 1 # stop
  movie_seconds "$inst/movie.avi" 2.5 4.5
  [ "$(grep -c . "$inst/Error.Log")" = 1 ] || fail record "log: $(cat "$inst/Error.Log")"
  record_3s crash.avi
  kill -9 $pid; wait $pid 2>/dev/null
  box repaired-movie-box "at the start after kill -9"
  wait_window "${titles[tavix]}"
  movie_seconds "$inst/crash.avi" 2.0 4.5 # at most the last second lost
  grep -q "Unfinished Movie Repaired" "$inst/Error.Log" || fail record "log: $(cat "$inst/Error.Log")"
  [ -e "$inst/Tavix.recording" ] && fail record "the note of the recording is still there"
fi
close_and_wait record
ok "3 s recorded with the real buttons; a movie cut off by kill -9 repaired"

# Scale bar, cross lines and a setting with the real mouse and keys in tavix-camera-measure.
install overlay tavix-camera-measure
decimals=$(setting NUMBEROFDECIMALS)
if up; then
  click 106 257 # scale: the dialog, OK as it stands
  if answer "scale dialog" scale-dialog Return; then
    shot scale-live
    reds=$(convert "$shots/scale-live.png" -fuzz 10% -fill black +opaque red -fill white -opaque red \
      -format '%[fx:round(mean*w*h)]' info:)
    [ "${reds:-0}" -gt 40 ] || fail overlay "no scale bar on the live picture ($reds red pixels)"
  fi
  click 174 257 400 300; sleep 0.6 # cross lines: point on the frozen frame
  shot cross-lines
  for probe in "400 100" "400 560" "260 300" "900 300"; do
    colour "$shots/cross-lines.png" $probe red >/dev/null || fail overlay "no cross line at $probe"
  done
  click 174 89 # settings: one more decimal through the keyboard
  answer "settings dialog" measure-config Tab Down Return
fi
close_and_wait overlay
[ "$(setting NUMBEROFDECIMALS)" = $((decimals + 1)) ] ||
  fail overlay "decimals $decimals became $(setting NUMBEROFDECIMALS)"
ok "scale bar live, cross lines placed, a setting changed and kept"

# A broken deployment file: the critical box, then the end, with the settings untouched.
install broken tavix-still
printf 'abc,text\r\n' >"$inst/StringTable.txt"
ini_before=$(md5sum <"$inst/Tavix.Ini")
box broken-string-table "for the string table"
wid="" && close_and_wait broken 1
[ "$(sed 's/\r$//' "$inst/Error.Log" | cut -c21-)" = "画像表示プログラム Start.
ReadStringTableData Error.(13)
StringTable File Read Error." ] || fail broken "log: $(cat "$inst/Error.Log")"
[ "$(md5sum <"$inst/Tavix.Ini")" = "$ini_before" ] || fail broken "settings file changed"
ok "box, end, settings untouched"

# A full disk: the installation on a small RAM disk filled to the last byte. Saving over a
# picture is refused with a box and the old picture stays; the settings written at exit find
# no room and the file stays whole, so the next start works.
mkdir -p "$work/full"
if [ -n "${TAVIX_WINDOW_NS:-}" ] && mount -t tmpfs -o size=64m tmpfs "$work/full" 2>/dev/null; then
  install full tavix-still "$work/full"
  # Read as 85 and written back as "85" at exit: a change that needs room.
  sed -i 's/^JPEGQTY=.*/JPEGQTY=085\r/' "$inst/Tavix.Ini"
  convert -size 200x150 xc:orange "BMP3:$work/orange.bmp"
  printf 'old picture' >"$inst/p.bmp"
  ini_before=$(md5sum <"$inst/Tavix.Ini")
  if up; then
    open_picture "$work/orange.bmp"
    cat /dev/zero >"$inst/filler" 2>/dev/null
    click 94 34 # save over the old picture
    answer_dialog "$inst/p.bmp" tavix-still
    xdotool key alt+y; sleep 0.7 # yes, replace it
    answer "box for the failed save" full-disk-box Return
  fi
  close_and_wait full
  [ "$(cat "$inst/p.bmp")" = "old picture" ] || fail full "the old picture was replaced"
  [ "$(md5sum <"$inst/Tavix.Ini")" = "$ini_before" ] || fail full "the settings file changed: $(wc -c <"$inst/Tavix.Ini") bytes"
  stray=$(find "$inst" -name '.*.tavix-*')
  [ -z "$stray" ] || fail full "temporary files left: $stray"
  rm -f "$inst/filler"
  up # the next start
  close_and_wait full
  [ "$(setting JPEGQTY)" = 85 ] || fail full "settings not written once there was room"
  umount "$work/full"
  ok "the save refused with a box, old files whole, next start fine"
else
  echo "skip full disk: no RAM disk can be mounted here (needs a mount namespace of its own)"
fi

echo "$failures failure(s)"
[ $failures -eq 0 ]
