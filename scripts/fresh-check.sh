#!/usr/bin/env bash
# Tries the README's two commands as a new user would, on a fresh Debian 12: makes a minimal
# root with debootstrap, copies a clean clone of this repository's HEAD into it, runs
# scripts/run.sh until the program's window shows (timed from the clone, screenshot taken),
# ends the program, then runs scripts/test.sh there. Needs root and the Debian mirror; slow
# (everything is downloaded and built on the spot), so it is run by hand, not in CI.
#
#   scripts/fresh-check.sh [work folder]     (default /var/tmp/tavix-fresh)
#
# The work folder keeps the logs, the screenshot and the downloaded packages (reused by the
# next run; the root itself is made anew each time).
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$PWD
work=$(realpath -m "${1:-/var/tmp/tavix-fresh}")
root=$work/root
window_limit=${FRESH_WINDOW_LIMIT:-3600}

[ "$(id -u)" -eq 0 ] || { echo "fresh-check: needs root" >&2; exit 1; }

# A mount namespace of our own: whatever is mounted below goes away with this script.
if [ -z "${TAVIX_FRESH_NS:-}" ]; then
  exec unshare --mount --propagation private env TAVIX_FRESH_NS=1 "$0" "$work"
fi

command -v debootstrap >/dev/null || { apt-get update -q && apt-get install -y -q debootstrap; }
if ! git -C "$repo" diff --quiet HEAD; then
  echo "fresh-check: uncommitted changes are not part of the check (it clones HEAD)"
fi

# The same mirror this machine uses.
sources=(/etc/apt/sources.list /etc/apt/sources.list.d/*)
mirror=$(grep -hsoE '^(URIs:|deb)\s+https?://[^ ]+/debian/?$' "${sources[@]}" | awk '{print $2; exit}' || true)
mirror=${mirror:-http://deb.debian.org/debian}
security=$(grep -hsoE '^(URIs:|deb)\s+https?://[^ ]+/debian-security/?$' "${sources[@]}" | awk '{print $2; exit}' || true)

log() { echo "fresh-check: $*" | tee -a "$work/fresh-check.log"; }

cleanup() {
  [ -n "${run_pid:-}" ] && kill -- -"$run_pid" 2>/dev/null || true
  for m in tmp dev/shm dev/pts dev sys proc var/cache/apt/archives; do
    mountpoint -q "$root/$m" 2>/dev/null && umount -l "$root/$m" || true
  done
}
trap cleanup EXIT
trap 'echo "fresh-check: stopped at line $LINENO" >&2' ERR

mkdir -p "$work/debs"
rm -rf "$root"
: >"$work/fresh-check.log"
log "mirror $mirror, root $root"

started=$(date +%s)
debootstrap --variant=minbase --cache-dir="$work/debs" bookworm "$root" "$mirror" >"$work/debootstrap.log" 2>&1 ||
  { log "debootstrap failed, see $work/debootstrap.log"; exit 1; }
log "debootstrap took $(($(date +%s) - started)) s"

{
  echo "deb $mirror bookworm main"
  echo "deb $mirror bookworm-updates main"
  if [ -n "$security" ]; then echo "deb $security bookworm-security main"; fi
} >"$root/etc/apt/sources.list"
cp /etc/resolv.conf "$root/etc/resolv.conf"
mount -t proc proc "$root/proc"
mount -t sysfs sys "$root/sys"
mount --bind /dev "$root/dev"
mount -t devpts devpts "$root/dev/pts" -o newinstance,ptmxmode=0666
mount -t tmpfs tmpfs "$root/dev/shm"
mount -t tmpfs tmpfs "$root/tmp"
mount --bind "$work/debs" "$root/var/cache/apt/archives"

in_root() {
  chroot "$root" /usr/bin/env -i HOME=/root LANG=C.UTF-8 TERM=dumb \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin "$@"
}

# The clock starts with the clone, as for someone who has just cloned the repository.
clone_at=$(date +%s)
git clone -q --no-hardlinks "$repo" "$root/root/tavix"
git -C "$root/root/tavix" checkout -q --detach "$(git -C "$repo" rev-parse HEAD)"
log "cloned $(git -C "$root/root/tavix" log -1 --format='%h %s')"

# scripts/run.sh: wait for its virtual display and for the program's window on it.
setsid chroot "$root" /usr/bin/env -i HOME=/root LANG=C.UTF-8 TERM=dumb \
  PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
  bash -c 'cd /root/tavix && scripts/run.sh' >"$work/run.log" 2>&1 &
run_pid=$!
display=
window=
while kill -0 "$run_pid" 2>/dev/null && [ $(($(date +%s) - clone_at)) -lt "$window_limit" ]; do
  sleep 1
  [ -n "$display" ] || display=$(grep -oE 'virtual display :[0-9]+' "$work/run.log" | grep -oE ':[0-9]+' || true)
  [ -n "$display" ] || continue
  window=$(in_root env DISPLAY="$display" xdotool search --onlyvisible --name '.+' 2>/dev/null | head -1 || true)
  [ -n "$window" ] && break
done
if [ -z "$window" ]; then
  log "scripts/run.sh: no window within $(($(date +%s) - clone_at)) s; see $work/run.log"
  tail -20 "$work/run.log"
  exit 1
fi
log "scripts/run.sh: window '$(in_root env DISPLAY="$display" xdotool getwindowname "$window")' $(($(date +%s) - clone_at)) s after the clone"
sleep 3  # the live picture's first frames
in_root env DISPLAY="$display" import -window root /tmp/fresh-window.png
cp "$root/tmp/fresh-window.png" "$work/fresh-window.png"
log "screenshot $work/fresh-window.png"
program_pid=$(in_root env DISPLAY="$display" xdotool getwindowpid "$window")
kill "$program_pid"
wait "$run_pid" || true
run_pid=

# scripts/test.sh, on the same root with the program already built.
test_at=$(date +%s)
status=0
in_root bash -c 'cd /root/tavix && scripts/test.sh' >"$work/test.log" 2>&1 || status=$?
log "scripts/test.sh: exit $status after $(($(date +%s) - test_at)) s; $(grep -E 'tests passed' "$work/test.log" || echo 'no summary')"
[ "$status" -eq 0 ] || { grep -E '\(Failed\)|\*\*\*' "$work/test.log" | head -20; exit 1; }
log "both commands work on a fresh Debian 12"
