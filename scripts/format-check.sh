#!/usr/bin/env bash
# Fails when a C or C++ file of the project is not as .clang-format lays it out.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.cpp' '*.h' '*.c')
clang-format --dry-run --Werror "${files[@]}"
echo "format-check: ${#files[@]} files as .clang-format lays them out"
