#!/usr/bin/env bash
# Checks the layout of every C++ file against .clang-format: check_format.sh SOURCE_ROOT
#
# Each release of clang-format has a taste of its own, so one of them decides: where it is another, nothing is checked, and
# the exit status is 77.
set -euo pipefail
deciding=14
cd "$1"
version=$(clang-format --version)
[[ $version =~ version\ ([0-9]+) ]]
if ((BASH_REMATCH[1] != deciding)); then
    echo "not checked: $deciding decides, and this is $version"
    exit 77
fi
find benchmarks fuzz host-adapter src tests \( -name '*.cpp' -o -name '*.h' \) -print0 |
    xargs -0 clang-format --dry-run -Werror
