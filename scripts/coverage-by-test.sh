#!/usr/bin/env bash
# Which unit test cases reach product lines or branches that no other case reaches. Each case
# runs alone in the coverage build; then a greedy cover (largest first) lists the cases the
# rest already cover. Those are where to look when trimming, not a verdict: a case may still
# be the only one to check a value.
# Usage: scripts/coverage-by-test.sh [build dir, default build-cov]; results in <dir>/by-test/.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build-cov}
bash scripts/coverage.sh "$dir" >/dev/null
out=$dir/by-test
rm -rf "$out"
mkdir -p "$out"
objects=()
for lib in app camera frame measure platform view; do objects+=("$(pwd)/$dir/$lib"); done
QT_QPA_PLATFORM=offscreen ctest --test-dir "$dir" -N -E '^window\.' | sed -n 's/^ *Test *#[0-9]*: //p' >"$out/cases"
n=0
while read -r name; do
  n=$((n + 1))
  find "$dir" -name '*.gcda' -delete
  QT_QPA_PLATFORM=offscreen ctest --test-dir "$dir" -R "^${name//./\\.}\$" >/dev/null 2>&1 ||
    echo "coverage-by-test.sh: $name failed" >&2
  mapfile -t data < <(find "${objects[@]}" -name '*.gcda')
  # gcov writes one JSON document per object file; only what they cover is kept.
  gcov --json-format --stdout --branch-probabilities "${data[@]}" 2>/dev/null |
    python3 scripts/coverage-by-test.py reach "$(pwd)" >"$out/$n.reach"
  echo "$n $name" >>"$out/index"
done <"$out/cases"
python3 scripts/coverage-by-test.py cover "$out" | tee "$out/report"
