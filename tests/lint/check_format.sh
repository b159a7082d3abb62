#!/usr/bin/env bash
# Checks the layout of every C++ file against .clang-format: check_format.sh SOURCE_ROOT
set -euo pipefail
cd "$1"
find benchmarks fuzz host-adapter src tests \( -name '*.cpp' -o -name '*.h' \) -print0 |
    xargs -0 clang-format --dry-run -Werror
