#!/usr/bin/env bash
# Test lines against product lines: C/C++ sources and shell scripts, without blank lines and
# comment-only lines (// in C/C++, # in shell). bench/ counts as neither.
set -euo pipefail
cd "$(dirname "$0")/.."
count() {
  local c s
  c=$(find "$@" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.c' \) -print0 | xargs -0r cat |
    grep -v '^[[:space:]]*$' | grep -cv '^[[:space:]]*//' || true)
  s=$(find "$@" -type f -name '*.sh' -print0 | xargs -0r cat |
    grep -v '^[[:space:]]*$' | grep -cv '^[[:space:]]*#' || true)
  echo $((c + s))
}
tests=$(count tests)
product=$(count app camera frame measure platform view)
echo "test lines:    $tests"
echo "product lines: $product"
awk -v t="$tests" -v p="$product" 'BEGIN { printf "ratio:         %.3f\n", t / p }'
