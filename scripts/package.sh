#!/usr/bin/env bash
# Builds Tavix and makes its Debian package; prints the package's path.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh >&2
cpack --config build/CPackConfig.cmake -B build/package >&2
realpath build/package/tavix_*.deb
