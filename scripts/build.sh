#!/usr/bin/env bash
# Configures and builds Tavix into build/ (the programs land in build/bin with the deployment).
# With target names, builds only those (and what they need); without, everything.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
targets=()
for t in "$@"; do targets+=(--target "$t"); done
cmake --build build -j"$(nproc)" "${targets[@]}"
