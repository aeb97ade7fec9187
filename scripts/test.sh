#!/usr/bin/env bash
# Installs what is needed, builds, and runs every test (headless; real-window tests get Xvfb).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh
export QT_QPA_PLATFORM=offscreen
ctest --test-dir build --output-on-failure -j2
