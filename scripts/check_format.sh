#!/usr/bin/env bash
# Fails when a C++ file differs from what the checked-in .clang-format makes of it.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files 'src/*.[ch]pp' 'tests/*.[ch]pp' 'bench/*.[ch]pp' 'fuzz/*.[ch]pp')
clang-format --dry-run --Werror "${files[@]}"
echo "clang-format: ${#files[@]} files as formatted"
