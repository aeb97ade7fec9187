#!/usr/bin/env bash
# Builds the unit tests with the address and undefined-behaviour sanitizers into build-asan/
# and runs them (not the real-window tests). Any report fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTAVIX_SANITIZE=ON -DTAVIX_WERROR=OFF
cmake --build build-asan -j"$(nproc)" --target test_platform test_frame test_view test_measure test_camera test_faults test_fuzz
export QT_QPA_PLATFORM=offscreen
here=$(pwd)
# Whole stacks, so a leak made inside a library can be told by its frames.
export ASAN_OPTIONS="halt_on_error=1:detect_leaks=1:fast_unwind_on_malloc=0"
export LSAN_OPTIONS="suppressions=$here/tests/sanitizers/lsan.supp:print_suppressions=0"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
ctest --test-dir build-asan --output-on-failure -j2 -E '^window\.'
