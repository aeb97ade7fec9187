#!/usr/bin/env bash
# Configures and builds Tavix into build/ (the programs land in build/bin with the deployment).
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$(nproc)"
