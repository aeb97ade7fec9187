#!/usr/bin/env bash
# Installs the Debian packages Tavix builds, runs and tests with. Needs root (or sudo).
set -euo pipefail

packages=(
  cmake g++ make pkg-config
  qt6-base-dev qt6-svg-dev libqt6svg6
  libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev
  gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-x
  googletest libgtest-dev
  qt6-image-formats-plugins qt6-translations-l10n
  xvfb xdotool x11-utils imagemagick
  libjpeg-dev lintian clang-format ffmpeg
  fonts-ipafont-gothic libx11-dev libxcursor1
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps: all packages present"
  exit 0
fi

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "install-deps: run as root or install sudo" >&2; exit 1; }
  sudo_cmd=(sudo)
fi
echo "install-deps: installing ${missing[*]}"
"${sudo_cmd[@]}" apt-get update -q
DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
