#!/usr/bin/env bash
# Line and branch coverage of the product by the unit tests (not the real-window tests).
# Usage: scripts/coverage.sh [build dir, default build-cov]; the lcov data is left in it.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build-cov}
if [ ! -f "$dir/CMakeCache.txt" ]; then
  cmake -S . -B "$dir" -DCMAKE_BUILD_TYPE=Debug -DTAVIX_WERROR=OFF \
    -DCMAKE_CXX_FLAGS="--coverage -O0" -DCMAKE_C_FLAGS=--coverage \
    -DCMAKE_EXE_LINKER_FLAGS=--coverage -DCMAKE_SHARED_LINKER_FLAGS=--coverage
fi
cmake --build "$dir" -j"$(nproc)" \
  --target test_platform test_frame test_view test_measure test_camera test_faults test_fuzz
lc=(--quiet --rc lcov_branch_coverage=1)
lcov "${lc[@]}" --zerocounters --directory "$dir"
QT_QPA_PLATFORM=offscreen ctest --test-dir "$dir" -j2 -E '^window\.' --output-on-failure ||
  echo "coverage.sh: some tests failed; the figures below are from this run" >&2
# lcov 1.16 with the gcc 12 gcov warns about redefined subroutines; only that noise is dropped.
lcov "${lc[@]}" --capture --directory "$dir" --output-file "$dir/all.info" 2> >(grep -v redefined >&2)
here=$(pwd)
lcov "${lc[@]}" --extract "$dir/all.info" "$here/app/*" "$here/camera/*" "$here/frame/*" \
  "$here/measure/*" "$here/platform/*" "$here/view/*" --output-file "$dir/product.info"
lcov --rc lcov_branch_coverage=1 --summary "$dir/product.info" 2>&1 | grep -E 'lines|branches'
