#!/usr/bin/env bash
# The Debian package: made by CPack, its files and dependencies checked, then unpacked under a
# scratch prefix and run from there by an ordinary user with a scratch HOME in a real X window.
# usage: installed_test.sh BUILD_DIR XCLOSE SHOT_DIR   (KEEP=1 keeps the scratch folder)
set -uo pipefail
build=$1 xclose=$2 shots=$3
mkdir -p "$shots"
work=$(mktemp -d)
trap 'kill ${xvfb_pid:-0} 2>/dev/null; [ -n "${KEEP:-}" ] || rm -rf "$work"' EXIT
chmod 755 "$work"
out=$work/out.txt
source "$(dirname "$0")/x11.sh"

cpack --config "$build/CPackConfig.cmake" -B "$work/pkg" >"$work/cpack.log" 2>&1 || { cat "$work/cpack.log"; exit 1; }
deb=$(ls "$work"/pkg/tavix_*.deb)
lintian --fail-on error "$deb" >"$work/lintian.txt" 2>&1 || fail package "lintian: $(grep -v '^[WIN]:' "$work/lintian.txt")"

want=$(printf '%s\n' ./usr/bin/tavix{,-camera-measure,-still,-still-measure} \
  ./usr/share/applications/tavix{,-camera-measure,-still,-still-measure}.desktop \
  ./usr/share/man/man1/tavix{,-camera-measure,-still,-still-measure}.1.gz \
  ./usr/share/doc/tavix/{changelog.gz,copyright} ./usr/share/icons/hicolor/scalable/apps/tavix.svg \
  ./usr/share/tavix/{en,ja}/{Guidance.txt,Proof.txt,StringTable.txt,Tavix.Ini} | sort)
files=$(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $6}' | sort)
[ "$files" = "$want" ] || fail package "files: $(echo $files)"

prefix="$work/root"
dpkg-deb -x "$deb" "$prefix"
stamp=$(find "$prefix" -printf '%p %s %T@\n' | sort | md5sum)

start_display

# Root (as in CI) runs the programs as nobody, who cannot write the root-owned prefix.
home="$work/home"
mkdir -p "$home"
as_user=()
if [ "$(id -u)" -eq 0 ]; then
  chown nobody "$home"
  as_user=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
fi
# A bare session: an English locale, no XDG_CONFIG_HOME.
start() {
  "${as_user[@]}" env -i HOME="$home" DISPLAY="$DISPLAY" LC_ALL=C.UTF-8 PATH=/usr/bin:/bin \
    "$prefix/usr/bin/$1" >"$out" 2>&1 &
  pid=$!
}
# The shared libraries the running program has mapped.
loaded() { awk '$6 ~ /\.so/ {print $6}' "/proc/$pid/maps" | sort -u >>"$work/loaded.txt"; }
# A TIFF, so the image format plugins are loaded as a user's pictures would load them.
convert -size 320x240 xc:orange "$home/picture.tif"
chown -R --reference="$home" "$home"
launch tavix-still-measure Tavix
if [ -z "$wid" ]; then fail still "no window"; else
  xdotool mousemove --window "$wid" 34 34 click 1 # open
  answer_dialog "$home/picture.tif" tavix-still-measure
  xdotool mousemove --window "$wid" 94 34 click 1 # save
  answer_dialog "$home/saved.jpg" tavix-still-measure
  import -window "$wid" "$shots/installed-still-measure.png" 2>/dev/null
  loaded
  [ "$(identify -format '%m' "$home/saved.jpg" 2>&1)" = JPEG ] ||
    fail still "saved picture: $(identify "$home/saved.jpg" 2>&1)"
fi
close_and_wait still
config="$home/.config/tavix"
[ "$(ls "$config" 2>&1 | tr '\n' ' ')" = "Error.Log Guidance.txt Proof.txt StringTable.txt Tavix.Ini TempBitmap.bmp " ] ||
  fail still "user folder: $(ls -A "$config" 2>&1 | tr '\n' ' ')"
cmp -s "$config/StringTable.txt" "$prefix/usr/share/tavix/en/StringTable.txt" || fail still "not the English deployment"
# The start line comes before the settings, so it carries the program's own title.
[ "$(sed 's/\r$//' "$config/Error.Log" | cut -c21-)" = "画像表示／計測プログラム Start.
Tavix End" ] || fail still "log: $(cat "$config/Error.Log")"
[ "$(find "$config" -newer "$config/StringTable.txt" -name Tavix.Ini)" ] || fail still "settings not written back"

# The camera variant on the test camera loads the GStreamer plugins.
launch tavix Tavix
if [ -z "$wid" ]; then fail camera "no window"; else sleep 1; loaded; fi
close_and_wait camera
[ -f "$config/Tavix.grf" ] || fail camera "no graph file in the user folder"
[ "$(find "$prefix" -printf '%p %s %T@\n' | sort | md5sum)" = "$stamp" ] || fail prefix "written under the prefix"

# Every library linked or loaded comes from a declared dependency or from what that depends on;
# every declared dependency provides something linked or loaded.
for program in "$prefix"/usr/bin/*; do
  objdump -p "$program" | awk '$1 == "NEEDED" {print $2}' | while read -r lib; do
    ldconfig -p | awk -v l="$lib" '$1 == l && /x86-64|64bit/ {print $NF; exit}'
  done
done >>"$work/loaded.txt"
# One dpkg call for all: each library by its real path, and by the path dpkg may know it by
# from before the /usr merge.
sort -u "$work/loaded.txt" | grep -v "^$prefix" | xargs -r readlink -f | sort -u >"$work/real.txt"
dpkg -S $(cat "$work/real.txt") $(sed 's|^/usr||' "$work/real.txt") >"$work/owners.txt" 2>/dev/null
used=$(while read -r lib; do
  o=$(awk -v a="$lib" -v b="${lib#/usr}" '$NF == a || $NF == b {sub(/:.*/, "", $1); print $1; exit}' "$work/owners.txt")
  echo "${o:-unowned:$lib}"
done <"$work/real.txt" | sort -u)
# The package names in a Depends field.
names() { tr ',|' '\n\n' | sed 's/(.*)//; s/ //g; s/:any$//' | grep . | sort -u; }
declared=$(dpkg-deb -f "$deb" Depends | names)
closure=$declared frontier=$declared
while [ -n "$frontier" ]; do
  frontier=$(dpkg-query -W -f='${Depends},${Pre-Depends}\n' $frontier 2>/dev/null | names |
    comm -23 - <(echo "$closure"))
  closure=$(printf '%s\n%s\n' "$closure" "$frontier" | grep . | sort -u)
done
missing=$(comm -23 <(echo "$used") <(echo "$closure") | tr '\n' ' ')
[ -z "$missing" ] || fail package "used but not depended on: $missing"
needless=$(comm -13 <(echo "$used") <(echo "$declared") | tr '\n' ' ')
[ -z "$needless" ] || fail package "depended on but not used: $needless"
echo "package depends: $(echo $declared)"

echo "$failures failure(s)"
[ $failures -eq 0 ]
